// What people and tests are told about the BMC, as JSON.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "lab/bmc/kv6000_bmc.h"

namespace kv6000 {

// Everything that the order "state" tells of the BMC itself; see lab/README.md.
[[nodiscard]] nlohmann::json DescribeState(const Bmc& bmc);

}  // namespace kv6000
