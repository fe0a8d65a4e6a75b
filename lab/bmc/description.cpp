// See description.h.
#include "lab/bmc/description.h"

#include <nlohmann/json.hpp>

#include "lab/bmc/hex_bytes.h"

namespace kv6000 {

namespace {

using Json = nlohmann::json;

const char* Name(Media media) {
  switch (media) {
    case Media::kDisconnected:
      return "disconnected";
    case Media::kConnecting:
      return "connecting";
    case Media::kConnected:
      break;
  }
  return "connected";
}

const char* Name(Flash flash) {
  switch (flash) {
    case Flash::kIdle:
      return "idle";
    case Flash::kRunning:
      return "running";
    case Flash::kDone:
      return "done";
    case Flash::kBadMagic:
      return "bad magic";
    case Flash::kBadLength:
      return "bad length";
    case Flash::kBadChecksum:
      return "bad checksum";
    case Flash::kMediaLost:
      break;
  }
  return "media lost";
}

Json DescribeLan(const LanConfig& lan) {
  return {{"mac", FormatHex(lan.mac)},
          {"address", FormatHex(lan.address)},
          {"netmask", FormatHex(lan.netmask)},
          {"gateway", FormatHex(lan.gateway)},
          {"dhcp", lan.dhcp}};
}

}  // namespace

Json DescribeState(const Bmc& bmc) {
  const auto& state = bmc.state();
  return {{"running", Text(state.running)},     {"standby", state.standby ? Json(Text(*state.standby)) : Json()},
          {"whole", state.standby.has_value()}, {"flag", state.rebootFlag},
          {"media", Name(state.media)},         {"waiting", state.waiting},
          {"writeMode", state.writeMode},       {"flash", Name(state.flash)},
          {"flashPercent", state.flashPercent}, {"lan", DescribeLan(bmc.network().config())}};
}

}  // namespace kv6000
