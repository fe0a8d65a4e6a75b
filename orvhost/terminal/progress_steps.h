// Tells from the plug-in's trace which step a run is at, in words. It reads nothing else and guesses nothing: a step
// begins with the line that the plug-in writes at its start, an attempt with the line about the one before that failed.
#ifndef ORVHOST_TERMINAL_PROGRESS_STEPS_H
#define ORVHOST_TERMINAL_PROGRESS_STEPS_H

#include <string>
#include <string_view>

#include "refhost/trace_sink.h"

namespace orvhost {

struct ProgressStep {
  std::string_view words;  // "" before the first step
  int attempt = 1;         // the attempt that is going on
  int attempts = 1;        // how many there can be
};

class ProgressSteps {
 public:
  // Takes the next record of the trace.
  void Take(const refhost::TraceRecord& record);

  [[nodiscard]] const ProgressStep& Current() const { return step_; }

 private:
  void TakeFlashStart(bool isScript);
  void Enter(std::string_view words, int attempts);

  ProgressStep step_;
  int flashRuns_ = 0;
};

// The bytes of the request to the BMC that an executed command line carries, as the plug-in's two tools take them:
// "34 8c 55 aa 01" of network function 34. "" when the line is no such command.
[[nodiscard]] std::string RequestIn(std::string_view line);

}  // namespace orvhost

#endif  // ORVHOST_TERMINAL_PROGRESS_STEPS_H
