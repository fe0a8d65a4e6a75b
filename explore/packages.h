// What the simulated machine is given: firmware images, sensor data records and update packages.
#ifndef EXPLORE_PACKAGES_H
#define EXPLORE_PACKAGES_H

#include <string>

#include "explore/roads.h"
#include "lab/bmc/kv6000_bmc.h"

namespace explore {

[[nodiscard]] kv6000::Bytes MakeImage(const std::string& version);

// `count` records, the first of which has the version.
[[nodiscard]] kv6000::SdrRepository::Records SensorRecords(const std::string& version, unsigned count);

// A tar archive with the update for that machine.
[[nodiscard]] std::string MakePackage(const MachineKind& machine);

}  // namespace explore

#endif  // EXPLORE_PACKAGES_H
