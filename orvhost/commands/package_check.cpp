#include "orvhost/commands/package_check.h"

#include <filesystem>

#include "host/DllCommon.h"
#include "orvhost/commands/steps.h"

namespace orvhost {

namespace {

constexpr const char* kMalformedMessage = "MSGID_BMC_0008_F";  // its detail tells which version is malformed

std::string WhichIsMalformed(const std::string& detail) {
  if (detail == "09") {
    return "the running version is";
  }
  if (detail == "0A") {
    return "the package's version is";
  }
  return "one of them is";
}

std::string ModelInWords(const std::string& model) {
  return model.empty() ? "ordinary model" : "model \"" + model + "\"";
}

}  // namespace

PackageCheck::PackageCheck(const Run& run, DamagedRecords damaged, Outcome* outcome)
    : run_(run),
      damaged_(damaged),
      outcome_(outcome),
      packagePath_(std::filesystem::absolute(run.options.packagePath).string()) {}

bool PackageCheck::Go() {
  constexpr std::array<Step<PackageCheck>, 6> kSteps{{{"package", &PackageCheck::ReadPackage},
                                                      {"plug-in", &PackageCheck::LoadPlugin},
                                                      {"prerequisites", &PackageCheck::CheckPrerequisites},
                                                      {"server type", &PackageCheck::CheckServerType},
                                                      {"fit", &PackageCheck::CheckFit},
                                                      {"compare", &PackageCheck::ReadVersion}}};
  return TakeSteps(run_, this, kSteps, outcome_);
}

Comparison PackageCheck::Compare() const {
  const std::string& running = outcome_->before;
  const std::string& offered = manifest_.version;
  if (offered == running) {
    return {"same", "The package is the same: the BMC already runs version " + running + "."};
  }
  const std::string both = "it holds version " + offered + ", and the BMC runs " + running + ".";
  const int direction = session_->Firmware().CheckVendorVersion(running, offered);
  if (direction > 0) {
    return {"newer", "The package is newer: " + both};
  }
  if (direction < 0) {
    return {"older", "The package is older: " + both};
  }
  // The plug-in answers the same for versions that it cannot compare, but then it records why.
  if (run_.watch.LastMessageId() == kMalformedMessage) {
    return {"not-comparable", "The package cannot be compared, because " + WhichIsMalformed(run_.watch.LastDetail()) +
                                  " malformed: " + both};
  }
  return {"same", "The package counts as the same, because the plug-in finds no difference: " + both};
}

bool PackageCheck::ReadPackage() {
  std::string error;
  if (!refhost::ReadPackageManifest(packagePath_, &manifest_, &error)) {
    Fail(run_, outcome_, ExitCode::kPackageUnusable, "package-unusable",
         "The package " + packagePath_ + " cannot be used: " + error + ".", "Get the package anew and try again.");
    return false;
  }
  outcome_->facts = {
      {"Package", packagePath_}, {"Package name", manifest_.name}, {"Package version", manifest_.version}};
  run_.console.Say("Package", manifest_.name + " " + manifest_.version);
  return true;
}

bool PackageCheck::LoadPlugin() {
  session_ = OpenSession(run_, damaged_, outcome_);
  return session_ != nullptr;
}

bool PackageCheck::CheckPrerequisites() {
  return HasPrerequisites(run_, *session_, outcome_);
}

bool PackageCheck::CheckServerType() {
  const std::string serverType = CCommon_Information::GetServerType("bmc");
  if (serverType.empty()) {
    Fail(run_, outcome_, ExitCode::kPrerequisites, "server-type-unknown", "This machine does not tell its server type.",
         "Give it with --server-type.");
    return false;
  }
  outcome_->facts.emplace_back("Server type", serverType);
  if (refhost::IsMadeFor(manifest_, serverType)) {
    return true;
  }
  std::string types;
  for (const std::string& type : manifest_.serverTypes) {
    types += (types.empty() ? "" : ", ") + type;
  }
  return DoesNotFit("The package is made for " + types + ", and this machine is " + serverType + ".");
}

bool PackageCheck::CheckFit() {
  auto watch = std::make_unique<FitWatch>();
  const FitWatch& seen = *watch;
  run_.trace.Add(std::move(watch));
  CManageRepositoryInfo repository{kModuleId, manifest_.name, kModuleKind, "", manifest_.version, manifest_.model};
  if (!session_->Vendor().CheckUpdateConditionByDevicevendor(kModuleKind, &repository)) {
    return true;
  }
  // The plug-in answers the same for a BMC that it cannot ask; then asking again tells which of the two it was.
  return ReadRunningVersion(run_, *session_, outcome_) && RefusedByPlugin(seen);
}

bool PackageCheck::RefusedByPlugin(const FitWatch& seen) {
  const std::string package = "The package, version " + manifest_.version + ", ";
  const std::string itsModel = "for the " + ModelInWords(manifest_.model);
  if (const auto& machine = seen.OfOtherModel()) {
    return DoesNotFit(package + "is " + itsModel + "; this machine's is the " + ModelInWords(machine->model) +
                      " (serial number " + machine->serialNumber + ").");
  }
  if (const auto& serialNumber = seen.SerialWithoutModel()) {
    const std::string found =
        serialNumber->empty() ? "serial number" : "usable serial number, only \"" + *serialNumber + "\"";
    return DoesNotFit(
        package + "cannot be matched with this machine, because the plug-in found no " + found + ".",
        "Have the serial number in the machine's system tables set right (\"dmidecode --type system\" shows "
        "it), then run the same command again.");
  }
  return DoesNotFit(package + (manifest_.model.empty() ? "" : itsModel + ", ") +
                    "does not fit this machine, which runs version " + outcome_->before + ".");
}

bool PackageCheck::ReadVersion() {
  if (!ReadRunningVersion(run_, *session_, outcome_)) {
    return false;
  }
  run_.console.Say("Running", outcome_->before);
  return true;
}

bool PackageCheck::DoesNotFit(const std::string& cause, const std::string& nextStep) {
  Fail(run_, outcome_, ExitCode::kDoesNotFit, "does-not-fit", cause, nextStep);
  return false;
}

}  // namespace orvhost
