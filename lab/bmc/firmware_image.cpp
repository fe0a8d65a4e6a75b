// See firmware_image.h.
#include "lab/bmc/firmware_image.h"

#include <zlib.h>

#include <algorithm>
#include <array>

#include "lab/hex_bytes.h"

namespace kv6000 {

namespace {

constexpr std::array<std::uint8_t, 8> kMagic = {'K', 'V', '6', 'K', 'I', 'M', 'A', '1'};

std::uint32_t ReadU32(std::span<const std::uint8_t> bytes) {
  return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8U |
         static_cast<std::uint32_t>(bytes[2]) << 16U | static_cast<std::uint32_t>(bytes[3]) << 24U;
}

}  // namespace

std::string Text(const Version& version) {
  return FormatHex(version.major) + "-" + FormatHex(version.minor);
}

std::optional<Version> ParseVersion(const std::string& text) {
  if (text.size() != 5 || text[2] != '-') {
    return std::nullopt;
  }
  const auto major = ParseHexByte(std::string_view(text).substr(0, 2));
  const auto minor = ParseHexByte(std::string_view(text).substr(3));
  if (!major || !minor || *major >= 0x80) {
    return std::nullopt;
  }
  return Version{*major, *minor};
}

std::optional<ImageHeader> ReadHeader(std::span<const std::uint8_t> image) {
  if (image.size() < ImageHeader::kSize || !std::ranges::equal(kMagic, image.first(kMagic.size()))) {
    return std::nullopt;
  }
  const ImageHeader header{{image[8], image[9]}, ReadU32(image.subspan(12)), ReadU32(image.subspan(16))};
  if (header.version.major >= 0x80 || header.payloadLength == 0) {
    return std::nullopt;
  }
  return header;
}

ImageFault CheckImage(std::span<const std::uint8_t> image) {
  const auto header = ReadHeader(image);
  if (!header) {
    return ImageFault::kMagic;
  }
  const auto payload = image.subspan(ImageHeader::kSize);
  if (payload.size() != header->payloadLength) {
    return ImageFault::kLength;
  }
  const auto checksum = crc32_z(0, payload.data(), payload.size());
  return checksum == header->checksum ? ImageFault::kNone : ImageFault::kChecksum;
}

}  // namespace kv6000
