// A road of steps, each of which answers whether the road goes on. One that ends it leaves the outcome complete.
#ifndef ORVHOST_COMMANDS_STEPS_H
#define ORVHOST_COMMANDS_STEPS_H

#include <array>

#include "orvhost/run/run.h"

namespace orvhost {

template <typename Road>
struct Step {
  const char* phase;  // stated as the phase that the run ended in
  bool (Road::*take)();
};

// Takes the steps in order until one answers false; true when none did.
template <typename Road, std::size_t size>
[[nodiscard]] bool TakeSteps(const Run& run, Road* road, const std::array<Step<Road>, size>& steps, Outcome* outcome) {
  for (const auto& step : steps) {
    EnterPhase(run, outcome, step.phase);
    if (!(road->*step.take)()) {
      return false;
    }
  }
  return true;
}

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_STEPS_H
