// The IPMI requests of this room.
#ifndef FIRMWARE_REQUESTS_H
#define FIRMWARE_REQUESTS_H

#include <string_view>

#include "ipmi/ipmi_exchange.h"

namespace kestrel {

// Versions (IPMI v2.0, sections 20.1 and 33.9).
inline constexpr std::string_view kGetDeviceId = "06 01";
inline constexpr std::string_view kGetSdrRepositoryInfo = "0a 20";

// Update by the flash utility (OEM).
IpmiRequest ChangeWriteModeRequest();  // carries the phrase that this plug-in was built with
inline constexpr std::string_view kConnectVirtualMedia = "34 8c 55 aa 01";
inline constexpr std::string_view kDisconnectVirtualMedia = "34 8c 55 aa 00";
inline constexpr std::string_view kCheckVirtualDevice = "34 8d";
inline constexpr std::string_view kDisableWait = "34 2c 00";
inline constexpr std::string_view kCheckWaitDisabled = "34 2d";

// Apply (OEM).
inline constexpr std::string_view kSetRebootFlag = "34 5e 55 aa 01";
inline constexpr std::string_view kCheckRebootFlag = "34 5f";

}  // namespace kestrel

#endif  // FIRMWARE_REQUESTS_H
