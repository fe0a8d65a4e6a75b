// The IPMI requests of this room that never change.
#ifndef FIRMWARE_REQUESTS_H
#define FIRMWARE_REQUESTS_H

#include "ipmi/ipmi_exchange.h"

namespace kestrel {

// Versions (IPMI v2.0, sections 20.1 and 33.9).
inline const IpmiRequest kGetDeviceId{"06", "01"};
inline const IpmiRequest kGetSdrRepositoryInfo{"0a", "20"};

}  // namespace kestrel

#endif  // FIRMWARE_REQUESTS_H
