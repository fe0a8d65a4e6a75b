// See flash.h.
#include "lab/guest/flash.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "lab/hex_bytes.h"

namespace kv6000 {

namespace {

constexpr std::uint8_t kNetFn = 0x34;
constexpr std::uint8_t kStart = 0x90;
constexpr std::uint8_t kProgress = 0x91;
constexpr std::uint8_t kRunning = 0x01;
constexpr std::uint8_t kDone = 0x02;
constexpr useconds_t kPollMicroseconds = 100 * 1000;

void ShowProgress(const char* step, std::size_t done, std::size_t total) {
  std::printf("%s %3zu%%\n", step, done * 100 / total);
  std::fflush(stdout);
}

std::string WhyFailed(std::uint8_t state) {
  switch (state) {
    case 0x80:
      return "the image is not a firmware image of this server";
    case 0x81:
      return "the image is not as long as its header says";
    case 0x82:
      return "the image's checksum is wrong";
    case 0x83:
      return "the BMC lost the virtual media";
    default:
      return "the BMC answers state " + std::to_string(state);
  }
}

}  // namespace

std::optional<std::vector<std::uint8_t>> ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(file), {}};
  if (!file.good() && bytes.empty()) {
    return std::nullopt;
  }
  return bytes;
}

void WriteImage(VirtualMedia& media, std::span<const std::uint8_t> image) {
  media.Write(image, [&](std::size_t written) { ShowProgress("writing ", written, image.size()); });
}

FlashResult FlashFromMedia(IpmiDevice& bmc, std::size_t length) {
  const std::array<std::uint8_t, 4> lengthBytes = {
      static_cast<std::uint8_t>(length), static_cast<std::uint8_t>(length >> 8U),
      static_cast<std::uint8_t>(length >> 16U), static_cast<std::uint8_t>(length >> 24U)};
  const auto started = bmc.Exchange(kNetFn, 0, kStart, lengthBytes);
  if (started.empty() || started[0] != 0) {
    return {FlashResult::End::kRefused,
            "the BMC refuses to flash, completion code " + FormatHex(started.empty() ? kNoAnswer : started[0])};
  }
  while (true) {
    const auto answer = bmc.Exchange(kNetFn, 0, kProgress, {});
    if (answer.size() < 3 || answer[0] != 0) {
      return {FlashResult::End::kFailed, "the BMC does not report its progress"};
    }
    ShowProgress("flashing", answer[2], 100);
    if (answer[1] == kDone) {
      std::printf("the firmware is in the standby slot\n");
      return {};
    }
    if (answer[1] != kRunning) {
      return {FlashResult::End::kFailed, WhyFailed(answer[1])};
    }
    usleep(kPollMicroseconds);
  }
}

}  // namespace kv6000
