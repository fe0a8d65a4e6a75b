// One line about a run that goes on: what it says, for a width. Pure; who writes it and when is the business of
// LiveProgress.
#ifndef ORVHOST_TERMINAL_PROGRESS_LINE_H
#define ORVHOST_TERMINAL_PROGRESS_LINE_H

#include <chrono>
#include <string>
#include <string_view>

#include "orvhost/terminal/progress_steps.h"

namespace orvhost {

// How far a run has come on its road.
struct ProgressPlace {
  std::size_t phase = 0;  // counted from 1; 0 before the first
  std::size_t phases = 0;
  std::chrono::milliseconds elapsed{0};
};

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

// "[10 of 11, 1:05] Writing the firmware (try 2 of 3, at most 14:48 more): Yafuflash", at most `width` columns wide.
// What does not fit is left out from the end, in whole parts as long as the step itself fits.
[[nodiscard]] std::string ProgressLine(const ProgressPlace& place, const ProgressStep& step, const ProgressWait& wait,
                                       std::size_t width);

}  // namespace orvhost

#endif  // ORVHOST_TERMINAL_PROGRESS_LINE_H
