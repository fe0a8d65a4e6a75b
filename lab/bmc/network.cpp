// See network.h.
#include "lab/bmc/network.h"

namespace kv6000 {

namespace {

constexpr std::uint8_t kChannelMask = 0x0f;
constexpr std::uint8_t kIpmbChannel = 0x00;
constexpr std::uint8_t kLanChannel = 0x01;
constexpr std::uint8_t kThisChannel = 0x0e;
constexpr std::uint8_t kSystemChannel = 0x0f;

constexpr std::uint8_t kParameterRevision = 0x11;
constexpr std::uint8_t kRevisionOnly = 0x80;

enum LanParameter : std::uint8_t {
  kSetInProgress = 0,
  kAddress = 3,
  kAddressSource = 4,
  kMac = 5,
  kNetmask = 6,
  kGateway = 12,
};

constexpr std::uint8_t kStatic = 0x01;
constexpr std::uint8_t kFromDhcp = 0x02;

Bytes ChannelInfo(std::uint8_t channel, std::uint8_t medium, std::uint8_t protocol, std::uint8_t sessions) {
  return {kOk, channel, medium, protocol, sessions, 0xf2, 0x1b, 0x00, 0x00, 0x00};
}

}  // namespace

std::span<const Command<Network>> Network::Table() {
  static constexpr std::array<Command<Network>, 3> kTable = {{
      {0x06, 0x42, 1, 1, &Network::GetChannelInfo},
      {0x0c, 0x02, 4, 4, &Network::GetLanParameter},
      {0x3c, 0x13, 0, 0, &Network::GetTcpipInfo},
  }};
  return kTable;
}

Bytes Network::GetChannelInfo(std::span<const std::uint8_t> data) {
  switch (data[0] & kChannelMask) {
    case kIpmbChannel:
      return ChannelInfo(kIpmbChannel, 0x01, 0x01, 0x00);
    case kLanChannel:
      return ChannelInfo(kLanChannel, 0x04, 0x01, 0x80);  // 802.3, IPMB protocol, many sessions
    case kThisChannel:
    case kSystemChannel:
      return ChannelInfo(kSystemChannel, 0x05, 0x09, 0x00);
    default:
      return {kInvalidData};
  }
}

Bytes Network::GetLanParameter(std::span<const std::uint8_t> data) {
  if ((data[0] & kChannelMask) != kLanChannel) {
    return {kInvalidData};
  }
  Bytes answer = {kOk, kParameterRevision};
  if ((data[0] & kRevisionOnly) != 0) {
    return answer;
  }
  const auto append = [&answer](const auto& bytes) { answer.insert(answer.end(), bytes.begin(), bytes.end()); };
  switch (data[1]) {
    case kSetInProgress:
      answer.push_back(0x00);
      break;
    case kAddress:
      append(config_.address);
      break;
    case kAddressSource:
      answer.push_back(config_.dhcp == 0x01 ? kFromDhcp : kStatic);
      break;
    case kMac:
      append(config_.mac);
      break;
    case kNetmask:
      append(config_.netmask);
      break;
    case kGateway:
      append(config_.gateway);
      break;
    default:
      return {kUnknownParameter};
  }
  return answer;
}

Bytes Network::GetTcpipInfo(std::span<const std::uint8_t> /*data*/) {
  Bytes answer = {kOk};
  for (const Ipv4& part : {config_.address, config_.netmask, config_.gateway}) {
    answer.insert(answer.end(), part.begin(), part.end());
  }
  answer.insert(answer.end(), {0x00, 0x00, config_.dhcp});
  return answer;
}

}  // namespace kv6000
