// How a run fails: its exit code, and what its outcome tells of it.
#ifndef ORVHOST_RUN_FAILURE_H
#define ORVHOST_RUN_FAILURE_H

#include <string>

#include "orvhost/interface/outcome.h"
#include "orvhost/run/run.h"

namespace orvhost {

// How a run ends that fails. Every member must be given.
struct FailedEnd {
  ExitCode exitCode;
  std::string verdict;   // one word for programs
  std::string cause;     // one sentence for people
  std::string nextStep;  // the next safe step, for people
};

// Makes `*outcome` a failure: with what the trace gathered as evidence and what it shows of the flash.
void Fail(const Run& run, Outcome* outcome, const FailedEnd& end);

// Makes `*outcome` that of a run that ended early because it was asked to.
void FailInterrupted(const Run& run, Outcome* outcome);

// kFailedFlashBegun or kFailedUntouched, as the trace shows.
[[nodiscard]] ExitCode FailedExitCode(const Run& run);

}  // namespace orvhost

#endif  // ORVHOST_RUN_FAILURE_H
