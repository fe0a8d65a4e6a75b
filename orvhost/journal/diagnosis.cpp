#include "orvhost/journal/diagnosis.h"

#include <algorithm>

#include "host/DllCommon.h"
#include "orvhost/interface/repeated_options.h"
#include "orvhost/journal/remains.h"
#include "orvhost/journal/same_failure.h"
#include "orvhost/trace/plugin_lines.h"
#include "orvhost/trace/remedy.h"

namespace orvhost {

namespace {

constexpr const char* kShutDown =
    "Shut the machine down by hand (shutdown -h now), and when it is up again, run \"orvhost verify\".";
constexpr const char* kVerify = "Run \"orvhost verify\": it asks the BMC which firmware it runs and changes nothing.";
constexpr const char* kApply = "Run \"orvhost apply\", and when the machine is up again, \"orvhost verify\".";

// What the plug-in said of taking the update into operation.
class ApplyWatch : public refhost::TraceSink {
 public:
  void Write(const refhost::TraceRecord& record) override {
    if (record.level != CTraceUtility::TRACE_DBG_INFO) {
      return;
    }
    flagIsArmed_ |= record.text.starts_with(plugin_lines::lines::kMarkerDeleted);
    if (plugin_lines::IsGoingDown(record.text)) {
      isHalting_ = record.text.starts_with(plugin_lines::lines::kMachineHalts);
      isRestarting_ = !isHalting_;
    }
  }

  // The marker is deleted only when the BMC has confirmed the reboot flag.
  bool FlagIsArmed() const { return flagIsArmed_ || isHalting_; }
  bool IsHalting() const { return isHalting_; }
  bool IsRestarting() const { return isRestarting_; }

 private:
  bool flagIsArmed_ = false;
  bool isHalting_ = false;
  bool isRestarting_ = false;
};

// How the command that writes the flash ended: "" when the journal does not hold it.
std::string EndOfFlashing(const RecordedRun& run, const std::string& commandLine) {
  std::string key;
  std::string end;
  for (const JournalEntry& entry : run.entries) {
    if (entry.kind == "command" && entry.Text("line") == commandLine) {
      key = entry.CommandKey();
      end = "";
    } else if (entry.kind == "command_end" && !key.empty() && entry.CommandKey() == key) {
      end = entry.Text("result");
      if (end == "exited" && entry.fields.value("exit_code", nlohmann::json()) != 0) {
        end = "failed";
      }
    }
  }
  return end;
}

std::string RunUpdate(const std::string& package) {
  return "run \"orvhost update " + (package.empty() ? "PACKAGE" : package) + "\" again.";
}

// As "update" takes it, with what it was allowed; "" when it is not known.
std::string PackageOf(const Situation& situation) {
  const auto copied = std::ranges::find(situation.run.entries, "package", &JournalEntry::kind);
  std::string package = copied != situation.run.entries.end() ? copied->Text("path") : situation.run.Option("package");
  if (!package.empty()) {
    package = ShellWord(package);
    package += situation.run.HasOption("allow_older") ? " --allow-older" : "";
    package += situation.run.HasOption("allow_reinstall") ? " --allow-reinstall" : "";
  }
  return package;
}

std::string UpdateAgain(const Situation& situation, bool flashTouched) {
  const std::string package = PackageOf(situation);
  return flashTouched ? KeepPoweredAndUpdate(package) : "R" + RunUpdate(package).substr(1);
}

bool IsRecordedAsWritten(const Situation& situation) {
  return situation.recordsAreReadable && refhost::IsWritten(situation.records);
}

Diagnosis OfUpdateBeforeTheFlash(const Situation& situation) {
  Diagnosis diagnosis;
  diagnosis.verdict = "flash-untouched";
  diagnosis.flash = "not touched by this run";
  diagnosis.bmc = "runs the firmware that it ran before; this run gave it no image";
  diagnosis.marker = "not made by this run";
  const bool isCutOff = situation.run.Outcome() == nullptr || situation.run.OutcomeText("verdict") == "interrupted";
  if (isCutOff && situation.run.Entered("write") && !situation.machineWasRestarted) {
    diagnosis.unknown = "Whether the BMC's virtual media are connected.";
  }
  const bool isLeftInDoubt = !situation.unfinishedBefore.empty() || situation.beforeIsUnknown;
  diagnosis.nextStep = UpdateAgain(situation, isLeftInDoubt);
  const std::string verdict = situation.run.OutcomeText("verdict");
  if (!isLeftInDoubt && (verdict == "update-failed" || verdict == "not-prepared")) {
    TraceWatch watch;
    Replay(situation.run, &watch);
    const std::string remedy = RemedyFor(watch);
    diagnosis.nextStep.insert(0, remedy.empty() ? "" : remedy + " ");
  }
  return diagnosis;
}

// Lines are lost, so that none shows the flash proves nothing.
Diagnosis OfUpdateWithLostLines(const Situation& situation) {
  Diagnosis diagnosis;
  diagnosis.verdict = "flash-unknown";
  diagnosis.flash = "unknown: lines of the journal are lost, and those that are left do not show it";
  diagnosis.bmc = "may have been given an image that is incomplete";
  diagnosis.marker = "unknown";
  diagnosis.unknown = "Whether writing the flash had begun.";
  diagnosis.nextStep = UpdateAgain(situation, true);
  return diagnosis;
}

Diagnosis OfUpdateInTheFlash(const Situation& situation, const std::string& end) {
  Diagnosis diagnosis;
  const bool failed = end == "failed" || situation.run.OutcomeText("verdict") == "update-failed";
  diagnosis.verdict = "flash-incomplete";
  diagnosis.flashTouched = true;
  diagnosis.flash = failed ? "writing it began and failed" : "writing it had begun, and its end is not in the journal";
  diagnosis.bmc = "runs the firmware that it ran before; the image beside it may be incomplete";
  diagnosis.marker = "not made by this run";
  diagnosis.unknown = "Whether the image in the BMC is whole.";
  diagnosis.nextStep = situation.sameFailureBefore.empty() ? UpdateAgain(situation, true)
                                                           : GetThePackageAnew(situation.sameFailureBefore);
  return diagnosis;
}

Diagnosis OfUpdateBehindTheFlash(const Situation& situation) {
  Diagnosis diagnosis;
  diagnosis.verdict = "written-not-recorded";
  diagnosis.flashTouched = true;
  diagnosis.flash = "the command that writes it ended well";
  diagnosis.bmc = "runs the firmware that it ran before; the image beside it is written";
  diagnosis.marker = situation.run.Entered("record") ? "made" : "unknown";
  diagnosis.unknown = situation.run.Entered("record") ? "" : "Whether the update marker was made.";
  diagnosis.nextStep = UpdateAgain(situation, true);
  return diagnosis;
}

Diagnosis OfWrittenUpdate(bool tookTooLong) {
  Diagnosis diagnosis;
  diagnosis.verdict = "written";
  diagnosis.flashTouched = true;
  diagnosis.flash = tookTooLong ? "written, but its command was cut off at its time limit" : "written";
  diagnosis.bmc = "runs the firmware that it ran before; the image beside it waits for \"orvhost apply\"";
  diagnosis.marker = "made";
  if (tookTooLong) {
    diagnosis.unknown = "Whether the image in the BMC is whole; it refuses the reboot flag when it is not.";
  }
  diagnosis.nextStep = kApply;
  return diagnosis;
}

Diagnosis OfUpdate(const Situation& situation) {
  const FlashRemains flash = RemainsOfFlash(situation.run);
  if (!flash.began) {
    const bool provesNothing = situation.run.IsDamaged() && situation.run.Outcome() == nullptr;
    return provesNothing ? OfUpdateWithLostLines(situation) : OfUpdateBeforeTheFlash(situation);
  }
  const std::string end = EndOfFlashing(situation.run, flash.command);
  const std::string verdict = situation.run.OutcomeText("verdict");
  const bool tookTooLong = end == "timed-out" || verdict == "updated-after-time-out";
  if (verdict.starts_with("updated") || (situation.run.Entered("record") && IsRecordedAsWritten(situation))) {
    return OfWrittenUpdate(tookTooLong);
  }
  const bool endedWell = situation.run.Entered("record") || end == "exited" || verdict == "not-recorded";
  return endedWell && verdict != "update-failed" ? OfUpdateBehindTheFlash(situation)
                                                 : OfUpdateInTheFlash(situation, end);
}

Diagnosis OfApply(const Situation& situation) {
  ApplyWatch watch;
  Replay(situation.run, &watch);
  Diagnosis diagnosis;
  diagnosis.flash = "not touched by this run";
  const bool restarted = situation.machineWasRestarted;
  const bool linesAreLost = situation.run.IsDamaged() && situation.run.Outcome() == nullptr;
  if (watch.IsRestarting()) {
    diagnosis.verdict = "restarted-only";
    diagnosis.bmc = "was given no reboot flag by this run, because there was no update marker";
    diagnosis.marker = "not there when the run began";
  } else if (watch.FlagIsArmed()) {
    diagnosis.verdict = watch.IsHalting() ? "going-down" : "armed";
    diagnosis.bmc = "had its reboot flag armed; it takes the written firmware when the machine is shut down";
    diagnosis.marker = watch.IsHalting() ? "deleted" : "unknown";
    if (!watch.IsHalting()) {
      diagnosis.unknown = "Whether the update marker was deleted.";
    }
  } else {
    diagnosis.verdict = "apply-incomplete";
    diagnosis.bmc = "runs the firmware that it ran before; the journal does not prove its reboot flag";
    diagnosis.marker = linesAreLost ? "unknown" : "kept";
    if (situation.run.Outcome() == nullptr) {
      diagnosis.unknown = std::string("Whether the reboot flag is armed") +
                          (linesAreLost ? ", and whether the update marker was deleted." : ".");
    }
  }
  if (situation.run.OutcomeText("verdict") == "marker-missing") {
    diagnosis.nextStep = UpdateAgain(situation, false);
  } else if (restarted) {
    diagnosis.unknown = "Which firmware the BMC runs since the machine was restarted.";
    diagnosis.nextStep = kVerify;
  } else {
    diagnosis.nextStep = diagnosis.verdict == "apply-incomplete" && !linesAreLost ? kApply : kShutDown;
  }
  return diagnosis;
}

// What a later "verify" found replaces what the run's own journal leaves open.
void TakeVerified(const Situation& situation, Diagnosis* diagnosis) {
  const bool isRecorded =
      situation.recordsAreReadable && refhost::StatusOfDevice(situation.records) == refhost::kUpdateVerified;
  // A "verify" that was cut off behind its record has no verdict. What was recorded before the run, or in the boot in
  // which it armed the BMC, says nothing of what the BMC runs since.
  const bool isOnlyRecorded = situation.verifiedAs.empty() && situation.verifyWasCutOff &&
                              situation.machineWasRestarted && diagnosis->verdict != "restarted-only" &&
                              WasPutIntoOperation(situation.run);
  if (isRecorded && (situation.verifiedAs == "verified" || isOnlyRecorded)) {
    diagnosis->verdict = "verified";
    diagnosis->bmc = "runs the firmware that was installed, as \"orvhost verify\" found";
    diagnosis->unknown = "";
    diagnosis->nextStep = "Nothing to do.";
  } else if (situation.verifiedAs == "not-applied-yet") {
    diagnosis->bmc =
        "runs the firmware that it ran before, as \"orvhost verify\" found; what is written beside it waits";
    diagnosis->unknown = "";
    diagnosis->nextStep = kApply;
  } else if (situation.verifiedAs == "version-not-expected") {
    diagnosis->bmc = "runs another version than the one that was installed, as \"orvhost verify\" found";
    diagnosis->unknown = "";
    diagnosis->nextStep = diagnosis->marker == "kept" || diagnosis->marker == "made"
                              ? kApply
                              : "Run \"orvhost update PACKAGE\" again, then \"orvhost apply\".";
  }
}

// "apply" refuses an update that the records no longer have.
void TakeForgotten(const Situation& situation, Diagnosis* diagnosis) {
  if (diagnosis->verdict == "written" && diagnosis->nextStep == kApply && situation.recordsAreReadable &&
      refhost::NamesNoUpdate(situation.records)) {
    diagnosis->nextStep = UpdateAgain(situation, true);
  }
}

// Whether the BMC took what was written before the machine was started anew, only the BMC knows, and "update" asks it.
void TakeRestarted(const Situation& situation, Diagnosis* diagnosis) {
  const bool isCutOff = situation.run.Outcome() == nullptr;
  const bool markerIsKept = diagnosis->verdict == "apply-incomplete" && !situation.scriptsFlagIsSpent;
  if ((diagnosis->nextStep == kApply && situation.scriptsFlagIsSpent) ||
      (diagnosis->nextStep == kVerify && isCutOff && !markerIsKept)) {
    const std::string package = PackageOf(situation);
    diagnosis->nextStep = "Run \"orvhost update " + (package.empty() ? "PACKAGE" : package) +
                          "\" again: it asks the BMC first, and writes only what that has not taken yet.";
  }
}

// The BMC is one for all install paths, so what this one's run wrote may be there no longer.
void TakeOverwritten(const Situation& situation, Diagnosis* diagnosis) {
  if (situation.overwrittenBy.empty() || diagnosis->nextStep != kApply) {
    return;
  }
  diagnosis->verdict = "flash-unknown";
  diagnosis->bmc = "may have what an update under the install path " + situation.overwrittenBy + " left, begun since";
  diagnosis->unknown = "Which image the BMC has.";
  diagnosis->nextStep = "Keep the machine powered and run \"orvhost --install-path " +
                        ShellWord(situation.overwrittenBy) + " diagnose\".";
}

// A BMC that refuses its reboot flag time and again has no whole image.
void TakeRefused(const Situation& situation, Diagnosis* diagnosis) {
  if (situation.run.OutcomeText("verdict") == "not-applied" && diagnosis->nextStep == kApply) {
    diagnosis->nextStep +=
        " If the BMC refuses it again, write the package anew: \"orvhost update PACKAGE "
        "--allow-reinstall\".";
  }
}

}  // namespace

Diagnosis Diagnose(const Situation& situation) {
  const std::string command = CommandOf(situation.run);
  Diagnosis diagnosis = command == "update" || command.empty() ? OfUpdate(situation) : OfApply(situation);
  if (situation.isAtWork) {
    diagnosis.verdict = "at-work";
    diagnosis.unknown = "";
    diagnosis.nextStep = kWaitForTheEnd;
    return diagnosis;
  }
  TakeVerified(situation, &diagnosis);
  TakeOverwritten(situation, &diagnosis);
  TakeForgotten(situation, &diagnosis);
  TakeRestarted(situation, &diagnosis);
  TakeRefused(situation, &diagnosis);
  if (!situation.recordsAreReadable) {
    diagnosis.unknown += std::string(diagnosis.unknown.empty() ? "" : " ") + "What the host recorded.";
  }
  return diagnosis;
}

bool RecordsLeaveADoubt(const Situation& situation) {
  return !situation.recordsAreReadable || refhost::StatusOfDevice(situation.records) == refhost::kUpdateRunning ||
         refhost::StatusOfDevice(situation.records) == refhost::kUpdateFailed;
}

std::string KeepPoweredAndUpdate(const std::string& package) {
  return "Keep the machine powered, do not reboot it, and " + RunUpdate(package);
}

}  // namespace orvhost
