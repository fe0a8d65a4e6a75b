// orvhost diagnose: what a run left behind and the one safe next step. Reads the host's own files only.
#include <algorithm>
#include <fstream>

#include "orvhost/commands/commands.h"
#include "orvhost/commands/status_words.h"
#include "orvhost/journal/diagnosis.h"
#include "orvhost/journal/journal_folder.h"
#include "orvhost/journal/story.h"
#include "orvhost/run/run_lock.h"
#include "orvhost/run/run_processes.h"
#include "posix/boot_id.h"

namespace orvhost {

namespace {

std::string End(const RecordedRun& run, bool isAtWork) {
  if (run.Outcome() != nullptr) {
    return run.OutcomeText("verdict") + ", in step \"" + run.OutcomeText("phase") + "\"";
  }
  return (isAtWork ? "none yet; it is" : "cut off") + std::string(" in step \"") + run.LastPhase() + "\"";
}

class DiagnoseRoad {
 public:
  explicit DiagnoseRoad(const Run& run)
      : run_(run), folder_(JournalFolder(run.options.installPath)), runs_(ListRuns(folder_)) {}

  Outcome Go();

 private:
  bool FindRunInQuestion();
  void LookAround();
  void LookBack(std::size_t at);
  void LookAhead(std::size_t at);
  void ReadRecords();
  void Tell(const Diagnosis& diagnosis);
  void NothingToDiagnose();
  void Notice(const std::string& sentence);

  const Run& run_;
  const std::string folder_;
  const std::vector<std::string> runs_;
  Situation situation_;
  std::string left_;  // processes of the run
  std::string recordsError_;
  Outcome outcome_;
};

Outcome DiagnoseRoad::Go() {
  outcome_.phase = "diagnose";
  ReadRecords();
  if (!FindRunInQuestion()) {
    return outcome_;
  }
  for (const std::string& sentence : Damage(situation_.run)) {
    Notice(sentence);
  }
  LookAround();
  Tell(Diagnose(situation_));
  return outcome_;
}

bool DiagnoseRoad::FindRunInQuestion() {
  const std::string& name = run_.options.runName;
  if (!name.empty()) {
    std::string error;
    const auto id = FindRun(runs_, name, &error);
    if (!id) {
      Fail(run_, &outcome_,
           {.exitCode = ExitCode::kUsage,
            .verdict = "no-such-run",
            .cause = error,
            .nextStep = "Run \"orvhost history\" to see which runs there are."});
      return false;
    }
    situation_.run = ReadRun(folder_, *id);
    if (ReachedTheDevice(situation_.run)) {
      return true;
    }
    outcome_.verdict = "nothing-changed";
    outcome_.summary = "Run " + *id + " did not get as far as to change the device.";
    return false;
  }
  for (auto id = runs_.rbegin(); id != runs_.rend(); ++id) {
    situation_.run = ReadRun(folder_, *id);
    if (ReachedTheDevice(situation_.run)) {
      return true;
    }
  }
  NothingToDiagnose();
  return false;
}

void DiagnoseRoad::NothingToDiagnose() {
  outcome_.verdict = "nothing-to-diagnose";
  outcome_.summary = "No run with a journal in " + folder_ + " got as far as to change the device.";
  outcome_.facts = {
      {"records", "Records", recordsError_.empty() ? InWords(situation_.records.updateStatus) : recordsError_}};
  const bool cutOff = situation_.records.updateStatus == refhost::kUpdateRunning ||
                      situation_.records.updateStatus == refhost::kUpdateFailed;
  if (!cutOff) {
    return;
  }
  outcome_.verdict = "flash-unknown";
  outcome_.summary += " But the records show an update that was not finished, so the flash may be incomplete.";
  outcome_.facts.push_back({"next_step", "Next step",
                            "Keep the machine powered, do not reboot it, and run \"orvhost update PACKAGE\" again."});
}

void DiagnoseRoad::LookAround() {
  const RecordedRun& run = situation_.run;
  left_ = InWords(ProcessesOfRun(run_.options.installPath, run.id).found);
  situation_.isAtWork = !left_.empty() || RunAtWork(run_.options.installPath) == run.id;
  situation_.machineWasRestarted = run.Begin("boot_id") != posix::BootId();
  const auto at = static_cast<std::size_t>(std::ranges::find(runs_, run.id) - runs_.begin());
  LookBack(at);
  LookAhead(at);
}

// Is there an update further back that was left in the flash?
void DiagnoseRoad::LookBack(std::size_t at) {
  while (at-- > 0) {
    const RecordedRun earlier = ReadRun(folder_, runs_[at]);
    if (earlier.Begin("command") != "update" || !ReachedTheDevice(earlier)) {
      continue;
    }
    TraceWatch watch;
    Replay(earlier, &watch);
    if (!watch.FlashBegan()) {
      continue;
    }
    if (!earlier.OutcomeText("verdict").starts_with("updated")) {
      situation_.unfinishedBefore = earlier.id;
    }
    return;
  }
}

void DiagnoseRoad::LookAhead(std::size_t at) {
  while (++at < runs_.size()) {
    const RecordedRun later = ReadRun(folder_, runs_[at]);
    if (ReachedTheDevice(later)) {
      return;
    }
    if (later.Begin("command") == "verify" && later.Outcome() != nullptr) {
      situation_.verifiedAs = later.OutcomeText("verdict");
    }
  }
}

void DiagnoseRoad::ReadRecords() {
  situation_.recordsAreReadable =
      refhost::ReadModuleState(refhost::ModuleStateFolder(), &situation_.records, &recordsError_);
}

void DiagnoseRoad::Tell(const Diagnosis& diagnosis) {
  const RecordedRun& run = situation_.run;
  outcome_.verdict = diagnosis.verdict;
  outcome_.flashTouched = diagnosis.flashTouched;
  outcome_.summary =
      "Of run " + run.id + " (orvhost " + run.Begin("command") + ", started " + run.Begin("t") + ") is known:";
  outcome_.facts = {
      {"run", "Run", run.id},
      {"end", "End", End(run, situation_.isAtWork)},
      {"machine", "Machine", situation_.machineWasRestarted ? "was started anew since" : "has been up since"},
      {"flash", "Flash", diagnosis.flash},
      {"bmc", "BMC", diagnosis.bmc},
      {"update_marker", "Update marker", diagnosis.marker},
      {"records", "Records", recordsError_.empty() ? InWords(situation_.records.updateStatus) : recordsError_}};
  if (!left_.empty()) {
    outcome_.facts.push_back({"at_work", "At work", left_});
  }
  if (!situation_.unfinishedBefore.empty() && !diagnosis.flashTouched && diagnosis.verdict != "verified") {
    outcome_.facts.push_back(
        {"before", "Before",
         "run " + situation_.unfinishedBefore + " had begun to write the flash and did not finish it"});
  }
  if (!diagnosis.unknown.empty()) {
    outcome_.facts.push_back({"unknown", "Unknown", diagnosis.unknown});
  }
  outcome_.facts.push_back({"next_step", "Next step", diagnosis.nextStep});
}

void DiagnoseRoad::Notice(const std::string& sentence) {
  outcome_.notices.push_back(sentence);
  run_.console.Notice(sentence);
}

constexpr const char* kDiagnoseHelp = R"(Says in which state a run left the machine, as far as its journal and the
records prove it: whether the flash was touched, what the BMC has and runs,
whether the update marker is there, what is unknown, and the one safe next step.
Meant for a run that was killed or lost its machine, but it takes any. Without
RUN it is the last one that could have changed the device.

Asks neither the BMC nor the plug-in, so it can be run at any time, also while
another run is at work.

Examples:
  orvhost diagnose
  orvhost diagnose --json | jq -r '.facts.next_step'

Exit codes: 0 diagnosed (any result); 2 there is no such run, or more than one.)";

}  // namespace

const Command kDiagnoseCommand = {
    "diagnose",
    "Say how a run ended and the safe next step",
    kDiagnoseHelp,
    {{"run", &Options::runName, "Id of a run, its number, its beginning, or \"last\"", "RUN"}},
    [](const Run& run) { return DiagnoseRoad(run).Go(); },
    false};

}  // namespace orvhost
