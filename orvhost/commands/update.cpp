// orvhost update: checks a package and writes it to the device. What is written takes effect with "orvhost apply".
#include <optional>

#include "host/Results.h"
#include "orvhost/commands/commands.h"
#include "orvhost/commands/dry_run.h"
#include "orvhost/commands/left_update.h"
#include "orvhost/commands/package_check.h"
#include "orvhost/commands/preflight.h"
#include "orvhost/commands/steps.h"
#include "orvhost/commands/waiting_update.h"
#include "orvhost/commands/write_policy.h"
#include "orvhost/journal/journal_folder.h"
#include "orvhost/journal/same_failure.h"
#include "orvhost/run/failure.h"
#include "orvhost/run/last_writer.h"
#include "orvhost/run/machine.h"
#include "orvhost/run/shutdown_inhibitor.h"
#include "orvhost/trace/remedy.h"
#include "posix/last_error.h"
#include "posix/sync.h"
#include "refhost/module_state.h"

namespace orvhost {

namespace {

// The road of one update.
class UpdateRoad {
 public:
  explicit UpdateRoad(const Run& run) : run_(run), check_(run, &outcome_) {}

  Outcome Go();

 private:
  void Take();
  bool OpenPlugin();
  bool FindSomethingToDo();
  bool IsDone();
  void EndDry(const Comparison& comparison);
  bool Register();
  bool Prepare();
  bool Write();
  bool Keep();
  bool Record();
  bool IsNotRecorded(const std::string& reason, const std::string& folder);
  [[nodiscard]] std::string NextStepInTheFlash() const;

  const std::string& Version() const { return check_.Manifest().version; }

  const Run& run_;
  Outcome outcome_;
  PackageCheck check_;
  refhost::ModuleState records_;  // as they were found
  std::unique_ptr<Session> session_;
  int result_ = 0;
  std::optional<ShutdownInhibitor> awake_;
};

Outcome UpdateRoad::Go() {
  Take();
  if (session_ && !outcome_.needsApply) {
    outcome_.needsApply = NeedsApply(*session_, outcome_.before);
  }
  return outcome_;
}

void UpdateRoad::Take() {
  constexpr std::array<Step<UpdateRoad>, 5> kSteps{{{"compare", &UpdateRoad::FindSomethingToDo},
                                                    {"register", &UpdateRoad::Register},
                                                    {"prepare", &UpdateRoad::Prepare},
                                                    {"write", &UpdateRoad::Write},
                                                    {"record", &UpdateRoad::Record}}};
  if (!check_.Read() || !OpenPlugin() || !check_.Judge(*session_) || !TakeSteps(run_, this, kSteps, &outcome_)) {
    return;
  }
  outcome_.verdict = result_ == host::kUpdateTimedOut ? "updated-after-time-out" : "updated";
  outcome_.changed = true;
  outcome_.needsApply = true;
  outcome_.flashTouched = run_.watch.FlashBegan();
  outcome_.after = Version();
  outcome_.summary = "Firmware version " + Version() + " is written; the BMC still runs " + outcome_.before +
                     ". Run \"orvhost apply\" to put it into operation, then \"orvhost verify\".";
  if (result_ == host::kUpdateTimedOut) {
    outcome_.summary += " The flash command ran into its time limit, so do not skip \"orvhost verify\".";
  }
}

bool UpdateRoad::OpenPlugin() {
  EnterPhase(run_, &outcome_, "plug-in");
  session_ = OpenSession(run_, DamagedRecordsOf(run_.options), &outcome_, &records_);
  return session_ != nullptr;
}

// Ends a dry run too: up to here nothing is changed.
bool UpdateRoad::FindSomethingToDo() {
  if (!run_.options.allowReinstall && IsDone()) {
    return false;
  }
  const std::optional<Comparison> comparison = check_.Compare(*session_);
  if (!comparison || !MayWrite(run_, *session_, check_, *comparison, &outcome_)) {
    return false;
  }
  if (run_.options.dryRun) {
    EndDry(*comparison);
  }
  return !run_.options.dryRun;
}

// True, with the outcome complete, when the version runs already or is written and waits.
bool UpdateRoad::IsDone() {
  const bool runs = outcome_.before == Version();
  const bool waits = WaitsForApply(Version());
  if (!runs && !waits) {
    return false;
  }
  outcome_.verdict = "nothing-to-do";
  if (runs) {
    outcome_.after = outcome_.before;
    outcome_.summary = "Nothing to do: the BMC already runs version " + outcome_.before + ".";
    const std::string written = session_->Firmware().GetOperatingModuleInfo().moduleVersion;
    if (NeedsApply(*session_, outcome_.before).value_or(false)) {
      outcome_.summary += " Version " + written + ", which was written earlier, still waits for \"orvhost apply\".";
    } else if (IsRecordedAsWritten(Version())) {
      outcome_.facts.push_back({"next_step", "Next step", "Run \"orvhost verify\", which records that it runs."});
    } else if (const auto left = LeftUpdate(run_.options, records_, outcome_.before)) {
      // "apply" and "verify" refuse what was left, and ask for an update.
      outcome_.facts.push_back({"next_step", "Next step",
                                left->cause +
                                    " Keep the machine powered and run \"orvhost update PACKAGE --allow-reinstall\", "
                                    "which writes the version again."});
    }
    return true;
  }
  outcome_.after = Version();
  outcome_.needsApply = true;
  outcome_.summary = "Nothing to do: version " + Version() +
                     " is written already and waits for \"orvhost apply\"; the BMC still runs " + outcome_.before +
                     ". --allow-reinstall writes it again.";
  return true;
}

void UpdateRoad::EndDry(const Comparison& comparison) {
  EndDryRun(comparison.sentence + " \"orvhost update\" would write version " + Version() +
                " and record it, which takes minutes; the BMC would go on running " + outcome_.before +
                " until \"orvhost apply\".",
            &outcome_);
  outcome_.facts.push_back({"not_judged", "Not judged", NotJudgedBeforehand(check_.Method())});
}

bool UpdateRoad::Register() {
  CFirmware& firmware = session_->Firmware();
  run_.interruption.Leaves("The host's records may name the package already.");
  if (firmware.InitializeOperatingModuleInfo(outcome_.before) == host::kSuccess &&
      session_->Vendor().ConfirmUpdateModuleRegistration(kModuleKind, kModuleId, check_.PackagePath()) ==
          host::kSuccess) {
    return true;
  }
  Fail(run_, &outcome_,
       {.exitCode = ExitCode::kFailedUntouched,
        .verdict = "not-registered",
        .cause = "The host could not keep its records.",
        .nextStep = "Make sure that " + refhost::ModuleStateFolder() + " can be written, then try again."});
  return false;
}

std::string UpdateRoad::NextStepInTheFlash() const {
  const std::string earlier =
      SameFailureBefore(JournalFolder(run_.options.installPath), "", check_.Sha256(), run_.watch);
  return earlier.empty() ? "Keep the machine powered and do not reboot it; run the same command again."
                         : GetThePackageAnew(earlier);
}

bool UpdateRoad::Prepare() {
  if (std::string error; !BecomeLastWriter(run_.options.installPath, &error)) {
    Fail(run_, &outcome_,
         {.exitCode = ExitCode::kFailedUntouched,
          .verdict = "not-prepared",
          .cause = "It cannot be kept that this update writes last: " + error + ".",
          .nextStep = "Make sure that " + MachineFolder() + " can be written, then run the same command again."});
    return false;
  }
  if (session_->Vendor().ExecutePreUpdate(kModuleKind, false) == host::kSuccess) {
    return true;
  }
  Fail(run_, &outcome_,
       {.exitCode = FailedExitCode(run_),
        .verdict = "not-prepared",
        .cause = "The plug-in refused to start the update.",
        .nextStep = RemedyThenAgain(run_.watch)});
  return false;
}

bool UpdateRoad::Write() {
  awake_.emplace("The BMC's firmware is being written.");
  if (awake_->WasRefused()) {
    run_.journal.Notice("The machine may be shut down meanwhile: systemd-logind did not give a lock against it.");
  }
  run_.console.Say("Writing", Version() + "; this takes minutes, keep the machine powered");
  result_ = session_->Vendor().ExecuteUpdate(kModuleKind, false);
  if (result_ == host::kSuccess || result_ == host::kUpdateTimedOut) {
    return Keep();
  }
  const bool begun = run_.watch.FlashBegan();
  Fail(run_, &outcome_,
       {.exitCode = FailedExitCode(run_),
        .verdict = "update-failed",
        .cause = begun ? "The update failed after writing the firmware had begun."
                       : "The update failed before anything was written.",
        .nextStep = begun ? NextStepInTheFlash() : RemedyThenAgain(run_.watch)});
  return false;
}

// Before it is recorded: "apply" goes by what the plug-in has left on the disk, which a loss of power must not take.
bool UpdateRoad::Keep() {
  const std::string& folder = run_.options.installPath;
  return posix::SyncFileSystem(folder) ||
         IsNotRecorded("what \"orvhost apply\" goes by did not reach the disk: " + posix::LastError(), folder);
}

bool UpdateRoad::Record() {
  // The answer of the update itself is the plug-in's, so it does not tell whether the host could keep its status; and
  // records that were lost meanwhile are kept anew without the version.
  return (session_->Firmware().ApplyUpdatesRepository() == host::kSuccess && IsRecordedAsWritten(Version())) ||
         IsNotRecorded("the host could not keep its records", refhost::ModuleStateFolder());
}

// False, with the failure.
bool UpdateRoad::IsNotRecorded(const std::string& reason, const std::string& folder) {
  outcome_.needsApply = false;
  Fail(run_, &outcome_,
       {.exitCode = FailedExitCode(run_),
        .verdict = "not-recorded",
        .cause = "Firmware version " + Version() + " is written, but " + reason + ".",
        .nextStep = "Make sure that " + folder + " can be written, then run the same command again."});
  return false;
}

constexpr const char* kUpdateHelp = R"(Takes the steps of "orvhost check", registers the package, writes its firmware
to the BMC and records it. That takes minutes: keep the machine powered. The BMC
goes on running the old version until "orvhost apply". There is nothing to do
when it runs the package's version already, or when that is written and waits
for "orvhost apply". What is judged, recorded and written is a private copy that
is made once, so the file itself may change meanwhile.

An older version is written only with --allow-older, and so is one that cannot
be compared with the running one. The version that runs or waits is written
again only with --allow-reinstall. At a terminal the tool asks instead of
refusing an older one.

Asked to end (by the interrupt key, SIGTERM, SIGQUIT or a lost terminal), the
run ends before the flash is touched and says what it leaves. Once the flash is
being written it goes on to its end, and says so.

After a failure the message says whether writing had begun; then keep the
machine powered, do not reboot it, and run the same command again.

With --dry-run everything is judged and shown, and nothing is written.

Examples:
  orvhost update bmc-01-24.zip --dry-run
  orvhost update bmc-01-22.zip --allow-older
  orvhost update bmc-01-24.zip --log-file /var/log/orvhost.log

Exit codes: 0 written, or nothing to do; 2 to 6 as of "orvhost check"; 6 also an
older version without --allow-older; 7 failed, the flash is untouched; 8 failed
after writing had begun; 11 interrupted, the flash is untouched.)";

}  // namespace

const Command kUpdateCommand = {"update",
                                "Check an update package and write it to the BMC",
                                kUpdateHelp,
                                {kPackageArgument, kAllowOlderFlag, kAllowReinstallFlag, kDryRunFlag},
                                [](const Run& run) { return UpdateRoad(run).Go(); },
                                {"package", "plug-in", "prerequisites", "server type", "fit", "compare", "preflight",
                                 "register", "prepare", "write", "record"}};

}  // namespace orvhost
