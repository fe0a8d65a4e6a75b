// The IPMI requests of this room that never change.
#ifndef FIRMWARE_REQUESTS_H
#define FIRMWARE_REQUESTS_H

#include "ipmi/ipmi_exchange.h"

namespace kestrel {

// Versions (IPMI v2.0, sections 20.1 and 33.9).
inline const IpmiRequest kGetDeviceId{"06", "01"};
inline const IpmiRequest kGetSdrRepositoryInfo{"0a", "20"};

// Update by the flash utility (OEM).
extern const IpmiRequest kChangeWriteMode;  // carries the phrase that this plug-in was built with
inline const IpmiRequest kConnectVirtualMedia{"34", "8c", "55", "aa", "01"};
inline const IpmiRequest kDisconnectVirtualMedia{"34", "8c", "55", "aa", "00"};
inline const IpmiRequest kCheckVirtualDevice{"34", "8d"};
inline const IpmiRequest kDisableWait{"34", "2c", "00"};
inline const IpmiRequest kCheckWaitDisabled{"34", "2d"};

// Apply (OEM).
inline const IpmiRequest kSetRebootFlag{"34", "5e", "55", "aa", "01"};
inline const IpmiRequest kCheckRebootFlag{"34", "5f"};

}  // namespace kestrel

#endif  // FIRMWARE_REQUESTS_H
