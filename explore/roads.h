// The roads: which machine, what was done on it before, and the subcommands whose events are counted.
#ifndef EXPLORE_ROADS_H
#define EXPLORE_ROADS_H

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace explore {

struct MachineKind {
  bool hasMakersTool = false;
  bool isRack = false;
  bool needsWriteMode = false;  // firmware 06
  bool lacksSg = false;         // sg is loaded by the update
  unsigned records = 3;         // of the sensor data repository; the version stands in the first one

  // What runs at the start, and what the package brings.
  [[nodiscard]] std::string OldVersion() const;
  [[nodiscard]] std::string NewVersion() const;
};

struct Road {
  std::string_view name;
  MachineKind machine;
  std::vector<std::string_view> before;  // runs without faults and without counting
  std::vector<std::string_view> runs;    // subcommands with their own arguments
  bool writes = false;                   // it is to end with the new version in operation
};

[[nodiscard]] std::span<const Road> AllRoads();

// Null when there is none of that name.
[[nodiscard]] const Road* FindRoad(std::string_view name);

}  // namespace explore

#endif  // EXPLORE_ROADS_H
