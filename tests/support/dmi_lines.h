// The journal of reading one DMI property, for the tests of everything that reads one.
#ifndef TESTS_SUPPORT_DMI_LINES_H
#define TESTS_SUPPORT_DMI_LINES_H

#include <string>

#include "tests/support/lines.h"

inline constexpr const char* kSerialNumberLine = "/usr/sbin/dmidecode --type system | grep \"Serial Number\"";

// The command printed something at its first run, and the label was in it.
inline Lines DmiRead(const std::string& command) {
  return {"4 CBMC_KESTREL_Vendor::GetDmiDecodeInfo() [START]", "line " + command,
          "4 CBMC_KESTREL_Vendor::GetDmiDecodeInfo() [END]"};
}

// The command printed nothing three times.
inline Lines FailedDmiRead(const std::string& command) {
  return {"4 CBMC_KESTREL_Vendor::GetDmiDecodeInfo() [START]",
          "line " + command,
          "sleep 1000",
          "16 Failed to execute command [" + command + "]",
          "line " + command,
          "sleep 1000",
          "16 Failed to execute command [" + command + "]",
          "line " + command,
          "2 Failed to execute command [" + command + "]",
          "4 CBMC_KESTREL_Vendor::GetDmiDecodeInfo() [END]"};
}

// The command printed `line`, and the label was not in it.
inline Lines DmiReadWithoutLabel(const std::string& command, const std::string& line) {
  return {"4 CBMC_KESTREL_Vendor::GetDmiDecodeInfo() [START]", "line " + command,
          "2 Failed to get property. command:[" + command + "] value:[" + line + "]",
          "4 CBMC_KESTREL_Vendor::GetDmiDecodeInfo() [END]"};
}

#endif  // TESTS_SUPPORT_DMI_LINES_H
