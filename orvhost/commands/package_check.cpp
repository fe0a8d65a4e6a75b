#include "orvhost/commands/package_check.h"

#include <cerrno>
#include <filesystem>

#include "host/DllCommon.h"
#include "orvhost/commands/package_signature.h"
#include "orvhost/commands/plugin_demands.h"
#include "orvhost/commands/preflight.h"
#include "orvhost/commands/server_type.h"
#include "orvhost/commands/version_form.h"
#include "orvhost/run/failure.h"
#include "orvhost/trace/plugin_lines.h"
#include "posix/last_error.h"

namespace orvhost {

namespace {

namespace records = plugin_lines::records;

std::string WhichIsMalformed(const std::string& detail) {
  if (detail == records::kRunningVersionMalformed) {
    return "the running version is";
  }
  if (detail == records::kPackageVersionMalformed) {
    return "the package's version is";
  }
  return "one of them is";
}

std::string ModelInWords(const std::string& model) {
  return model.empty() ? "ordinary model" : "model \"" + model + "\"";
}

}  // namespace

PackageCheck::PackageCheck(const Run& run, Outcome* outcome)
    : run_(run), outcome_(outcome), packagePath_(std::filesystem::absolute(run.options.packagePath).string()) {}

bool PackageCheck::Read() {
  if (const auto obstacle = UserObstacle()) {
    EnterPhase(run_, outcome_, "prerequisites");
    Fail(run_, outcome_, *obstacle);
    return false;
  }
  EnterPhase(run_, outcome_, "package");
  if (!StagePackage()) {
    return false;
  }
  std::string error;
  if (!refhost::ReadUnpackedManifest(package_->FilesFolder(), &manifest_, &error)) {
    return CannotBeUsed(error);
  }
  if (const std::string difference = refhost::DifferenceFromList(manifest_, package_->FilesFolder());
      !difference.empty()) {
    return CannotBeUsed(difference);
  }
  outcome_->facts.insert(outcome_->facts.begin() + 1, {{"package_name", "Package name", manifest_.name},
                                                       {"package_version", "Package version", manifest_.version}});
  if (!manifest_.listsFiles) {
    Note(run_, outcome_, kListsNoFiles);
  }
  run_.console.Say("Package", manifest_.name + " " + manifest_.version);
  return true;
}

bool PackageCheck::StagePackage() {
  refhost::StagingFailure failure;
  package_ = refhost::StagedPackage::Stage(packagePath_, &failure);
  if (package_ && !IsTrusted(run_, *package_, outcome_)) {
    return false;
  }
  if (package_ && package_->Unpack(&failure)) {
    return true;
  }
  if (failure.reason == posix::ErrorText(ENOENT)) {
    return CannotBeUsed("there is no such file", "Check the path and give that of a package.");
  }
  const bool isImage =
      std::filesystem::path(packagePath_).filename().string().find(plugin_demands::kImage) != std::string::npos;
  if (isImage && failure.reason == refhost::kNoArchive) {
    return CannotBeUsed("it is a firmware image alone, without its description module.json",
                        "Give the package itself, the zip or tar archive that holds the image and module.json.");
  }
  if (failure.fault == refhost::StagingFailure::Fault::kPackage) {
    return CannotBeUsed(failure.reason);
  }
  Fail(run_, outcome_,
       {.exitCode = ExitCode::kPrerequisites,
        .verdict = "prerequisites-missing",
        .cause = "The package " + packagePath_ + " cannot be copied and unpacked below " + run_.options.installPath +
                 ": " + failure.reason + ".",
        .nextStep = "Make room there and make sure that it can be written, then run the same command again."});
  return false;
}

bool PackageCheck::Judge(const Session& session) {
  EnterPhase(run_, outcome_, "prerequisites");
  if (!HasPrerequisites(run_, session, outcome_)) {
    return false;
  }
  EnterPhase(run_, outcome_, "server type");
  if (!CheckServerType()) {
    return false;
  }
  EnterPhase(run_, outcome_, "fit");
  if (!CheckFit(session)) {
    return false;
  }
  EnterPhase(run_, outcome_, "compare");
  if (!ReadVersionOf(serverType_, run_, session, outcome_)) {
    return false;
  }
  run_.console.Say("Running", outcome_->before);
  return (outcome_->before == manifest_.version && !run_.options.allowReinstall) || HasNoObstacle();
}

bool PackageCheck::HasNoObstacle() {
  EnterPhase(run_, outcome_, "preflight");
  const auto obstacle = FindObstacle({run_.options, *package_, method_, outcome_->before});
  if (obstacle) {
    Fail(run_, outcome_, *obstacle);
  }
  return !obstacle;
}

std::optional<Comparison> PackageCheck::Compare(const Session& session) {
  const std::string& running = outcome_->before;
  const std::string& offered = manifest_.version;
  if (offered == running) {
    return Comparison{"same", "The package is the same: the BMC already runs version " + running + "."};
  }
  const std::string both = "it holds version " + offered + ", and the BMC runs " + running + ".";
  const FitWatch& seen = WatchFit();
  const int direction = session.Firmware().CheckVendorVersion(running, offered);
  if (direction > 0) {
    return Comparison{"newer", "The package is newer: " + both};
  }
  if (direction < 0) {
    return Comparison{"older", "The package is older: " + both};
  }
  // The plug-in answers the same for versions that it cannot compare, but then it records why.
  if (run_.watch.LastMessageId() == records::kVersionMalformed) {
    return Comparison{"not-comparable", "The package cannot be compared, because " +
                                            WhichIsMalformed(run_.watch.LastDetail()) + " malformed: " + both};
  }
  if (seen.ComparedNothing()) {
    FailWithoutServerType(run_, "The plug-in compared nothing", outcome_);
    return {};
  }
  return Comparison{"same", "The package counts as the same, because the plug-in finds no difference: " + both};
}

bool PackageCheck::CheckServerType() {
  serverType_ = CCommon_Information::GetServerType("bmc");
  if (serverType_.empty()) {
    Fail(run_, outcome_,
         {.exitCode = ExitCode::kPrerequisites,
          .verdict = "server-type-unknown",
          .cause = "This machine does not report its server type.",
          .nextStep = "Give it with --server-type."});
    return false;
  }
  outcome_->facts.push_back({"server_type", "Server type", serverType_});
  method_ = MethodFor(serverType_);
  if (refhost::IsMadeFor(manifest_, serverType_)) {
    return CheckVersionForm();
  }
  std::string types;
  for (const std::string& type : manifest_.serverTypes) {
    types += (types.empty() ? "" : ", ") + type;
  }
  return DoesNotFit("The package is made for " + types + ", and this machine is " + serverType_ + ".");
}

bool PackageCheck::CheckVersionForm() {
  const std::string complaint = VersionComplaint(manifest_.version, serverType_);
  return complaint.empty() ||
         CannotBeUsed("its version \"" + manifest_.version + "\" is malformed, because " + complaint);
}

bool PackageCheck::CheckFit(const Session& session) {
  const FitWatch& seen = WatchFit();
  CManageRepositoryInfo repository{kModuleId, manifest_.name, kModuleKind, "", manifest_.version, manifest_.model};
  if (!session.Vendor().CheckUpdateConditionByDevicevendor(kModuleKind, &repository)) {
    return true;
  }
  // The plug-in answers the same for a BMC that it cannot ask; then asking again tells which of the two it was.
  return ReadRunningVersion(run_, session, outcome_) && RefusedByPlugin(seen);
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
  // It asks for another kind of version when it cannot read the server type, which was read before.
  if (const auto& running = seen.OfOtherVersion(); running && *running != outcome_->before) {
    FailWithoutServerType(
        run_, "The plug-in judged the package for version " + *running + ", and the BMC runs " + outcome_->before,
        outcome_);
    return false;
  }
  return DoesNotFit(package + (manifest_.model.empty() ? "" : itsModel + ", ") +
                    "does not fit this machine, which runs version " + outcome_->before + ".");
}

// What the plug-in says of the machine from here on, kept for as long as the run lasts.
const FitWatch& PackageCheck::WatchFit() {
  auto watch = std::make_unique<FitWatch>();
  const FitWatch& seen = *watch;
  run_.trace.Add(std::move(watch));
  return seen;
}

bool PackageCheck::CannotBeUsed(const std::string& reason, const std::string& nextStep) {
  Fail(run_, outcome_,
       {.exitCode = ExitCode::kPackageUnusable,
        .verdict = "package-unusable",
        .cause = "The package " + packagePath_ + " cannot be used: " + reason + ".",
        .nextStep = nextStep});
  return false;
}

bool PackageCheck::DoesNotFit(const std::string& cause, const std::string& nextStep) {
  Fail(run_, outcome_,
       {.exitCode = ExitCode::kDoesNotFit, .verdict = "does-not-fit", .cause = cause, .nextStep = nextStep});
  return false;
}

}  // namespace orvhost
