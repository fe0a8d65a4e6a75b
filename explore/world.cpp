#include "explore/world.h"

#include <algorithm>
#include <utility>

#include "explore/packages.h"

namespace explore {

namespace {

constexpr Microseconds kRequestTime = 30'000;
constexpr Microseconds kFlashStepTime = 20'000;
constexpr Microseconds kBootTime = 90'000'000;
constexpr Microseconds kDriveTime = 3'000'000;

kv6000::Bmc::Config ConfigOf(const MachineKind& machine) {
  return {.running = *kv6000::ParseVersion(machine.needsWriteMode ? "06-10" : "01-23"),
          .writeModePhrase = KESTREL_WRITE_MODE_PHRASE,
          .lan = {{2, 0x4b, 0x45, 0x53, 0, 1}, {192, 168, 10, 20}, {255, 255, 255, 0}, {192, 168, 10, 1}, 0},
          .sdr = SensorRecords("A1", machine.records)};
}

bool Changes(std::uint8_t netfn, std::uint8_t cmd) {
  constexpr auto kChanging = std::to_array<std::pair<int, int>>({{0x36, 0x03},
                                                                 {0x34, 0x8c},
                                                                 {0x34, 0x2c},
                                                                 {0x34, 0x5e},
                                                                 {0x34, 0x90},
                                                                 {0x0a, 0x2a},
                                                                 {0x0a, 0x24},
                                                                 {0x0a, 0x2b},
                                                                 {0x3c, 0x6a},
                                                                 {0x3c, 0x69},
                                                                 {0x3c, 0x6b},
                                                                 {0x34, 0x39}});
  return std::ranges::count(kChanging, std::pair<int, int>(netfn, cmd)) != 0;
}

}  // namespace

World::World(const MachineKind& machine)
    : hasDriver(!machine.lacksSg), machine_(machine), bmc_(std::make_unique<kv6000::Bmc>(ConfigOf(machine), *this)) {}

kv6000::Bytes World::Request(std::uint8_t netfn, std::uint8_t cmd, std::span<const std::uint8_t> data) {
  Pass(kRequestTime);
  ++counts.requests;
  counts.changes += Changes(netfn, cmd) ? 1 : 0;
  if (netfn == 0x06 && cmd == 0x01) {
    const kv6000::Version running = liesAboutVersion ? kv6000::Version{1, 1} : bmc_->CurrentState().running;
    return {0x00, 0x20, 0x01, running.major, running.minor, 0x02, 0x9f, 0x91, 0x12, 0x00, 0x02, 0x0f, 0, 0, 0, 0};
  }
  kv6000::Bytes answer = bmc_->Handle(netfn, cmd, data);
  const bool accepted = answer.front() == 0;
  counts.flashStarts += accepted && netfn == 0x34 && cmd == 0x90 ? 1 : 0;
  counts.sdrUpdates += accepted && netfn == 0x0a && cmd == 0x2a ? 1 : 0;
  return answer;
}

bool World::Flash(const kv6000::Bytes& image, int most) {
  media_ = image;
  const auto length = static_cast<std::uint32_t>(image.size());
  const kv6000::Bytes data = {static_cast<std::uint8_t>(length), static_cast<std::uint8_t>(length >> 8U),
                              static_cast<std::uint8_t>(length >> 16U), static_cast<std::uint8_t>(length >> 24U)};
  return Request(0x34, 0x90, data).front() == 0 && GoOnFlashing(most);
}

bool World::GoOnFlashing(int most) {
  for (int step = 0; step < most && bmc_->CurrentState().flash == kv6000::Flash::kRunning; ++step) {
    Pass(kFlashStepTime);
    bmc_->FlashStep();
  }
  return bmc_->CurrentState().flash == kv6000::Flash::kDone;
}

void World::Pass(Microseconds time) {
  const Microseconds end = now_ + time;
  while (!due_.empty() && due_.begin()->first <= end) {
    now_ = std::max(now_, due_.begin()->first);
    const auto happens = std::move(due_.begin()->second);
    due_.erase(due_.begin());
    happens();
  }
  now_ = std::max(now_, end);
}

void World::AttachMedia() {
  At(kDriveTime, [this] { bmc_->MediaSeen(); });
}

kv6000::Bytes World::ReadMedia(std::uint32_t offset, std::uint32_t length) {
  const std::size_t first = std::min<std::size_t>(offset, media_.size());
  const std::size_t count = std::min<std::size_t>(length, media_.size() - first);
  const auto begin = media_.begin() + static_cast<std::ptrdiff_t>(first);
  return {begin, begin + static_cast<std::ptrdiff_t>(count)};
}

void World::GoDown(bool isHalt) {
  askedToHalt = false;
  askedToRestart = false;
  due_.clear();
  left.clear();
  powerOn_ = !isHalt;
  isHalt ? bmc_->MachineOff() : bmc_->MachineReset();
  isUp_ = false;
  if (powerOn_) {
    Boot();
  }
}

void World::LosePower() {
  due_.clear();
  left.clear();
  askedToHalt = false;
  askedToRestart = false;
  bmc_->PowerLost();
  bmc_->MachineOff();
  isUp_ = false;
}

void World::SwitchOn() {
  if (!isUp_) {
    Boot();
  }
}

void World::Boot() {
  isUp_ = true;
  ++boots_;
  hasDriver = !machine_.lacksSg;
  Pass(kBootTime);
}

std::string World::RunningVersion() const {
  const std::string bmc = kv6000::Text(bmc_->CurrentState().running);
  return machine_.isRack ? "BMC:" + bmc + ",SDR:" + kv6000::SdrVersion(bmc_->Sdr().AllRecords()) : bmc;
}

}  // namespace explore
