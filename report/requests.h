// The IPMI requests of this room.
#ifndef REPORT_REQUESTS_H
#define REPORT_REQUESTS_H

#include "ipmi/ipmi_exchange.h"

namespace kestrel {

// Get LAN Configuration Parameters (IPMI v2.0, section 23.2): channel 1, parameter 5, no set and no block selector.
[[nodiscard]] inline IpmiRequest GetMacAddressRequest() {
  return {"0C", "02", "01", "05", "00", "00"};
}

// The BMC's own: addresses in use and whether they come from DHCP.
[[nodiscard]] inline IpmiRequest GetTcpipInfoRequest() {
  return {"3c", "13"};
}

}  // namespace kestrel

#endif  // REPORT_REQUESTS_H
