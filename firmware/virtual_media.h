// Switches the BMC over to virtual media, through which the flash tool hands it the new firmware, and back.
#ifndef FIRMWARE_VIRTUAL_MEDIA_H
#define FIRMWARE_VIRTUAL_MEDIA_H

#include <string>

namespace kestrel {

// The BMC's virtual media during one update. An operation that returns false has written its trace record.
class VirtualMedia {
 public:
  // `toolPath` is that of the IPMI tool; `*detail`, which must outlive the object, takes the code of a failed step.
  VirtualMedia(std::string toolPath, std::string* detail);

  // Connects and waits until the device is there. The third failure ends it, counted over all calls.
  [[nodiscard]] bool Connect();

  // Tells the BMC not to wait any longer; three attempts in each call.
  [[nodiscard]] bool DisableWait();

  // One attempt. The record of its failure carries the detail as it stands.
  [[nodiscard]] bool Disconnect();

 private:
  const std::string toolPath_;
  std::string* const detail_;
  int connectFailures_ = 0;
};

}  // namespace kestrel

#endif  // FIRMWARE_VIRTUAL_MEDIA_H
