// What the BMC's answers about its LAN interface say. Pure: replies and texts in, texts out; asking for them and what
// to do about a short answer is the caller's.
#ifndef REPORT_LAN_SETTINGS_H
#define REPORT_LAN_SETTINGS_H

#include <string>

#include "ipmi/ipmi_exchange.h"

namespace kestrel {

struct LanSettings {
  std::string address;  // all three in dotted decimal
  std::string netmask;
  std::string gateway;
  std::string dhcpFlag;  // two hexadecimal digits in upper case
};

// The six bytes behind the parameter revision of a Get MAC Address answer, as the tool printed them, joined by ":".
// False when one of the first five is missing, and then `*text` holds what came before it; without the sixth the text
// ends in ":".
bool JoinMacAddress(const IpmiReply& reply, std::string* text);

// The up to 15 data bytes of a Get Tcpip Info answer, as the tool printed them, in one text. False when there are fewer
// than 14.
bool JoinTcpipInfo(const IpmiReply& reply, std::string* digits);

// The settings in the joined digits, in either case. Throws std::out_of_range for the digits of fewer than 15 bytes.
[[nodiscard]] LanSettings ParseTcpipInfo(const std::string& digits);

}  // namespace kestrel

#endif  // REPORT_LAN_SETTINGS_H
