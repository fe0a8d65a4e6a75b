#include "orvhost/commands/confirmed_halt.h"

#include "host/Results.h"
#include "orvhost/journal/applied.h"
#include "orvhost/journal/journal_folder.h"
#include "orvhost/run/failure.h"
#include "orvhost/run/machine.h"

namespace orvhost {

bool MayHalt(const Run& run, const std::string& what, Outcome* outcome) {
  if (run.options.yes) {
    return true;
  }
  const std::string question = what + "The machine " + HostName() + " goes down now. Go on?";
  if (run.console.CanAsk() && run.console.Ask(question)) {
    return true;
  }
  EndIfAsked(run, *outcome);
  Fail(run, outcome,
       {.exitCode = ExitCode::kUsage,
        .verdict = "not-confirmed",
        .cause = "This halts the machine, so it must be confirmed.",
        .nextStep = "Run the same command again with --yes when the machine may go down."});
  return false;
}

void PutIntoOperation(const Run& run, const Session& session, Outcome* outcome) {
  const bool accepted = session.Vendor().ExecVendorMethod(kRebootMethod) == host::kSuccess;
  if (!accepted) {
    Fail(run, outcome,
         {.exitCode = FailedExitCode(run),
          .verdict = "not-applied",
          .cause = "The new firmware was not put into operation.",
          .nextStep =
              "The machine stays up and the written firmware stays in place; run the same command again. If "
              "the BMC refuses it again, write the package anew: \"orvhost update PACKAGE --allow-reinstall\"."});
    return;
  }
  // A plug-in may report success although it stopped before the shutdown; the trace tells.
  if (!run.watch.ShutdownWasRequested()) {
    Fail(run, outcome,
         {.exitCode = FailedExitCode(run),
          .verdict = "not-halted",
          .cause = "The BMC is ready, but the machine was not shut down.",
          .nextStep = "Shut the machine down by hand (shutdown -h now); the BMC then starts the new firmware."});
    return;
  }
  if (run.watch.RestartWasRequested() && MarkerIsLeft(JournalFolder(run.options.installPath))) {
    Fail(run, outcome,
         {.exitCode = FailedExitCode(run),
          .verdict = "marker-missing",
          .cause =
              "The machine restarts, but the BMC was not asked to take the new firmware: the update marker that the "
              "update left is missing.",
          .nextStep = "When the machine is up again, run \"orvhost update PACKAGE\" again."});
    return;
  }
  outcome->verdict = "going-down";
  outcome->changed = true;
  outcome->summary = "The machine is going down. When it is up again, run \"orvhost verify\".";
}

}  // namespace orvhost
