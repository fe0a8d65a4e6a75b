// The configuration of one server as the lab's client writes it: a JSON file.
#ifndef LAB_SERVER_SERVER_CONFIG_H
#define LAB_SERVER_SERVER_CONFIG_H

#include <string>

#include "lab/bmc/kv6000_bmc.h"
#include "lab/server/machine.h"

namespace kv6000 {

struct ServerConfig {
  Bmc::Config bmc;
  std::string orderPath;
  Machine::Config machine;
};

// Throws std::exception with a text for people.
[[nodiscard]] ServerConfig ReadServerConfig(const std::string& path);

}  // namespace kv6000

#endif  // LAB_SERVER_SERVER_CONFIG_H
