// orvhost diagnose: what a run left behind and the one safe next step. Reads the host's own files only.
#include <cerrno>

#include "orvhost/commands/at_work.h"
#include "orvhost/commands/commands.h"
#include "orvhost/commands/look_back.h"
#include "orvhost/commands/status_words.h"
#include "orvhost/journal/applied.h"
#include "orvhost/journal/diagnosis.h"
#include "orvhost/journal/other_runs.h"
#include "orvhost/journal/remains.h"
#include "orvhost/journal/story.h"
#include "orvhost/journal/unreadable.h"
#include "orvhost/run/failure.h"
#include "orvhost/run/last_writer.h"
#include "refhost/machine.h"

namespace orvhost {

namespace {

constexpr const char* kVerifyFirst =
    "Run \"orvhost verify\": it asks the BMC which firmware it runs and changes nothing. Where that is not the "
    "installed version, \"orvhost apply\" comes next.";

std::string End(const RecordedRun& run, bool isAtWork) {
  if (run.Outcome() != nullptr) {
    return run.OutcomeText("verdict") + ", in step \"" + run.OutcomeText("phase") + "\"";
  }
  return (isAtWork ? "none yet; it is" : "cut off") + std::string(" in step \"") + run.LastPhase() + "\"";
}

class DiagnoseRoad {
 public:
  explicit DiagnoseRoad(const Run& run)
      : run_(run), folder_(JournalFolder(run.options.installPath)), journals_(ListJournals(folder_)) {}

  Outcome Go();

 private:
  bool FindRunNamed();
  bool FindLastRun();
  [[nodiscard]] bool LeavesADoubt(const RecordedRun& run) const;
  [[nodiscard]] bool IsExplained() const;
  bool LookAround();
  void ReadRecords();
  [[nodiscard]] std::string Records() const;
  [[nodiscard]] std::string Before() const;
  void Tell(const Diagnosis& diagnosis);
  void NoRun();
  bool SeesAll(const AtWork& atWork);
  bool Fails(const FailedEnd& end);

  const Run& run_;
  const std::string folder_;
  const JournalList journals_;
  Situation situation_;
  std::string left_;  // processes of the run
  std::string recordsError_;
  Outcome outcome_;
};

Outcome DiagnoseRoad::Go() {
  outcome_.phase = "diagnose";
  ReadRecords();
  if (!(run_.options.runName.empty() ? FindLastRun() : FindRunNamed())) {
    return outcome_;
  }
  for (const std::string& sentence : Damage(situation_.run)) {
    Note(run_, &outcome_, sentence);
  }
  if (LookAround()) {
    Tell(Diagnose(situation_));
  }
  return outcome_;
}

bool DiagnoseRoad::FindRunNamed() {
  const auto run = ReadRunNamed(run_, journals_, run_.options.runName, &outcome_);
  if (!run) {
    return false;
  }
  situation_.run = *run;
  if (ReachedTheDevice(*run) || MayHaveReachedTheDevice(*run)) {
    return true;
  }
  outcome_.verdict = "nothing-changed";
  outcome_.summary = "Run " + run->id + " did not get as far as to change the device.";
  return false;
}

// The last one that changed the device, or may have: what cannot be read is not passed over.
bool DiagnoseRoad::FindLastRun() {
  if (journals_.error != 0) {
    return Fails(JournalUnreadable("The journals in " + WhyUnreadable(folder_, journals_.error) + "."));
  }
  Note(run_, &outcome_, AboutMisnamed(journals_, folder_));
  for (auto id = journals_.runs.rbegin(); id != journals_.runs.rend(); ++id) {
    RecordedRun run = ReadRun(folder_, *id);
    if (run.error == ENOENT) {
      continue;  // dropped meanwhile
    }
    if (run.error != 0) {
      return Fails(JournalUnreadable("The journal " + WhyUnreadable(JournalPath(folder_, *id), run.error) + "."));
    }
    if (ReachedTheDevice(run) || LeavesADoubt(run)) {
      situation_.run = std::move(run);
      if (IsExplained()) {
        return true;
      }
      break;
    }
  }
  NoRun();
  return false;
}

// An update keeps in the records that it writes before it does, so these can clear a run whose journal cannot.
bool DiagnoseRoad::LeavesADoubt(const RecordedRun& run) const {
  return MayHaveReachedTheDevice(run) && (RecordsLeaveADoubt(situation_) || CommandOf(run) != "update");
}

// False when the records tell of an update in the middle of writing, and the journal of one that was not left there.
bool DiagnoseRoad::IsExplained() const {
  const bool isRunning =
      situation_.recordsAreReadable && refhost::StatusOfDevice(situation_.records) == refhost::kUpdateRunning;
  const std::string command = CommandOf(situation_.run);
  return !isRunning || command == "methods" ||
         (command != "apply" && !situation_.run.OutcomeText("verdict").starts_with("updated"));
}

// No journal tells, so the records and what is at work do.
void DiagnoseRoad::NoRun() {
  const AtWork atWork = AtWorkOfLostRuns(run_.options.installPath, journals_.runs);
  if (!SeesAll(atWork)) {
    return;
  }
  if (!situation_.recordsAreReadable) {
    Fails({.exitCode = ExitCode::kFailedUntouched,
           .verdict = "records-damaged",
           .cause = recordsError_ + ".",
           .nextStep = KeepPoweredAndUpdate("")});
    return;
  }
  outcome_.verdict = "nothing-to-diagnose";
  outcome_.summary = "No run with a journal in " + folder_ + " shows what became of the device.";
  outcome_.facts = {{"records", "Records", InWords(refhost::StatusOfDevice(situation_.records))}};
  if (atWork.isAtWork) {
    outcome_.verdict = "at-work";
    outcome_.summary += " But a run of which no journal is left is at work.";
    if (!atWork.processes.empty()) {
      outcome_.facts.push_back({"at_work", "At work", atWork.processes});
    }
    outcome_.facts.push_back({"next_step", "Next step", kWaitForTheEnd});
  } else if (RecordsLeaveADoubt(situation_)) {
    outcome_.verdict = "flash-unknown";
    outcome_.summary += " But the records show an update that was not finished, so the flash may be incomplete.";
    outcome_.facts.push_back({"next_step", "Next step", KeepPoweredAndUpdate("")});
  } else if (refhost::StatusOfDevice(situation_.records) == refhost::kUpdateWritten) {
    outcome_.verdict = "written";
    outcome_.summary += " But the records show an update that was written.";
    outcome_.facts.push_back({"next_step", "Next step", kVerifyFirst});
  }
}

// False, with the failure, when something may be at work that this user cannot see.
bool DiagnoseRoad::SeesAll(const AtWork& atWork) {
  if (atWork.isAtWork || atWork.unseen.empty()) {
    return true;
  }
  return Fails({.exitCode = ExitCode::kFailedUntouched,
                .verdict = "processes-unreadable",
                .cause = "Whether what a run started is still at work cannot be seen: " + atWork.unseen + ".",
                .nextStep =
                    "It may be writing the flash: keep the machine powered, and run \"orvhost diagnose\" as root, "
                    "where all of /proc can be read."});
}

bool DiagnoseRoad::Fails(const FailedEnd& end) {
  Fail(run_, &outcome_, end);
  return false;
}

bool DiagnoseRoad::LookAround() {
  const RecordedRun& run = situation_.run;
  const AtWork atWork = AtWorkOfRun(run_.options.installPath, run.id, JournalPath(folder_, run.id));
  if (!SeesAll(atWork)) {
    return false;
  }
  left_ = atWork.processes;
  situation_.isAtWork = atWork.isAtWork;
  situation_.machineWasRestarted = run.Begin("boot_id") != refhost::CurrentMachine().BootId();
  situation_.scriptsFlagIsSpent = ScriptsFlagIsSpent(folder_);
  situation_.overwrittenBy = OtherLastWriter(run_.options.installPath).installPath;
  for (const std::string& sentence : LookAtOtherRuns(folder_, journals_.runs, &situation_)) {
    Note(run_, &outcome_, sentence);
  }
  return true;
}

void DiagnoseRoad::ReadRecords() {
  situation_.recordsAreReadable =
      refhost::ReadModuleState(refhost::ModuleStateFolder(), &situation_.records, &recordsError_);
}

std::string DiagnoseRoad::Records() const {
  if (!recordsError_.empty()) {
    return recordsError_;
  }
  const bool isWriting = situation_.isAtWork && refhost::StatusOfDevice(situation_.records) == refhost::kUpdateRunning;
  return isWriting ? "being written" : InWords(refhost::StatusOfDevice(situation_.records));
}

// What earlier runs left or may have left, one clause or two.
std::string DiagnoseRoad::Before() const {
  std::string before;
  if (!situation_.unfinishedBefore.empty()) {
    before = "run " + situation_.unfinishedBefore + " had begun to write the flash and did not finish it";
  }
  if (situation_.beforeIsUnknown) {
    before += std::string(before.empty() ? "" : "; ") +
              "the journal of an earlier run cannot be read; it may have left the flash incomplete";
  }
  return before;
}

void DiagnoseRoad::Tell(const Diagnosis& diagnosis) {
  const RecordedRun& run = situation_.run;
  outcome_.verdict = diagnosis.verdict;
  outcome_.flashTouched = diagnosis.flashTouched;
  outcome_.summary = "About run " + run.id + " (orvhost " + CommandOf(run) + ", started " + run.Begin("t") + "):";
  outcome_.facts = {
      {"run", "Run", run.id},
      {"end", "End", End(run, situation_.isAtWork)},
      {"machine", "Machine", situation_.machineWasRestarted ? "was started anew since" : "has been up since"},
      {"flash", "Flash", diagnosis.flash},
      {"bmc", "BMC", diagnosis.bmc},
      {"update_marker", "Update marker", diagnosis.marker},
      {"records", "Records", Records()}};
  if (!left_.empty()) {
    outcome_.facts.push_back({"at_work", "At work", left_});
  }
  if (const std::string before = Before();
      !before.empty() && !diagnosis.flashTouched && diagnosis.verdict != "verified") {
    outcome_.facts.push_back({"before", "Before", before});
  }
  if (!diagnosis.unknown.empty()) {
    outcome_.facts.push_back({"unknown", "Unknown", diagnosis.unknown});
  }
  outcome_.facts.push_back({"next_step", "Next step", diagnosis.nextStep});
}

constexpr const char* kDiagnoseHelp = R"(Says in which state a run left the machine, as far as its journal and the
records prove it: whether the flash was touched, what the BMC has and runs,
whether the update marker is there, what is unknown, and the one safe next step.
Meant for a run that was killed or lost its machine, but it takes any. Without
RUN it is the last one that could have changed the device.

Asks neither the BMC nor the plug-in, so it can be run at any time, also while
another run is at work. Where the journals, the records or the processes that
decide it cannot be read, nothing is concluded.

Examples:
  orvhost diagnose
  orvhost diagnose --json | jq -r '.facts.next_step'

Exit codes: 0 diagnosed (any result); 2 there is no such run, or more than one;
7 what decides it cannot be read.)";

}  // namespace

const Command kDiagnoseCommand = {
    "diagnose",
    "Say how a run ended and the safe next step",
    kDiagnoseHelp,
    {{"run", &Options::runName, "A run: its id, its number, a beginning, or \"last\"", "RUN"}},
    [](const Run& run) { return DiagnoseRoad(run).Go(); }};

}  // namespace orvhost
