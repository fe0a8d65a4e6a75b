// The maker's IPMI command tool, played for the virtual server: one request line on standard input, "NetFn/LUN Cmd
// data..." in hexadecimal; the answer stands on the second output line after four words, completion code first.
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>

#include "lab/guest/ipmi_device.h"
#include "lab/hex_bytes.h"

int main() {
  std::string line;
  std::getline(std::cin, line);
  const auto request = kv6000::ParseHex(line);
  if (!request || request->size() < 2) {
    std::fprintf(stderr, "ipmicmd: expected one line of hexadecimal bytes, NetFn/LUN and Cmd first, not '%s'\n",
                 line.c_str());
    return 2;
  }
  const auto netfnLun = (*request)[0];
  const auto netfn = static_cast<std::uint8_t>(netfnLun >> 2U);
  const auto lun = static_cast<std::uint8_t>(netfnLun & 0x03U);
  const auto cmd = (*request)[1];
  try {
    const auto answer = kv6000::IpmiDevice().Exchange(netfn, lun, cmd, std::span(*request).subspan(2));
    // An answer carries the next NetFn.
    std::printf("Request : %s\nResponse : %02x %02x %s\n", kv6000::FormatHex(*request).c_str(), netfnLun + 4U, cmd,
                kv6000::FormatHex(answer).c_str());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "ipmicmd: %s\n", error.what());
    return 1;
  }
  return 0;
}
