#include "explore/simulated_machine.h"

#include "explore/stage.h"

namespace explore {

namespace {

constexpr std::chrono::sys_days kFirstDay = std::chrono::year(2026) / 1 / 31;
constexpr Microseconds kClockStepBack = 3'600'000'000;
constexpr Microseconds kClockStepForward = 24 * kClockStepBack;

}  // namespace

refhost::WorkResult SimulatedMachine::RunApart(const std::function<refhost::WorkResult()>& work,
                                               const refhost::WorkLimits& /*limits*/, int /*giveUp*/) {
  return work();
}

bool SimulatedMachine::Pause(unsigned long milliseconds) {
  const FaultKind fault = TheStage().Meet(EventKind::kPause, std::to_string(milliseconds) + " ms");
  const OffStage aside;
  if (fault == FaultKind::kClockBack || fault == FaultKind::kClockForward) {
    world_.StepClock(fault == FaultKind::kClockBack ? -kClockStepBack : kClockStepForward);
  }
  world_.Pass(static_cast<Microseconds>(milliseconds) * 1000);
  return true;
}

std::chrono::system_clock::time_point SimulatedMachine::Now() const {
  return kFirstDay + std::chrono::hours(12) + std::chrono::microseconds(world_.Clock());
}

std::chrono::steady_clock::time_point SimulatedMachine::SteadyNow() const {
  return std::chrono::steady_clock::time_point(std::chrono::microseconds(world_.Now()));
}

}  // namespace explore
