// The flash tool that an update package of the rack model brings: puts an image into the BMC's standby slot, all by
// itself, and lets what stands by take effect at the next start of the machine.
#include <unistd.h>

#include <array>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include "lab/guest/flash.h"

namespace {

using kv6000::IpmiDevice;
using kv6000::VirtualMedia;

constexpr std::uint8_t kNetFn = 0x34;
constexpr std::uint8_t kMedia = 0x8c;
constexpr std::uint8_t kCheckMedia = 0x8d;
constexpr std::uint8_t kDisableWait = 0x2c;
constexpr std::uint8_t kRebootFlag = 0x5e;
constexpr std::array<std::uint8_t, 3> kConnect = {0x55, 0xaa, 0x01};
constexpr std::array<std::uint8_t, 3> kDisconnect = {0x55, 0xaa, 0x00};
constexpr std::array<std::uint8_t, 3> kAlsoAtReset = {0x55, 0xaa, 0x02};
constexpr std::array<std::uint8_t, 1> kNoWait = {0x00};

constexpr useconds_t kPollMicroseconds = 100 * 1000;
constexpr int kMostPolls = 600;

// The media is connected for as long as the object lives.
class ConnectedMedia {
 public:
  explicit ConnectedMedia(IpmiDevice& bmc) : bmc_(bmc) {
    bmc_.Demand("connect virtual media", kNetFn, kMedia, kConnect);
  }
  ~ConnectedMedia() {
    try {
      bmc_.Demand("disconnect virtual media", kNetFn, kMedia, kDisconnect);
    } catch (const std::exception& error) {
      std::printf("%s\n", error.what());
    }
  }
  ConnectedMedia(const ConnectedMedia&) = delete;
  ConnectedMedia& operator=(const ConnectedMedia&) = delete;

  [[nodiscard]] VirtualMedia WaitForDrive() {
    for (int poll = 0; poll < kMostPolls; ++poll) {
      const auto connected = bmc_.Demand("check virtual media", kNetFn, kCheckMedia, {});
      auto drive = VirtualMedia::Find();
      if (connected == std::vector<std::uint8_t>{0x01} && drive) {
        return std::move(*drive);
      }
      usleep(kPollMicroseconds);
    }
    throw std::runtime_error("the virtual media does not appear; is the driver sg loaded?");
  }

 private:
  IpmiDevice& bmc_;
};

void Flash(const std::string& path) {
  const auto image = kv6000::ReadFile(path);
  if (!image) {
    throw std::runtime_error("cannot read the image " + path);
  }
  IpmiDevice bmc;
  ConnectedMedia media(bmc);
  VirtualMedia drive = media.WaitForDrive();
  bmc.Demand("stop waiting", kNetFn, kDisableWait, kNoWait);
  kv6000::WriteImage(drive, *image);
  const auto result = kv6000::FlashFromMedia(bmc, image->size());
  if (result.end != kv6000::FlashResult::End::kDone) {
    throw std::runtime_error(result.why);
  }
  std::printf("Update is successful. Reboot is required for changeover to new FW.\n");
}

void Activate() {
  IpmiDevice().Demand("set reboot flag", kNetFn, kRebootFlag, kAlsoAtReset);
  std::printf("The BMC changes over when the machine starts again.\n");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::printf("usage: BmcFlash IMAGE | -activate\n");
    return 2;
  }
  try {
    const std::string argument = argv[1];
    argument == "-activate" ? Activate() : Flash(argument);
  } catch (const std::exception& error) {
    std::printf("Update failed: %s.\n", error.what());
    return 1;
  }
  return 0;
}
