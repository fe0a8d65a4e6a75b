#include "orvhost/run/failure.h"

namespace orvhost {

void Fail(const Run& run, Outcome* outcome, const FailedEnd& end) {
  outcome->exitCode = end.exitCode;
  outcome->verdict = end.verdict;
  outcome->flashTouched = run.watch.FlashBegan();
  outcome->failure = Failure{.cause = end.cause, .evidence = run.watch.Gathered(), .nextStep = end.nextStep};
}

void FailInterrupted(const Run& run, Outcome* outcome) {
  outcome->summary.clear();
  outcome->lines.clear();
  outcome->after.clear();
  outcome->needsApply.reset();
  outcome->changed = run.interruption.LeavesSomething();
  Fail(run, outcome,
       {.exitCode = ExitCode::kInterrupted,
        .verdict = "interrupted",
        .cause = run.interruption.Cause(),
        .nextStep = "Run the same command again when it may go on to its end."});
}

ExitCode FailedExitCode(const Run& run) {
  return run.watch.FlashBegan() ? ExitCode::kFailedFlashBegun : ExitCode::kFailedUntouched;
}

}  // namespace orvhost
