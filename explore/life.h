// A life: a machine from its first start, and the runs of the tool on it, each on a stack of its own, so that one can
// be cut off at any event as a killed process is.
#ifndef EXPLORE_LIFE_H
#define EXPLORE_LIFE_H

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "explore/programs.h"
#include "explore/world.h"

namespace explore {

struct RunEnd {
  std::string words;                   // the subcommand with its arguments
  FaultKind cutBy = FaultKind::kNone;  // kKill or kPower for a run that did not end by itself
  int exitCode = -1;
  nlohmann::json object;  // what it printed; null when that is no JSON
  World::Counts counts;   // of this run
  Microseconds took = 0;
  int leftOpen = 0;  // descriptors, of a run that ended by itself
  bool askedToHalt = false;
  bool askedToRestart = false;
  std::vector<std::string> complaints;  // what was seen to be wrong while it ran

  [[nodiscard]] bool WasCut() const { return cutBy != FaultKind::kNone; }
  [[nodiscard]] std::string Verdict() const { return object.is_object() ? object.value("verdict", "") : ""; }
};

// The high end of the stack that a run of the tool has.
[[nodiscard]] char* EndOfToolStack();

class SimulatedMachine;

class Life {
 public:
  Life(const MachineKind& machine, Disk& disk);
  Life(const Life&) = delete;
  Life& operator=(const Life&) = delete;
  ~Life();

  // Runs the tool: "update PACKAGE".
  [[nodiscard]] RunEnd Run(const std::string& words);

  // The machine goes down where it was asked to, and is up again; also after a loss of power.
  void LetGoDown();
  void ShutDownByHand();

  [[nodiscard]] World& TheWorld() { return world_; }
  [[nodiscard]] Programs& ThePrograms() { return programs_; }
  [[nodiscard]] Disk& TheDisk() { return disk_; }

 private:
  void CheckBeforeFlash();
  void CheckBeforeHalt();

  Disk& disk_;
  World world_;
  Programs programs_;
  std::unique_ptr<SimulatedMachine> machine_;
  RunEnd* current_ = nullptr;
  int runs_ = 0;
};

}  // namespace explore

#endif  // EXPLORE_LIFE_H
