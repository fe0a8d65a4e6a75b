// The IPMI requests of this room, all OEM commands of the service processor. What differs between two files stands as
// an argument: `fileId`, the server config file's id byte.
#ifndef SVP_REQUESTS_H
#define SVP_REQUESTS_H

#include <string>

#include "ipmi/ipmi_exchange.h"

namespace kestrel {

[[nodiscard]] inline IpmiRequest GetCapabilityRequest() {
  return {"3c", "04"};
}

// Two completion codes mean that the file is locked: 00 and 01.
[[nodiscard]] inline IpmiRequest LockRequest(const std::string& fileId) {
  return {"3c", "6a", "05", fileId, "01", "00", "00", "00", "00", "00"};
}

// To be followed by four offset bytes, least significant first, and 1 to 32 data bytes.
[[nodiscard]] inline IpmiRequest WriteRequestHead(const std::string& fileId) {
  return {"3c", "69", "05", fileId, "00", "00"};
}

// Ends the writing: five bytes for offset 0, sent after all data. What they mean is the BMC's.
[[nodiscard]] inline IpmiRequest WriteSignatureRequest(const std::string& fileId) {
  return {"3c", "69", "05", fileId, "00", "00", "00", "00", "00", "00", "51", "54", "4c", "4d", "50"};
}

[[nodiscard]] inline IpmiRequest UnlockRequest(const std::string& fileId) {
  return {"3c", "6b", "05", fileId, "00", "00", "00", "00", "00", "00"};
}

// Tells the service processor that a file is new; `event` names which.
[[nodiscard]] inline IpmiRequest NotifyRequest(const std::string& event) {
  return {"34", "39", event};
}

}  // namespace kestrel

#endif  // SVP_REQUESTS_H
