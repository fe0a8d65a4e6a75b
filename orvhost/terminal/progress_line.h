// The live line of a run: what it says, for a width. Pure; who writes it and when is the business of LiveProgress.
#ifndef ORVHOST_TERMINAL_PROGRESS_LINE_H
#define ORVHOST_TERMINAL_PROGRESS_LINE_H

#include <chrono>
#include <string>
#include <string_view>

#include "orvhost/terminal/progress_steps.h"

namespace orvhost {

// What the host itself is waiting for on behalf of the plug-in.
struct ProgressWait {
  enum class Kind { kNothing, kCommand, kPause };
  Kind kind = Kind::kNothing;
  std::string program;                 // of a command: what runs
  std::chrono::milliseconds limit{0};  // how long at most; of a pause, how long; of a command, 0 for no limit
  std::chrono::milliseconds alreadyFor{0};
};

// The name of the program that a command line runs, as people know it.
[[nodiscard]] std::string ProgramOf(std::string_view commandLine);

// "[1:05] Writing the firmware (2 of 3): Yafuflash for 0:12, 15:00 at most", at most `width` columns wide.
// What does not fit is left out from the end, in whole parts as long as the step itself fits.
[[nodiscard]] std::string ProgressLine(const ProgressStep& step, const ProgressWait& wait,
                                       std::chrono::milliseconds elapsed, std::size_t width);

}  // namespace orvhost

#endif  // ORVHOST_TERMINAL_PROGRESS_LINE_H
