// The firmware image of the virtual KV6000: its layout on the media and the check that it is whole.
// Knows nothing of slots, media or commands.
#ifndef LAB_BMC_FIRMWARE_IMAGE_H
#define LAB_BMC_FIRMWARE_IMAGE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace kv6000 {

// Firmware revision as Get Device ID carries it: both bytes are shown as two hexadecimal digits, "01-23".
struct Version {
  std::uint8_t major = 0;
  std::uint8_t minor = 0;

  friend bool operator==(const Version&, const Version&) = default;
};

// "01-23". Text() and ParseVersion() are inverse.
[[nodiscard]] std::string Text(const Version& version);

// nullopt unless the text is two hexadecimal digits, "-", two hexadecimal digits, with a major below 0x80 (bit 7 of
// that byte means something else in Get Device ID).
[[nodiscard]] std::optional<Version> ParseVersion(const std::string& text);

// All numbers little endian. The payload follows the header at once.
//   0  8  magic "KV6KIMA1"
//   8  1  major          9  1  minor         10  2  zero
//  12  4  payload length, 1 or more
//  16  4  CRC-32 (zlib) of the payload
//  20 12  zero
struct ImageHeader {
  static constexpr std::size_t kSize = 32;

  Version version;
  std::uint32_t payloadLength = 0;
  std::uint32_t checksum = 0;
};

// Why an image was refused, or kNone.
enum class ImageFault : std::uint8_t { kNone, kMagic, kLength, kChecksum };

// Reads the header of `image`. nullopt when it is shorter than a header, has another magic, a bad version byte or an
// empty payload.
[[nodiscard]] std::optional<ImageHeader> ReadHeader(std::span<const std::uint8_t> image);

// Checks a complete image: magic, that it is exactly as long as its header says, and the checksum, in this order.
[[nodiscard]] ImageFault CheckImage(std::span<const std::uint8_t> image);

}  // namespace kv6000

#endif  // LAB_BMC_FIRMWARE_IMAGE_H
