// Has the BMC flash what stands on its virtual media, and follows it to the end. What the flash tools share.
#ifndef LAB_GUEST_FLASH_H
#define LAB_GUEST_FLASH_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "lab/guest/ipmi_device.h"
#include "lab/guest/virtual_media.h"

namespace kv6000 {

// The whole file; nullopt when it cannot be read.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> ReadFile(const std::string& path);

// Writes the image to the media, with its progress on standard output. Throws what VirtualMedia::Write() throws.
void WriteImage(VirtualMedia& media, std::span<const std::uint8_t> image);

struct FlashResult {
  enum class End : std::uint8_t { kDone, kRefused, kFailed };

  End end = End::kDone;
  std::string why;  // for people, "" for kDone
};

// Flashes `length` bytes from the media into the standby slot, with the progress on standard output. Throws
// std::system_error when the device fails.
[[nodiscard]] FlashResult FlashFromMedia(IpmiDevice& bmc, std::size_t length);

}  // namespace kv6000

#endif  // LAB_GUEST_FLASH_H
