// The maker's flash tool, played for the virtual server: puts a firmware image on the BMC's virtual media and has
// the BMC flash it from there. A test can order how the coming runs end (see docs/lab.md).
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <string>
#include <vector>

#include "lab/guest/flash.h"

namespace {

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
      pause();
    }
  }
  std::fprintf(stderr, "Yafuflash: ending with %s, as ordered\n", order.c_str());
  std::exit(std::atoi(order.c_str()));
}

int Fail(Exit code, const std::string& text) {
  std::fprintf(stderr, "Yafuflash: %s\n", text.c_str());
  return code;
}

int Run(const std::string& imagePath) {
  const auto image = kv6000::ReadFile(imagePath);
  if (!image) {
    return Fail(kExitImage, "cannot read the image " + imagePath);
  }
  if (!kv6000::VirtualMedia::HasDriver()) {
    return Fail(kExitDriver, "the SCSI generic driver is not loaded (modprobe sg)");
  }
  auto media = kv6000::VirtualMedia::Find();
  if (!media) {
    return Fail(kExitMedia, "no /dev/sg* is the BMC's virtual media; it is not connected");
  }
  kv6000::WriteImage(*media, *image);
  kv6000::IpmiDevice bmc;
  const auto result = kv6000::FlashFromMedia(bmc, image->size());
  switch (result.end) {
    case kv6000::FlashResult::End::kRefused:
      return Fail(kExitRefused, result.why);
    case kv6000::FlashResult::End::kFailed:
      return Fail(kExitFlash, result.why);
    case kv6000::FlashResult::End::kDone:
      break;
  }
  return 0;
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
