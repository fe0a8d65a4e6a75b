// The machine that the host's services get in the place of the real one.
#ifndef EXPLORE_SIMULATED_MACHINE_H
#define EXPLORE_SIMULATED_MACHINE_H

#include "explore/programs.h"
#include "refhost/machine.h"

namespace explore {

class SimulatedMachine : public refhost::Machine {
 public:
  SimulatedMachine(World& world, Programs& programs) : world_(world), programs_(programs) {}

  refhost::ShellEnd Run(const refhost::ShellCommand& command) override { return programs_.Run(command); }

  // In this process: what bounds memory and time of the real one is no part of the simulation.
  refhost::WorkResult RunApart(const std::function<refhost::WorkResult()>& work, const refhost::WorkLimits& limits,
                               int giveUp) override;

  bool Pause(unsigned long milliseconds) override;
  void Rest(std::chrono::milliseconds time) override { world_.Pass(time.count() * 1000); }
  std::chrono::system_clock::time_point Now() const override;
  std::chrono::steady_clock::time_point SteadyNow() const override;
  std::string BootId() const override { return "boot-" + std::to_string(world_.Boots()); }

 private:
  World& world_;
  Programs& programs_;
};

}  // namespace explore

#endif  // EXPLORE_SIMULATED_MACHINE_H
