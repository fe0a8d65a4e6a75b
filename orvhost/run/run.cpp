#include "orvhost/run/run.h"

#include "host/Results.h"
#include "refhost/module_state.h"

namespace orvhost {

void EnterPhase(const Run& run, Outcome* outcome, const std::string& phase) {
  outcome->phase = phase;
  run.journal.Phase(phase);
}

void Fail(const Run& run, Outcome* outcome, ExitCode exitCode, const std::string& verdict, const std::string& cause,
          const std::string& nextStep) {
  outcome->exitCode = exitCode;
  outcome->verdict = verdict;
  outcome->flashTouched = run.watch.FlashBegan();
  outcome->failure = Failure{cause, run.watch.Gathered(), nextStep};
}

ExitCode FailedExitCode(const Run& run) {
  return run.watch.FlashBegan() ? ExitCode::kFailedFlashBegun : ExitCode::kFailedUntouched;
}

std::unique_ptr<Session> OpenSession(const Run& run, DamagedRecords damaged, Outcome* outcome) {
  refhost::ModuleState state;
  std::string error;
  const bool leave = damaged == DamagedRecords::kLeave;
  if (!(leave ? refhost::ReadModuleState : refhost::LoadModuleState)(refhost::ModuleStateFolder(), &state, &error)) {
    Fail(run, outcome, ExitCode::kFailedUntouched, "records-damaged", error + ".",
         leave ? "Run \"orvhost identify\": it keeps a damaged file under another name, and the next run goes on with "
                 "empty records."
               : "Look at the kept file if its records matter; run the same command again to go on with empty "
                 "records.");
    return nullptr;
  }
  std::unique_ptr<Session> session = Session::Open(run.options.pluginPath, &error);
  if (!session) {
    Fail(run, outcome, ExitCode::kPluginUnusable, "plugin-unusable", "The plug-in could not be loaded: " + error + ".",
         "Check the path that --plugin gives and that the plug-in is installed completely.");
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
  Fail(run, outcome, ExitCode::kPrerequisites, "prerequisites-missing", "Missing on this machine: " + names + ".",
       "Install or start what is missing (the IPMI service needs the kernel's ipmi_si and ipmi_devintf modules), then "
       "run the same command again.");
  return false;
}

bool ReadRunningVersion(const Run& run, const Session& session, Outcome* outcome) {
  const std::string version = session.Firmware().GetOperatingVersionCache();
  if (version != host::kAbnormalVersion) {
    outcome->before = version;
    return true;
  }
  Fail(run, outcome, FailedExitCode(run), "bmc-unreadable", "The BMC does not tell its firmware version.",
       "Wait a minute in case the BMC is restarting, then run \"orvhost identify\". If that fails too, run the command "
       "above by hand to see why.");
  return false;
}

}  // namespace orvhost
