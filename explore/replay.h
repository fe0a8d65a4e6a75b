// One scenario, shown event by event or made as short as its finding allows.
#ifndef EXPLORE_REPLAY_H
#define EXPLORE_REPLAY_H

#include <string>

#include "explore/crowd.h"
#include "explore/outside.h"

namespace explore {

inline constexpr int kExitFindings = 1;
inline constexpr int kExitUsage = 2;

struct Showing {
  HowToPlay play = PlayOnce;
  std::function<void(const std::string&)> print = Print;
};

// Both play in a player of their own: what hangs or crashes for real there is printed as the finding that it is.

// Prints the story of the scenario with that text. The answer is the program's exit code: 0 without a new
// finding, 1 with one, 2 for what cannot be played.
[[nodiscard]] int Replay(const std::string& text, const Showing& showing = {});

// Prints the shortest text that it finds with the same finding: without the faults that this does not need, of which
// those that are left may have to hit an event of another number.
[[nodiscard]] int Minimize(const std::string& text, const Showing& showing = {});

}  // namespace explore

#endif  // EXPLORE_REPLAY_H
