// Asks the BMC about its LAN interface, each question in up to three attempts. The lines of the two differ on purpose:
// readers of the trace match on each as it is.
#ifndef REPORT_LAN_QUERIES_H
#define REPORT_LAN_QUERIES_H

#include <string>

#include "ipmi/ipmi_exchange.h"
#include "ipmi/trace.h"

namespace kestrel {

// The MAC address as upper-case pairs joined by ":". False, with `*macAddress` untouched, when the BMC did not give
// one. Blocks for up to 20 seconds besides the requests; so does the next one.
[[nodiscard]] bool QueryMacAddress(const std::string& toolPath, std::string* macAddress);

// The data bytes of the Tcpip info, joined; see ParseTcpipInfo. False, with `*digits` untouched, when the BMC did not
// give at least 14.
[[nodiscard]] bool QueryTcpipInfo(const std::string& toolPath, std::string* digits);

// Writes what is wrong with `reply`, an answer that gave nothing: at kRetry when another attempt follows, at kError
// after the last.
void WriteMacAddressFailure(Level level, const IpmiReply& reply);
void WriteTcpipInfoFailure(Level level, const IpmiReply& reply);

}  // namespace kestrel

#endif  // REPORT_LAN_QUERIES_H
