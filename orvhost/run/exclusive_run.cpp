#include "orvhost/run/exclusive_run.h"

#include <csignal>
#include <cstdlib>

#include "orvhost/journal/journal_folder.h"
#include "refhost/staged_package.h"
#include "refhost/trace_sink.h"

namespace orvhost {

namespace {

std::string Described(const LockNote& note) {
  return "run " + note.runId + " (orvhost " + note.command + ", process " + std::to_string(note.pid) + ", since " +
         note.since + ")";
}

bool IsAlive(pid_t pid) {
  return kill(pid, 0) == 0 || errno == EPERM;
}

void Busy(const Run& run, Outcome* outcome, const std::string& cause, const std::string& nextStep) {
  Fail(run, outcome, {.exitCode = ExitCode::kBusy, .verdict = "busy", .cause = cause, .nextStep = nextStep});
}

}  // namespace

bool ExclusiveRun::Begin(Outcome* outcome) {
  outcome->phase = "lock";
  if (!IsFree(lock_.Take(run_.options.installPath), outcome)) {
    return false;
  }
  if (lock_.Found() && !NothingIsLeftOf(*lock_.Found(), outcome)) {
    lock_.Sign(*lock_.Found());  // as it was found, for the next one who asks
    return false;
  }
  refhost::StagedPackage::RemoveLeftovers();
  const std::string now = refhost::UtcNow();
  runId_ = NextRunId(ListRuns(JournalFolder(run_.options.installPath)), now);
  lock_.Sign({runId_, command_, getpid(), now, false});
  setenv(kRunVariable, RunMark(run_.options.installPath, runId_).c_str(), 1);
  if (!BeginJournal(outcome)) {
    return false;
  }
  TellTakeover();
  return true;
}

void ExclusiveRun::End(Outcome* outcome) {
  outcome->command = command_;
  if (runId_.empty()) {
    return;
  }
  outcome->runId = runId_;
  outcome->notices = notices_;
  run_.journal.End(*outcome);
  outcome->notices = notices_;  // the journal's own end may have added one
  // A script that ran longer than allowed goes on, so what touched the flash is looked for by the next run.
  lock_.Release(run_.watch.FlashBegan());
}

bool ExclusiveRun::IsFree(RunLock::Result result, Outcome* outcome) {
  const std::optional<LockNote>& holder = lock_.Found();
  switch (result) {
    case RunLock::Result::kTaken:
      return true;
    case RunLock::Result::kUnusable:
      Fail(run_, outcome,
           {.exitCode = ExitCode::kUsage,
            .verdict = "install-path-unusable",
            .cause = "Runs under " + run_.options.installPath + " cannot be kept apart: " + lock_.Error() + ".",
            .nextStep = "Run it as a user who may write there, or give another folder with --install-path."});
      return false;
    case RunLock::Result::kBusy:
      break;
  }
  const std::string lockPath = run_.options.installPath + "/orvhost.lock";
  if (!holder) {
    Busy(run_, outcome, "Another run is at work; its lock file " + lockPath + " does not tell which.",
         "Wait until it ends, then run the same command again.");
  } else if (IsAlive(holder->pid)) {
    Busy(run_, outcome, "Another run is at work: " + Described(*holder) + ".",
         "Wait until it ends, then run the same command again.");
  } else {
    Busy(run_, outcome,
         "The program has ended, but a process that it left behind holds the lock: " + Described(*holder) + ".",
         "Keep the machine powered and wait until that process ends, then run the same command again.");
  }
  return false;
}

bool ExclusiveRun::NothingIsLeftOf(const LockNote& last, Outcome* outcome) {
  const std::vector<WorkingProcess> left = ProcessesOfRun(run_.options.installPath, last.runId);
  if (left.empty()) {
    return true;
  }
  std::string processes;
  for (const WorkingProcess& process : left) {
    processes += (processes.empty() ? "" : ", ") + std::to_string(process.pid) + " (" + process.commandLine + ")";
  }
  Busy(
      run_, outcome,
      "The program has ended, but what it started is still at work: process " + processes + ", of " + Described(last) +
          ".",
      "It may be writing the flash: keep the machine powered, do not end it, and run the same command again when it is "
      "done.");
  return false;
}

void ExclusiveRun::TellTakeover() {
  if (lock_.FoundDamage()) {
    Notice("The lock file was damaged and is written anew.");
  }
  if (!lock_.Found() || lock_.Found()->ended) {
    return;
  }
  Notice("The lock is taken over from a run that did not end properly (it was killed, or the machine went down): " +
         Described(*lock_.Found()) + ".");
}

bool ExclusiveRun::BeginJournal(Outcome* outcome) {
  std::string error;
  if (run_.journal.Begin(runId_, command_, run_.options, &error)) {
    run_.journal.OnFailure([this](const std::string& reason) {
      Notice("The journal of this run is incomplete, because it could not be written (" + reason + ").");
    });
    run_.trace.Add(std::make_unique<JournalSink>(&run_.journal, &run_.watch));
    return true;
  }
  if (command_ != "update" || run_.options.dryRun) {
    Notice("This run leaves no journal: " + error + ".");
    return true;
  }
  EnterPhase(run_, outcome, "journal");
  Fail(run_, outcome,
       {.exitCode = ExitCode::kFailedUntouched,
        .verdict = "journal-unusable",
        .cause = "An update that leaves no journal is not begun: " + error + ".",
        .nextStep = "Make room and make sure that the folder can be written, then run the same command again."});
  return false;
}

void ExclusiveRun::Notice(const std::string& sentence) {
  run_.journal.Notice(sentence);
  notices_.push_back(sentence);
  run_.console.Notice(sentence);
}

}  // namespace orvhost
