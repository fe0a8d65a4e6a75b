// The BMC's network settings as the machine can ask for them: Get Channel Info, Get LAN Configuration Parameters and
// Get Tcpip Info. Nothing listens on the network.
#ifndef LAB_BMC_NETWORK_H
#define LAB_BMC_NETWORK_H

#include <array>
#include <cstdint>
#include <span>

#include "lab/bmc/command_table.h"

namespace kv6000 {

using Ipv4 = std::array<std::uint8_t, 4>;

struct LanConfig {
  std::array<std::uint8_t, 6> mac{};
  Ipv4 address{};
  Ipv4 netmask{};
  Ipv4 gateway{};
  std::uint8_t dhcp = 0;  // as Get Tcpip Info answers it: 00 off, 01 on; a test may set any other
};

class Network {
 public:
  explicit Network(const LanConfig& config) : config_(config) {}

  [[nodiscard]] static std::span<const Command<Network>> Table();

  [[nodiscard]] const LanConfig& Config() const { return config_; }
  void SetDhcp(std::uint8_t flag) { config_.dhcp = flag; }

 private:
  [[nodiscard]] Bytes GetChannelInfo(std::span<const std::uint8_t> data);
  [[nodiscard]] Bytes GetLanParameter(std::span<const std::uint8_t> data);
  [[nodiscard]] Bytes GetTcpipInfo(std::span<const std::uint8_t> data);

  LanConfig config_;
};

}  // namespace kv6000

#endif  // LAB_BMC_NETWORK_H
