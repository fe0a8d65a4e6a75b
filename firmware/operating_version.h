// Asks the BMC which versions it runs. Nothing is remembered: every call asks anew.
#ifndef FIRMWARE_OPERATING_VERSION_H
#define FIRMWARE_OPERATING_VERSION_H

#include <string>

namespace kestrel {

// Firmware version of the BMC as "MM-mm", the two revision bytes as the tool prints them; on server types "mx4000" and
// "mx400" the major one is decimal, of at least two digits. On "kv6000rt" "BMC:MM-mm,SDR:" and the version of the
// sensor data records, which may be empty. host::kAbnormalVersion when `toolPath` is empty or the BMC did not answer in
// three attempts.
[[nodiscard]] std::string ReadOperatingVersion(const std::string& toolPath);

}  // namespace kestrel

#endif  // FIRMWARE_OPERATING_VERSION_H
