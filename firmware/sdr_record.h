// Finds the version text in one sensor data record (IPMI v2.0, section 43: OEM record). Pure: text in, value out.
#ifndef FIRMWARE_SDR_RECORD_H
#define FIRMWARE_SDR_RECORD_H

#include <string>

namespace kestrel {

struct SdrVersionField {
  enum class State {
    kNoMarker,   // not the record of the SDR version
    kTruncated,  // it is, but its length byte promises more than the record holds
    kFound,
  };
  State state;
  std::string version;  // empty unless kFound; may be empty, and may hold any byte, when kFound
};

// `record`: the whole record from the next record's ID on, its bytes as upper-case hexadecimal digits without
// separators; any other text has no marker or is read like ByteValue does. A length byte too small to leave room for a
// version gives the rest of the record; a single character left over at its end counts as the byte 00.
[[nodiscard]] SdrVersionField FindSdrVersion(const std::string& record);

}  // namespace kestrel

#endif  // FIRMWARE_SDR_RECORD_H
