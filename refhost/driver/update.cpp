// orvhost update: checks a package and writes it to the device. What is written takes effect with "orvhost apply".
#include <CLI/CLI.hpp>
#include <array>
#include <csignal>
#include <filesystem>

#include "host/DllCommon.h"
#include "refhost/driver/commands.h"
#include "refhost/module_state.h"
#include "refhost/package.h"

namespace refhost {
namespace {

constexpr const char* kModuleId = "kestrel_bmc";
constexpr const char* kModuleKind = "firmware";
constexpr int kDone = 0;
constexpr int kDoneAfterTimeout = 1024;

// Keeps the interrupt key and a lost terminal from ending this program while the device is written to.
class UninterruptedSection {
 public:
  UninterruptedSection() : interrupt_(signal(SIGINT, SIG_IGN)), hangUp_(signal(SIGHUP, SIG_IGN)) {}
  UninterruptedSection(const UninterruptedSection&) = delete;
  UninterruptedSection& operator=(const UninterruptedSection&) = delete;
  ~UninterruptedSection() {
    signal(SIGINT, interrupt_);
    signal(SIGHUP, hangUp_);
  }

 private:
  sighandler_t interrupt_;
  sighandler_t hangUp_;
};

// The road of one update. Each step answers whether the road goes on; one that ends it leaves the outcome complete.
class UpdateRoad {
 public:
  explicit UpdateRoad(const Run& run)
      : run_(run), packagePath_(std::filesystem::absolute(run.options.packagePath).string()) {}

  Outcome Go();

 private:
  struct Step {
    const char* phase;
    bool (UpdateRoad::*take)();
  };

  bool ReadPackage();
  bool LoadPlugin();
  bool CheckPrerequisites();
  bool CheckServerType();
  bool CheckFit();
  bool CompareVersions();
  bool Register();
  bool Prepare();
  bool Write();
  bool Record();

  bool DoesNotFit(const std::string& cause);
  CManageRepositoryInfo RepositoryInfo() const;

  const Run& run_;
  const std::string packagePath_;
  PackageManifest manifest_;
  std::unique_ptr<Session> session_;
  int result_ = 0;
  Outcome outcome_;
};

Outcome UpdateRoad::Go() {
  constexpr std::array<Step, 10> kSteps{{{"package", &UpdateRoad::ReadPackage},
                                         {"plug-in", &UpdateRoad::LoadPlugin},
                                         {"prerequisites", &UpdateRoad::CheckPrerequisites},
                                         {"server type", &UpdateRoad::CheckServerType},
                                         {"fit", &UpdateRoad::CheckFit},
                                         {"compare", &UpdateRoad::CompareVersions},
                                         {"register", &UpdateRoad::Register},
                                         {"prepare", &UpdateRoad::Prepare},
                                         {"write", &UpdateRoad::Write},
                                         {"record", &UpdateRoad::Record}}};
  for (const Step& step : kSteps) {
    outcome_.phase = step.phase;
    if (!(this->*step.take)()) return outcome_;
  }
  outcome_.verdict = result_ == kDoneAfterTimeout ? "updated-after-time-out" : "updated";
  outcome_.changed = true;
  outcome_.flashTouched = run_.watch.FlashBegan();
  outcome_.after = manifest_.version;
  outcome_.summary = "Firmware version " + manifest_.version + " is written; the BMC still runs " + outcome_.before +
                     ". Run \"orvhost apply\" to put it into operation, then \"orvhost verify\".";
  if (result_ == kDoneAfterTimeout) {
    outcome_.summary += " The flash command took longer than allowed, so do not leave out the verifying.";
  }
  return outcome_;
}

bool UpdateRoad::ReadPackage() {
  std::string error;
  if (!ReadPackageManifest(packagePath_, &manifest_, &error)) {
    Fail(run_, &outcome_, ExitCode::kPackageUnusable, "package-unusable",
         "The package " + packagePath_ + " cannot be used: " + error + ".", "Get the package anew and try again.");
    return false;
  }
  outcome_.facts = {
      {"Package", packagePath_}, {"Package name", manifest_.name}, {"Package version", manifest_.version}};
  run_.console.Say("Package", manifest_.name + " " + manifest_.version);
  return true;
}

bool UpdateRoad::LoadPlugin() {
  session_ = OpenSession(run_, &outcome_);
  return session_ != nullptr;
}

bool UpdateRoad::CheckPrerequisites() {
  return HasPrerequisites(run_, *session_, &outcome_);
}

bool UpdateRoad::CheckServerType() {
  const std::string serverType = CCommon_Information::GetServerType("bmc");
  if (serverType.empty()) {
    Fail(run_, &outcome_, ExitCode::kPrerequisites, "server-type-unknown",
         "This machine does not tell its server type.", "Give it with --server-type.");
    return false;
  }
  outcome_.facts.emplace_back("Server type", serverType);
  if (IsMadeFor(manifest_, serverType)) return true;
  std::string types;
  for (const std::string& type : manifest_.serverTypes) types += (types.empty() ? "" : ", ") + type;
  return DoesNotFit("The package is made for " + types + ", and this machine is " + serverType + ".");
}

bool UpdateRoad::CheckFit() {
  CManageRepositoryInfo repository = RepositoryInfo();
  if (!session_->Vendor().CheckUpdateConditionByDevicevendor(kModuleKind, &repository)) return true;
  // The plug-in answers the same for a BMC that it cannot ask; then asking again tells which of the two it was.
  if (!refhost::ReadRunningVersion(run_, *session_, &outcome_)) return false;
  return DoesNotFit("The package, version " + manifest_.version +
                    (manifest_.model.empty() ? "" : " for the model " + manifest_.model) +
                    ", does not fit this machine, which runs version " + outcome_.before + ".");
}

bool UpdateRoad::CompareVersions() {
  if (!refhost::ReadRunningVersion(run_, *session_, &outcome_)) return false;
  run_.console.Say("Running", outcome_.before);
  if (outcome_.before != manifest_.version) return true;
  outcome_.verdict = "nothing-to-do";
  outcome_.after = outcome_.before;
  outcome_.summary = "Nothing to do: the BMC already runs version " + outcome_.before + ".";
  if (session_->Firmware().GetUpdateStatus() == kUpdateWritten) {
    outcome_.summary += " Version " + session_->Firmware().GetOperatingModuleInfo().moduleVersion +
                        ", which was written earlier, still waits for \"orvhost apply\".";
  }
  return false;
}

bool UpdateRoad::Register() {
  CFirmware& firmware = session_->Firmware();
  if (firmware.InitializeOperatingModuleInfo(outcome_.before) == 0 &&
      session_->Vendor().ConfirmUpdateModuleRegistration(kModuleKind, kModuleId, packagePath_) == 0) {
    return true;
  }
  Fail(run_, &outcome_, ExitCode::kFailedUntouched, "not-registered", "The host could not keep its records.",
       "Make sure that " + ModuleStateFolder() + " can be written, then try again.");
  return false;
}

bool UpdateRoad::Prepare() {
  if (session_->Vendor().ExecutePreUpdate(kModuleKind, false) == 0) return true;
  Fail(run_, &outcome_, FailedExitCode(run_), "not-prepared", "The plug-in refused to start the update.",
       "Mend what the evidence names, then run the same command again.");
  return false;
}

bool UpdateRoad::Write() {
  run_.console.Say("Writing", manifest_.version + "; this takes minutes, keep the machine powered");
  const UninterruptedSection section;
  result_ = session_->Vendor().ExecuteUpdate(kModuleKind, false);
  if (result_ == kDone || result_ == kDoneAfterTimeout) return true;
  const bool begun = run_.watch.FlashBegan();
  Fail(run_, &outcome_, FailedExitCode(run_), "update-failed",
       begun ? "The update failed after writing the firmware had begun."
             : "The update failed before anything was written.",
       begun ? "Keep the machine powered and do not reboot it; run the same command again."
             : "Mend what the evidence names, then run the same command again.");
  return false;
}

bool UpdateRoad::Record() {
  if (session_->Firmware().ApplyUpdatesRepository() == 0) return true;
  Fail(run_, &outcome_, FailedExitCode(run_), "not-recorded",
       "Firmware version " + manifest_.version + " is written, but the host could not keep its records.",
       "Make sure that " + ModuleStateFolder() + " can be written, then run the same command again.");
  return false;
}

bool UpdateRoad::DoesNotFit(const std::string& cause) {
  Fail(run_, &outcome_, ExitCode::kDoesNotFit, "does-not-fit", cause, "Get the package that is made for this machine.");
  return false;
}

CManageRepositoryInfo UpdateRoad::RepositoryInfo() const {
  return {kModuleId, manifest_.name, kModuleKind, "", manifest_.version, manifest_.model};
}

void AddArguments(CLI::App* subcommand, Options* options) {
  subcommand->add_option("package", options->packagePath, "Update package: a zip or tar archive with a module.json")
      ->required();
}

}  // namespace

const Command kUpdateCommand = {"update", "Check an update package and write it to the BMC", AddArguments,
                                [](const Run& run) { return UpdateRoad(run).Go(); }};

}  // namespace refhost
