// Firmware images and byte lists for the tests of the virtual BMC.
#ifndef TESTS_LAB_BMC_IMAGES_H
#define TESTS_LAB_BMC_IMAGES_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "lab/bmc/firmware_image.h"

namespace kv6000 {

// A whole image with a payload of `payloadSize` bytes that differ from each other.
std::vector<std::uint8_t> MakeImage(const Version& version, std::size_t payloadSize);

// The four bytes of a length, low byte first.
std::vector<std::uint8_t> LengthBytes(std::size_t length);

std::vector<std::uint8_t> TextBytes(std::string_view text);

}  // namespace kv6000

#endif  // TESTS_LAB_BMC_IMAGES_H
