// Reads the version of the sensor data record repository (SDR) from the BMC: it is the text of an OEM record, which is
// looked for from the last record down.
#ifndef FIRMWARE_SDR_VERSION_H
#define FIRMWARE_SDR_VERSION_H

#include <string>

namespace kestrel {

// The version text, any bytes; "" when the repository cannot be read, when no record holds a version, and when the
// record that does is shorter than it says. A record that cannot be read in three attempts is passed over.
[[nodiscard]] std::string ReadSdrVersion(const std::string& toolPath);

}  // namespace kestrel

#endif  // FIRMWARE_SDR_VERSION_H
