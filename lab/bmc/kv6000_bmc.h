// The KV6000's management controller as a state machine: command bytes in, response bytes out, and what happens to the
// machine reported to it. It does no input or output of its own; everything outside goes through `Outside`.
#ifndef LAB_BMC_KV6000_BMC_H
#define LAB_BMC_KV6000_BMC_H

#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "lab/bmc/command_table.h"
#include "lab/bmc/config_files.h"
#include "lab/bmc/firmware_image.h"
#include "lab/bmc/network.h"
#include "lab/bmc/sdr_repository.h"

namespace kv6000 {

// What the BMC can do to the world around it. Calls come from inside the Bmc operations and must not call back into
// the Bmc before they return.
class Outside {
 public:
  virtual ~Outside() = default;

  // Plugs the virtual media drive in. Bmc::MediaSeen() is expected once the machine's system has taken it up.
  virtual void AttachMedia() = 0;
  virtual void DetachMedia() = 0;

  // `length` bytes of the media from `offset`; shorter when the media ends before.
  [[nodiscard]] virtual Bytes ReadMedia(std::uint32_t offset, std::uint32_t length) = 0;

  // The firmware that Get Device ID answers from now on.
  virtual void SetRunningVersion(const Version& version) = 0;

  virtual void PowerOn() = 0;
};

enum class Media : std::uint8_t { kDisconnected, kConnecting, kConnected };

// State of the flash operation as command 34 91 answers it.
enum class Flash : std::uint8_t {
  kIdle = 0x00,
  kRunning = 0x01,
  kDone = 0x02,
  kBadMagic = 0x80,
  kBadLength = 0x81,
  kBadChecksum = 0x82,
  kMediaLost = 0x83,
};

class Bmc {
 public:
  // Bytes that one step of the flash operation takes from the media.
  static constexpr std::uint32_t kFlashStep = 16 * 1024;
  // The largest image that a slot takes, header included.
  static constexpr std::uint32_t kSlotSize = 8 * 1024 * 1024;

  // Everything a person or a test may want to see.
  struct State {
    Version running;
    std::optional<Version> standby;  // set when the standby slot holds a whole image
    Media media = Media::kDisconnected;
    Flash flash = Flash::kIdle;
    unsigned flashPercent = 0;
    bool writeMode = false;
    bool waiting = true;
    bool rebootFlag = false;
    bool flagMindsReset = false;  // the flag is armed for a reset as well
  };

  // What a server's BMC is made with.
  struct Config {
    Version running;
    std::string writeModePhrase;  // what Change Write mode must carry
    LanConfig lan;
    std::uint8_t fileSupport = 0x03;  // which config files Get Capability names
    SdrRepository::Records sdr = {};
    std::set<unsigned> unreadableSdr = {};
  };

  // `outside` must outlive the object.
  Bmc(const Config& config, Outside& outside);

  // True when (netfn, cmd) is one of this BMC's own commands.
  [[nodiscard]] static bool Knows(std::uint8_t netfn, std::uint8_t cmd);

  // All (netfn, cmd) pairs of this BMC's own commands.
  [[nodiscard]] static std::vector<std::pair<std::uint8_t, std::uint8_t>> Commands();

  // Carries the command out. The first byte of the answer is the completion code.
  [[nodiscard]] Bytes Handle(std::uint8_t netfn, std::uint8_t cmd, std::span<const std::uint8_t> data);

  // The machine's system has taken up the drive that AttachMedia() plugged in.
  void MediaSeen();

  // One step of the flash operation; call it at a steady pace while the state says kRunning.
  void FlashStep();

  // The machine went off for any reason. With the reboot flag armed what stands by is taken, firmware and SDR, and the
  // machine is powered on again.
  void MachineOff();

  // The machine was reset without going off. With the reboot flag armed for that, what stands by is taken.
  void MachineReset();

  // The mains is gone: everything that is not in a slot is forgotten. MachineOff() follows when the machine is down.
  void PowerLost();

  [[nodiscard]] const State& CurrentState() const { return state_; }

  // The parts that have commands and a state of their own.
  [[nodiscard]] Network& TheNetwork() { return network_; }
  [[nodiscard]] const Network& TheNetwork() const { return network_; }
  [[nodiscard]] ConfigFiles& Files() { return files_; }
  [[nodiscard]] const ConfigFiles& Files() const { return files_; }
  [[nodiscard]] const SdrRepository& Sdr() const { return sdr_; }

  // The commands of the update; each part has a table of its own.
  [[nodiscard]] static std::span<const Command<Bmc>> Table();

 private:
  [[nodiscard]] Bytes ChangeWriteMode(std::span<const std::uint8_t> data);
  [[nodiscard]] Bytes ConnectMedia(std::span<const std::uint8_t> data);
  [[nodiscard]] Bytes CheckMedia(std::span<const std::uint8_t> data);
  [[nodiscard]] Bytes DisableWait(std::span<const std::uint8_t> data);
  [[nodiscard]] Bytes CheckWait(std::span<const std::uint8_t> data);
  [[nodiscard]] Bytes ArmRebootFlag(std::span<const std::uint8_t> data);
  [[nodiscard]] Bytes CheckRebootFlag(std::span<const std::uint8_t> data);
  [[nodiscard]] Bytes StartFlash(std::span<const std::uint8_t> data);
  [[nodiscard]] Bytes CheckFlash(std::span<const std::uint8_t> data);
  [[nodiscard]] Bytes EnterSdrUpdate(std::span<const std::uint8_t> data);

  void TakeStandby();
  void LoseMedia();
  void EndFlash(Flash result);

  State state_;
  std::string writeModePhrase_;
  Outside& outside_;
  Network network_;
  ConfigFiles files_;
  SdrRepository sdr_;
  Bytes incoming_;  // what the flash operation has read so far
  std::uint32_t incomingTotal_ = 0;
};

}  // namespace kv6000

#endif  // LAB_BMC_KV6000_BMC_H
