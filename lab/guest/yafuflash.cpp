// The maker's flash utility, played for the virtual server: puts a firmware image on the BMC's virtual media and has
// the BMC flash it from there. A test can order how the coming runs end (see lab/README.md).
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "lab/guest/ipmi_device.h"
#include "lab/guest/virtual_media.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

enum Exit : int {
  kExitUsage = 2,
  kExitImage = 3,
  kExitDriver = 4,
  kExitMedia = 5,
  kExitRefused = 6,
  kExitFlash = 7,
  kExitDevice = 8,
};

constexpr const char* kOrders = "/share/lab/flash-exits";
constexpr std::uint8_t kNetFn = 0x34;
constexpr std::uint8_t kStart = 0x90;
constexpr std::uint8_t kProgress = 0x91;
constexpr std::uint8_t kRunning = 0x01;
constexpr std::uint8_t kDone = 0x02;
constexpr useconds_t kPollMicroseconds = 100 * 1000;

// The first ordered end, taken off the list; "ok" when none is ordered.
std::string TakeOrder() {
  std::ifstream file(kOrders);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    lines.push_back(line);
  }
  if (lines.empty()) {
    return "ok";
  }
  std::ofstream rest(kOrders, std::ios::trunc);
  for (std::size_t i = 1; i < lines.size(); ++i) {
    rest << lines[i] << '\n';
  }
  return lines[0];
}

void ObeyOrder(const std::string& order) {
  if (order == "ok") {
    return;
  }
  if (order == "hang") {
    std::printf("Yafuflash: waiting for ever, as ordered\n");
    std::fflush(stdout);
    while (true) {
      ::pause();
    }
  }
  std::fprintf(stderr, "Yafuflash: ending with %s, as ordered\n", order.c_str());
  std::exit(std::atoi(order.c_str()));
}

int Fail(Exit code, const std::string& text) {
  std::fprintf(stderr, "Yafuflash: %s\n", text.c_str());
  return code;
}

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

int FlashFromMedia(std::size_t length) {
  kv6000::IpmiDevice bmc;
  const Bytes lengthBytes = {static_cast<std::uint8_t>(length), static_cast<std::uint8_t>(length >> 8U),
                             static_cast<std::uint8_t>(length >> 16U), static_cast<std::uint8_t>(length >> 24U)};
  const Bytes started = bmc.Exchange(kNetFn, 0, kStart, lengthBytes);
  if (started.empty() || started[0] != 0) {
    char text[100];
    std::snprintf(text, sizeof(text), "the BMC refuses to flash, completion code %02x",
                  started.empty() ? 0xffU : started[0]);
    return Fail(kExitRefused, text);
  }
  while (true) {
    const Bytes answer = bmc.Exchange(kNetFn, 0, kProgress, {});
    if (answer.size() < 3 || answer[0] != 0) {
      return Fail(kExitFlash, "the BMC does not tell its progress");
    }
    ShowProgress("flashing", answer[2], 100);
    if (answer[1] == kDone) {
      std::printf("the firmware is in the standby slot\n");
      return 0;
    }
    if (answer[1] != kRunning) {
      return Fail(kExitFlash, WhyFailed(answer[1]));
    }
    ::usleep(kPollMicroseconds);
  }
}

int Run(const std::string& imagePath) {
  std::ifstream file(imagePath, std::ios::binary);
  const Bytes image{std::istreambuf_iterator<char>(file), {}};
  if (!file.good() && image.empty()) {
    return Fail(kExitImage, "cannot read the image " + imagePath);
  }
  if (!kv6000::VirtualMedia::HasDriver()) {
    return Fail(kExitDriver, "the SCSI generic driver is not loaded (modprobe sg)");
  }
  auto media = kv6000::VirtualMedia::Find();
  if (!media) {
    return Fail(kExitMedia, "no /dev/sg* is the BMC's virtual media; it is not connected");
  }
  media->Write(image, [&](std::size_t written) { ShowProgress("writing ", written, image.size()); });
  return FlashFromMedia(image.size());
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.size() != 4 || arguments[0] != "-cd" || arguments[1] != "-preserve-config" ||
      arguments[2] != "-silent") {
    return Fail(kExitUsage, "usage: Yafuflash -cd -preserve-config -silent IMAGE");
  }
  ObeyOrder(TakeOrder());
  try {
    return Run(arguments[3]);
  } catch (const std::exception& error) {
    return Fail(kExitDevice, error.what());
  }
}
