// Plays a scenario: the road, then what an operator does who reads nothing but what the tool prints for programs, and
// obeys, until a run says that what was wanted is there. Faults may hit either. What is wrong in it is a finding, each
// of which begins with the name of its oracle.
#ifndef EXPLORE_PLAY_H
#define EXPLORE_PLAY_H

#include <string>
#include <vector>

#include "explore/life.h"
#include "explore/scenario.h"
#include "explore/stage.h"

namespace explore {

// What is broken on purpose, so that an oracle must see it.
enum class Defect { kNone, kTruth, kTold, kRecovery, kBounds, kOrder, kLocks, kFiles, kTrace, kIdempotence };

struct Played {
  std::string verdict;  // of the run in which the faults ended: the tool's word, "killed" or "power-lost"
  int exitCode = -1;
  bool flashTouched = false;  // as the BMC saw it
  int steps = 0;              // that the operator took after that run
  std::string way;            // those steps: "update, apply, verify"
  bool ends = false;          // in the state that was wanted
  std::vector<std::string> findings;
  int events = 0;  // of the road
  std::vector<Event> kept;
  int eventsInAll = 0;                  // with those of the operator's steps
  std::vector<std::string> complaints;  // about the scenario: events that did not come, or that a fault cannot hit
};

inline constexpr int kMostSteps = 3;

[[nodiscard]] Played Play(const Scenario& scenario, Disk& disk, bool keepsEvents, Defect defect = Defect::kNone);

}  // namespace explore

#endif  // EXPLORE_PLAY_H
