#include "orvhost/run/exclusive_run.h"

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "orvhost/journal/journal_folder.h"
#include "orvhost/run/failure.h"
#include "orvhost/run/machine.h"
#include "orvhost/run/run_processes.h"
#include "posix/private_folder.h"
#include "refhost/machine.h"
#include "refhost/module_state.h"
#include "refhost/staged_package.h"
#include "refhost/trace_sink.h"

namespace orvhost {

namespace {

// A process that a killed run was about to start shows its mark when the kernel has made it ready, and not before.
constexpr std::chrono::milliseconds kStartOfProcess(20);

void Busy(const Run& run, Outcome* outcome, const std::string& cause, const std::string& nextStep) {
  Fail(run, outcome, {.exitCode = ExitCode::kBusy, .verdict = "busy", .cause = cause, .nextStep = nextStep});
}

FailedEnd Unusable(const std::string& installPath, const std::string& reason) {
  return {
      .exitCode = ExitCode::kUsage,
      .verdict = "install-path-unusable",
      .cause = "Only one run at a time may work under " + installPath + ", and that cannot be ensured: " + reason + ".",
      .nextStep =
          "Run it as root (for example with sudo), or give a folder that you can write to with --install-path."};
}

FailedEnd MachineUnusable(const std::string& reason) {
  return {.exitCode = ExitCode::kUsage,
          .verdict = "lock-folder-unusable",
          .cause = "Only one run at a time may work on this machine, and that cannot be ensured: " + reason + ".",
          .nextStep = "Make sure that root can write to " + MachineFolder() + ", then run the same command again."};
}

}  // namespace

bool ExclusiveRun::Begin(Outcome* outcome) {
  outcome->phase = "lock";
  if (!PackageStays(outcome) || !TakeLocks(outcome) || !NothingIsLeft(outcome)) {
    return false;
  }
  RemoveLeftovers();
  Sign();
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
  if (const std::string sentence = run_.interruption.HowItWentOn(); !sentence.empty()) {
    Notice(sentence);
  }
  outcome->runId = runId_;
  const std::vector<std::string> ofTheSubcommand = outcome->notices;
  outcome->notices.insert(outcome->notices.begin(), notices_.begin(), notices_.end());
  run_.journal.End(*outcome);
  outcome->notices = notices_;  // the journal's own end may have added one
  outcome->notices.insert(outcome->notices.end(), ofTheSubcommand.begin(), ofTheSubcommand.end());
  lock_.Release();
  machineLock_.Release();
}

// False for a package that this run's own tidying would remove.
bool ExclusiveRun::PackageStays(Outcome* outcome) const {
  const std::string& package = run_.options.packagePath;
  if (package.empty() || !refhost::StagedPackage::IsInItsFolder(package)) {
    return true;
  }
  Fail(run_, outcome,
       {.exitCode = ExitCode::kPackageUnusable,
        .verdict = "package-unusable",
        .cause = "The package " + package + " lies in a folder that every run empties.",
        .nextStep = "Copy it to another folder and give it from there."});
  return false;
}

// Who may not write firmware takes nothing from others of the machine, and could not take its lock either.
bool ExclusiveRun::TakeLocks(Outcome* outcome) {
  const std::string& installPath = run_.options.installPath;
  std::error_code failure;
  std::filesystem::create_directories(installPath, failure);
  if (failure) {
    Fail(run_, outcome, Unusable(installPath, "the folder " + installPath + " cannot be made: " + failure.message()));
    return false;
  }
  if (std::filesystem::equivalent(installPath, MachineFolder(), failure)) {
    Fail(run_, outcome, Unusable(installPath, "it is the folder of the machine's own lock"));
    return false;
  }
  if (!HasTaken(lock_.Take(installPath), lock_, outcome)) {
    return false;
  }
  if (!MayWriteFirmware()) {
    return true;
  }
  std::string error;
  if (!posix::MakePrivateFolder(MachineFolder(), &error)) {
    Fail(run_, outcome, MachineUnusable(error));
    return false;
  }
  return HasTaken(machineLock_.Take(MachineFolder()), machineLock_, outcome);
}

bool ExclusiveRun::HasTaken(RunLock::Result result, const RunLock& lock, Outcome* outcome) {
  if (result == RunLock::Result::kTaken) {
    return true;
  }
  if (result == RunLock::Result::kUnusable) {
    Fail(run_, outcome,
         &lock == &lock_ ? Unusable(run_.options.installPath, lock.Error()) : MachineUnusable(lock.Error()));
    return false;
  }
  const std::optional<LockNote>& holder = lock.Found().note;
  if (!holder || holder->ended) {
    Busy(run_, outcome, "Another run is at work; its note in " + lock.Folder() + " does not say which.",
         "Wait until it ends, then run the same command again.");
  } else if (IsAlive(holder->pid)) {
    Busy(run_, outcome, "Another run is at work: " + InWords(*holder) + ".",
         "Wait until it ends, then run the same command again.");
  } else {
    Busy(run_, outcome,
         "The program has ended, but a process that it started holds the lock: " + InWords(*holder) + ".",
         "Keep the machine powered and wait until that process ends, then run the same command again.");
  }
  return false;
}

// Of any run: the notes may be lost or damaged, and the BMC is one.
bool ExclusiveRun::NothingIsLeft(Outcome* outcome) {
  for (const RunLock* lock : {&lock_, &machineLock_}) {
    if (lock->Found().isDamaged || (lock->Found().note && !lock->Found().note->ended)) {
      refhost::CurrentMachine().Rest(kStartOfProcess);
    }
  }
  const WorkingProcesses left = MayWriteFirmware() ? ProcessesOfMachine() : ProcessesOfFolder(run_.options.installPath);
  if (!left.found.empty()) {
    Busy(run_, outcome,
         "An earlier run has ended, but what it started is still at work: process " + InWords(left.found) + ".",
         "It may be writing the flash: keep the machine powered, do not end it, and run the same command again when "
         "it is done.");
    return false;
  }
  if (!left.unseen.empty()) {
    Busy(run_, outcome,
         "It is unknown whether something that an earlier run started is still at work: " + left.unseen + ".",
         "It may be writing the flash: keep the machine powered, make sure that all of /proc can be read, and run the "
         "same command again.");
    return false;
  }
  return true;
}

void ExclusiveRun::RemoveLeftovers() const {
  refhost::StagedPackage::RemoveLeftovers();
  refhost::TidyModuleState(refhost::ModuleStateFolder());
}

void ExclusiveRun::Sign() {
  const std::string& installPath = run_.options.installPath;
  const std::string now = refhost::UtcNow();
  runId_ = NextRunId(ListJournals(JournalFolder(installPath)).runs, now);
  const LockNote note{
      .runId = runId_, .command = command_, .installPath = installPath, .pid = getpid(), .since = now, .ended = false};
  lock_.Sign(note);
  if (MayWriteFirmware()) {
    machineLock_.Sign(note);
  }
  setenv(kRunVariable, RunMark(installPath, runId_).c_str(), 1);
}

void ExclusiveRun::TellTakeover() {
  const FoundNote& found = lock_.Found();
  if (found.isDamaged) {
    Notice("The note of the last run was damaged and is written anew.");
  }
  if (!found.note || found.note->ended) {
    return;
  }
  Notice("The lock is taken over from a run that did not end properly (it was killed, or the machine went down): " +
         InWords(*found.note) + ".");
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
