// Plays many scenarios in several processes at once. A process that is cut off in a life keeps what that life had
// taken, so each plays a slice and ends. One that hangs is ended, and its scenario is a finding.
#ifndef EXPLORE_CROWD_H
#define EXPLORE_CROWD_H

#include <functional>
#include <string>
#include <vector>

#include "explore/play.h"

namespace explore {

struct Result {
  std::string verdict;
  int exitCode = 0;
  bool flashTouched = false;
  bool ends = false;
  int steps = 0;
  std::string way;
  std::vector<std::string> findings;
  int unmet = 0;  // faults whose event did not come
};

using HowToPlay = std::function<Played(const Scenario&, Disk&, bool keepsEvents)>;

[[nodiscard]] inline Played PlayOnce(const Scenario& scenario, Disk& disk, bool keepsEvents) {
  return Play(scenario, disk, keepsEvents);
}

// By the number of their scenario.
[[nodiscard]] std::vector<Result> PlayAll(const std::vector<Scenario>& scenarios, int processes,
                                          const HowToPlay& play = PlayOnce);

}  // namespace explore

#endif  // EXPLORE_CROWD_H
