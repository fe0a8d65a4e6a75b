// See kv6000_bmc.h. The byte table of all commands stands in docs/lab.md.
#include "lab/bmc/kv6000_bmc.h"

#include <algorithm>
#include <array>
#include <utility>

namespace kv6000 {

namespace {

// Commands that change the machine carry these two bytes in front.
constexpr std::array<std::uint8_t, 2> kOrderSignature = {0x55, 0xaa};

// What the reboot flag is armed for.
constexpr std::uint8_t kAtPowerOff = 0x01;
constexpr std::uint8_t kAlsoAtReset = 0x02;

bool IsSigned(std::span<const std::uint8_t> data) {
  return std::ranges::equal(kOrderSignature, data.first(kOrderSignature.size()));
}

// These majors are write protected: connecting media needs Change Write mode first.
bool IsWriteProtected(const Version& version) {
  return version.major == 0x06 || version.major == 0x16;
}

Flash ToFlash(ImageFault fault) {
  switch (fault) {
    case ImageFault::kMagic:
      return Flash::kBadMagic;
    case ImageFault::kLength:
      return Flash::kBadLength;
    case ImageFault::kChecksum:
      return Flash::kBadChecksum;
    case ImageFault::kNone:
      break;
  }
  return Flash::kDone;
}

}  // namespace

std::span<const Command<Bmc>> Bmc::Table() {
  static constexpr std::array<Command<Bmc>, 10> kTable = {{
      {0x36, 0x03, 22, 22, &Bmc::ChangeWriteMode},
      {0x34, 0x8c, 3, 3, &Bmc::ConnectMedia},
      {0x34, 0x8d, 0, 0, &Bmc::CheckMedia},
      {0x34, 0x2c, 1, 1, &Bmc::DisableWait},
      {0x34, 0x2d, 0, 0, &Bmc::CheckWait},
      {0x34, 0x5e, 3, 3, &Bmc::ArmRebootFlag},
      {0x34, 0x5f, 0, 0, &Bmc::CheckRebootFlag},
      {0x34, 0x90, 4, 4, &Bmc::StartFlash},
      {0x34, 0x91, 0, 0, &Bmc::CheckFlash},
      {0x0a, 0x2a, 0, 0, &Bmc::EnterSdrUpdate},
  }};
  return kTable;
}

Bmc::Bmc(const Config& config, Outside& outside)
    : writeModePhrase_(config.writeModePhrase),
      outside_(outside),
      network_(config.lan),
      files_(config.fileSupport),
      sdr_(config.sdr, config.unreadableSdr) {
  state_.running = config.running;
}

bool Bmc::Knows(std::uint8_t netfn, std::uint8_t cmd) {
  return std::ranges::count(Commands(), std::pair(netfn, cmd)) != 0;
}

std::vector<std::pair<std::uint8_t, std::uint8_t>> Bmc::Commands() {
  std::vector<std::pair<std::uint8_t, std::uint8_t>> commands;
  const auto add = [&commands](const auto& table) {
    for (const auto& entry : table) {
      commands.emplace_back(entry.netfn, entry.cmd);
    }
  };
  add(Table());
  add(Network::Table());
  add(ConfigFiles::Table());
  add(SdrRepository::Table());
  return commands;
}

Bytes Bmc::Handle(std::uint8_t netfn, std::uint8_t cmd, std::span<const std::uint8_t> data) {
  auto answer = RunCommand(*this, netfn, cmd, data);
  answer = answer ? answer : RunCommand(network_, netfn, cmd, data);
  answer = answer ? answer : RunCommand(files_, netfn, cmd, data);
  answer = answer ? answer : RunCommand(sdr_, netfn, cmd, data);
  return answer.value_or(Bytes{kInvalidCommand});
}

Bytes Bmc::ChangeWriteMode(std::span<const std::uint8_t> data) {
  if (!std::ranges::equal(data, writeModePhrase_,
                          [](std::uint8_t byte, char letter) { return byte == static_cast<std::uint8_t>(letter); })) {
    return {kInvalidData};
  }
  state_.writeMode = true;
  return {kOk};
}

Bytes Bmc::ConnectMedia(std::span<const std::uint8_t> data) {
  if (!IsSigned(data) || data[2] > 1) {
    return {kInvalidData};
  }
  if (state_.flash == Flash::kRunning) {
    return {kBusy};
  }
  if (data[2] == 0) {
    LoseMedia();
    return {kOk};
  }
  if (IsWriteProtected(state_.running) && !state_.writeMode) {
    return {kWrongState};
  }
  if (state_.media == Media::kDisconnected) {
    state_.media = Media::kConnecting;
    outside_.AttachMedia();
  }
  return {kOk};
}

Bytes Bmc::CheckMedia(std::span<const std::uint8_t> /*data*/) {
  return {kOk, static_cast<std::uint8_t>(state_.media == Media::kConnected)};
}

Bytes Bmc::DisableWait(std::span<const std::uint8_t> data) {
  if (data[0] != 0) {
    return {kInvalidData};
  }
  if (state_.media != Media::kConnected) {
    return {kWrongState};
  }
  state_.waiting = false;
  return {kOk};
}

Bytes Bmc::CheckWait(std::span<const std::uint8_t> /*data*/) {
  return {kOk, static_cast<std::uint8_t>(state_.waiting)};
}

Bytes Bmc::ArmRebootFlag(std::span<const std::uint8_t> data) {
  if (!IsSigned(data) || (data[2] != kAtPowerOff && data[2] != kAlsoAtReset)) {
    return {kInvalidData};
  }
  if (!state_.standby && !sdr_.Standby()) {
    return {kWrongState};
  }
  state_.rebootFlag = true;
  state_.flagMindsReset = data[2] == kAlsoAtReset;
  return {kOk};
}

Bytes Bmc::CheckRebootFlag(std::span<const std::uint8_t> /*data*/) {
  const std::uint8_t armed = state_.flagMindsReset ? kAlsoAtReset : kAtPowerOff;
  return {kOk, state_.rebootFlag ? armed : std::uint8_t{0}};
}

Bytes Bmc::StartFlash(std::span<const std::uint8_t> data) {
  const auto length =
      static_cast<std::uint32_t>(data[0] | data[1] << 8U | data[2] << 16U) | static_cast<std::uint32_t>(data[3]) << 24U;
  if (state_.flash == Flash::kRunning) {
    return {kBusy};
  }
  if (state_.media != Media::kConnected || state_.waiting) {
    return {kWrongState};
  }
  if (length <= ImageHeader::kSize || length > kSlotSize) {
    return {kInvalidData};
  }
  // From here on the old content of the standby slot is being overwritten.
  state_.standby.reset();
  state_.rebootFlag = false;
  state_.flash = Flash::kRunning;
  state_.flashPercent = 0;
  incoming_.clear();
  incomingTotal_ = length;
  return {kOk};
}

Bytes Bmc::CheckFlash(std::span<const std::uint8_t> /*data*/) {
  return {kOk, static_cast<std::uint8_t>(state_.flash), static_cast<std::uint8_t>(state_.flashPercent)};
}

Bytes Bmc::EnterSdrUpdate(std::span<const std::uint8_t> /*data*/) {
  // From here on the old content of the standby repository is being replaced.
  sdr_.BeginUpdate();
  state_.rebootFlag = false;
  return {kOk};
}

void Bmc::MediaSeen() {
  if (state_.media == Media::kConnecting) {
    state_.media = Media::kConnected;
  }
}

void Bmc::FlashStep() {
  if (state_.flash != Flash::kRunning) {
    return;
  }
  const auto offset = static_cast<std::uint32_t>(incoming_.size());
  const auto wanted = std::min(kFlashStep, incomingTotal_ - offset);
  const Bytes chunk = outside_.ReadMedia(offset, wanted);
  incoming_.insert(incoming_.end(), chunk.begin(), chunk.end());
  if (chunk.size() != wanted) {
    EndFlash(Flash::kMediaLost);
    return;
  }
  if (offset == 0 && !ReadHeader(incoming_)) {
    EndFlash(Flash::kBadMagic);
    return;
  }
  state_.flashPercent = static_cast<unsigned>(incoming_.size() * 100 / incomingTotal_);
  if (incoming_.size() == incomingTotal_) {
    EndFlash(ToFlash(CheckImage(incoming_)));
  }
}

void Bmc::EndFlash(Flash result) {
  state_.flash = result;
  if (result == Flash::kDone) {
    state_.standby = ReadHeader(incoming_)->version;
  }
  incoming_.clear();
}

void Bmc::LoseMedia() {
  if (state_.flash == Flash::kRunning) {
    EndFlash(Flash::kMediaLost);
  }
  if (state_.media != Media::kDisconnected) {
    state_.media = Media::kDisconnected;
    outside_.DetachMedia();
  }
  state_.waiting = true;
}

void Bmc::MachineReset() {
  files_.MachineDown();
  sdr_.EndUpdate();
  if (state_.rebootFlag && state_.flagMindsReset) {
    LoseMedia();
    TakeStandby();
  }
}

void Bmc::MachineOff() {
  LoseMedia();
  files_.MachineDown();
  sdr_.EndUpdate();
  state_.writeMode = false;
  if (!state_.rebootFlag) {
    return;
  }
  TakeStandby();
  outside_.PowerOn();
}

void Bmc::TakeStandby() {
  state_.rebootFlag = false;
  if (state_.standby) {
    state_.running = *std::exchange(state_.standby, std::nullopt);
    outside_.SetRunningVersion(state_.running);
  }
  sdr_.TakeStandby();
}

void Bmc::PowerLost() {
  LoseMedia();
  state_.writeMode = false;
  state_.rebootFlag = false;
}

}  // namespace kv6000
