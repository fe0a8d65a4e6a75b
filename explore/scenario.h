// A road with what goes wrong on it, and its text: "life-ipmitool 41:busy 77:kill".
#ifndef EXPLORE_SCENARIO_H
#define EXPLORE_SCENARIO_H

#include <optional>
#include <string>
#include <vector>

#include "explore/faults.h"

namespace explore {

struct Fault {
  int event = 0;  // from 1 on
  FaultKind kind = FaultKind::kNone;
};

struct Scenario {
  std::string road;
  std::vector<Fault> faults;  // by event
};

[[nodiscard]] std::string Text(const Scenario& scenario);

// Nothing, with a sentence in `*error`, when it is no scenario's text. Whether the events come is seen when it is run.
[[nodiscard]] std::optional<Scenario> ParseScenario(const std::string& text, std::string* error);

}  // namespace explore

#endif  // EXPLORE_SCENARIO_H
