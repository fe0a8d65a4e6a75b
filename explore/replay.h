// One scenario, shown event by event or made as short as its finding allows.
#ifndef EXPLORE_REPLAY_H
#define EXPLORE_REPLAY_H

#include <string>

#include "explore/disk.h"

namespace explore {

inline constexpr int kExitFindings = 1;
inline constexpr int kExitUsage = 2;

// Prints the story of the scenario with that text. The answer is the program's exit code: 0 without a finding, 1 with
// one, 2 for what cannot be played.
[[nodiscard]] int Replay(const std::string& text, Disk& disk);

// Prints the shortest text that it finds with the same finding: without the faults that this does not need, of which
// those that are left may have to hit an event of another number.
[[nodiscard]] int Minimize(const std::string& text, Disk& disk);

}  // namespace explore

#endif  // EXPLORE_REPLAY_H
