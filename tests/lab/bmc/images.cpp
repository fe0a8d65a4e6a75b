// See images.h.
#include "tests/lab/bmc/images.h"

#include <zlib.h>

#include <algorithm>

namespace kv6000 {

std::vector<std::uint8_t> MakeImage(const Version& version, std::size_t payloadSize) {
  std::vector<std::uint8_t> payload(payloadSize);
  for (std::size_t i = 0; i < payloadSize; ++i) {
    payload[i] = static_cast<std::uint8_t>(i * 31 + i / 256);
  }
  std::vector<std::uint8_t> image = TextBytes("KV6KIMA1");
  image.resize(ImageHeader::kSize);
  image[8] = version.major;
  image[9] = version.minor;
  std::ranges::copy(LengthBytes(payloadSize), image.begin() + 12);
  std::ranges::copy(LengthBytes(crc32_z(0, payload.data(), payload.size())), image.begin() + 16);
  image.insert(image.end(), payload.begin(), payload.end());
  return image;
}

std::vector<std::uint8_t> LengthBytes(std::size_t length) {
  return {static_cast<std::uint8_t>(length), static_cast<std::uint8_t>(length >> 8U),
          static_cast<std::uint8_t>(length >> 16U), static_cast<std::uint8_t>(length >> 24U)};
}

std::vector<std::uint8_t> TextBytes(std::string_view text) {
  return {text.begin(), text.end()};
}

}  // namespace kv6000
