// The IPMI requests of this room, and the states that they put the BMC into.
#ifndef FIRMWARE_REQUESTS_H
#define FIRMWARE_REQUESTS_H

#include "ipmi/retried_exchange.h"

namespace kestrel {

// Versions (IPMI v2.0, sections 20.1, 33.9 and 33.12).
[[nodiscard]] inline IpmiRequest GetDeviceIdRequest() {
  return {"06", "01"};
}

[[nodiscard]] inline IpmiRequest GetSdrRepositoryInfoRequest() {
  return {"0a", "20"};
}

// Without a reservation, the whole record from its first byte on. `low` and `high`: the two bytes of its ID.
[[nodiscard]] inline IpmiRequest GetSdrRequest(const std::string& low, const std::string& high) {
  return {"0a", "23", "00", "00", low, high, "00", "ff"};
}

// Update by the flash tool (OEM).
[[nodiscard]] IpmiRequest ChangeWriteModeRequest();  // carries the phrase that this plug-in was built with

[[nodiscard]] inline BmcState ConnectedVirtualMedia() {
  return {{"34", "8c", "55", "aa", "01"}, {"34", "8d"}, "01"};
}

[[nodiscard]] inline IpmiRequest DisconnectVirtualMediaRequest() {
  return {"34", "8c", "55", "aa", "00"};
}

[[nodiscard]] inline BmcState DisabledWait() {
  return {{"34", "2c", "00"}, {"34", "2d"}, "00"};
}

// Apply (OEM).
[[nodiscard]] inline BmcState ArmedRebootFlag() {
  return {{"34", "5e", "55", "aa", "01"}, {"34", "5f"}, "01"};
}

}  // namespace kestrel

#endif  // FIRMWARE_REQUESTS_H
