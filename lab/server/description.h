// What people and tests read about the BMC, as JSON.
#ifndef LAB_SERVER_DESCRIPTION_H
#define LAB_SERVER_DESCRIPTION_H

#include <nlohmann/json_fwd.hpp>

#include "lab/bmc/kv6000_bmc.h"

namespace kv6000 {

// Everything that the order "state" answers about the BMC itself; see docs/lab.md.
[[nodiscard]] nlohmann::json DescribeState(const Bmc& bmc);

// What the order "files" answers: by file number, the bytes and how they came there.
[[nodiscard]] nlohmann::json DescribeFiles(const ConfigFiles& files);

}  // namespace kv6000

#endif  // LAB_SERVER_DESCRIPTION_H
