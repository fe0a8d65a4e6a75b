#include "orvhost/run/run.h"

#include <unistd.h>

#include "host/Results.h"
#include "orvhost/journal/applied.h"
#include "orvhost/journal/journal_folder.h"
#include "orvhost/run/failure.h"
#include "orvhost/run/machine.h"

namespace orvhost {

namespace {

// A file that cannot be read is not moved out of the way, so that the next run would meet it again.
std::string NextStepWithoutRecords(const std::string& installPath) {
  refhost::ModuleState state;
  std::string error;
  if (!refhost::ReadModuleState(refhost::ModuleStateFolder(), &state, &error)) {
    return "Make sure that the file can be read, or move it away if its records do not matter, then run the same "
           "command again.";
  }
  return std::string("Look at the kept file if its records matter; ") +
         (ShowsUpdateNotApplied(JournalFolder(installPath))
              ? "to go on with empty records, keep the machine powered and run \"orvhost update PACKAGE\" again before "
                "anything is put into operation."
              : "run the same command again to go on with empty records.");
}

}  // namespace

void EndIfAsked(const Run& run, const Outcome& outcome) {
  if (run.interruption.MustEnd()) {
    throw EndedEarly{outcome};
  }
}

void EnterPhase(const Run& run, Outcome* outcome, const std::string& phase) {
  EndIfAsked(run, *outcome);
  outcome->phase = phase;
  run.journal.Phase(phase);
  run.progress.Enter(phase);
}

void Note(const Run& run, Outcome* outcome, const std::string& sentence) {
  if (sentence.empty()) {
    return;
  }
  outcome->notices.push_back(sentence);
  run.journal.Notice(sentence);
  run.console.Notice(sentence);
}

std::unique_ptr<Session> OpenSession(const Run& run, DamagedRecords damaged, Outcome* outcome,
                                     refhost::ModuleState* records) {
  if (!MayTalkToTheBmc()) {
    Fail(run, outcome,
         {.exitCode = ExitCode::kPrerequisites,
          .verdict = "prerequisites-missing",
          .cause = "Only root can talk to the BMC on this machine, and this is user " + std::to_string(geteuid()) + ".",
          .nextStep = "Run the same command again as root (for example with sudo)."});
    return nullptr;
  }
  refhost::ModuleState state;
  std::string error;
  const bool leave = damaged == DamagedRecords::kLeave;
  if (!(leave ? refhost::ReadModuleState : refhost::LoadModuleState)(refhost::ModuleStateFolder(), &state, &error)) {
    Fail(run, outcome,
         {.exitCode = ExitCode::kFailedUntouched,
          .verdict = "records-damaged",
          .cause = error + ".",
          .nextStep = leave ? "Run \"orvhost identify\": it keeps a damaged file under another name, and the next run "
                              "goes on with empty records."
                            : NextStepWithoutRecords(run.options.installPath)});
    return nullptr;
  }
  if (records != nullptr) {
    *records = state;
  }
  std::unique_ptr<Session> session = Session::Open(run.options.pluginPath, &error);
  if (!session) {
    Fail(run, outcome,
         {.exitCode = ExitCode::kPluginUnusable,
          .verdict = "plugin-unusable",
          .cause = "The plug-in could not be loaded: " + error + ".",
          .nextStep = "Check the path that --plugin gives and that the plug-in is installed completely."});
  }
  return session;
}

bool HasPrerequisites(const Run& run, const Session& session, Outcome* outcome) {
  std::list<CNecessaryComponentInfo> missing;
  session.Vendor().GetShortageOfNecessaryApplicationInfo(missing);
  if (missing.empty()) {
    return true;
  }
  std::string names;
  for (const CNecessaryComponentInfo& component : missing) {
    names += (names.empty() ? "" : ", ") + component.name;
  }
  Fail(run, outcome,
       {.exitCode = ExitCode::kPrerequisites,
        .verdict = "prerequisites-missing",
        .cause = "Missing on this machine: " + names + ".",
        .nextStep = "Install or start what is missing (the IPMI service needs the kernel's ipmi_si and ipmi_devintf "
                    "modules), then run the same command again."});
  return false;
}

bool ReadRunningVersion(const Run& run, const Session& session, Outcome* outcome) {
  const std::string version = session.Firmware().GetOperatingVersionCache();
  if (version != host::kAbnormalVersion) {
    outcome->before = version;
    return true;
  }
  Fail(run, outcome,
       {.exitCode = FailedExitCode(run),
        .verdict = "bmc-unreadable",
        .cause = "The BMC does not report its firmware version.",
        .nextStep = "Wait a minute in case the BMC is restarting, then run the same command again. If that fails "
                    "too, run the command above by hand to see why."});
  return false;
}

}  // namespace orvhost
