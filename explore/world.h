// The simulated machine below its programs: the BMC, the virtual media, power, the kernel's driver, and the time. What
// programs do stands in programs.h.
#ifndef EXPLORE_WORLD_H
#define EXPLORE_WORLD_H

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "explore/roads.h"
#include "lab/bmc/kv6000_bmc.h"

namespace explore {

using Microseconds = std::int64_t;

class World : public kv6000::Outside {
 public:
  explicit World(const MachineKind& machine);
  World(const World&) = delete;
  World& operator=(const World&) = delete;
  ~World() override = default;

  // One BMC command; the completion code first.
  [[nodiscard]] kv6000::Bytes Request(std::uint8_t netfn, std::uint8_t cmd, std::span<const std::uint8_t> data);

  // Puts an image on the media and has the BMC flash it, as far as `most` steps. True when it is done and whole.
  bool Flash(const kv6000::Bytes& image, int most = 1 << 20);
  bool GoOnFlashing(int most = 1 << 20);

  // The time passes, and what was to happen meanwhile happens.
  void Pass(Microseconds time);
  void At(Microseconds later, std::function<void()> happens) { due_.emplace(now_ + later, std::move(happens)); }
  [[nodiscard]] Microseconds Now() const { return now_; }  // since the beginning
  [[nodiscard]] Microseconds Clock() const { return now_ + clockIsOff_; }
  void StepClock(Microseconds by) { clockIsOff_ += by; }

  // Power and starts.
  void GoDown(bool isHalt);  // as the operating system was asked to
  void LosePower();
  void SwitchOn();
  [[nodiscard]] bool IsUp() const { return isUp_; }
  [[nodiscard]] int Boots() const { return boots_; }

  [[nodiscard]] std::string RunningVersion() const;  // as the plug-in writes it
  [[nodiscard]] const kv6000::Bmc& TheBmc() const { return *bmc_; }
  [[nodiscard]] const MachineKind& Kind() const { return machine_; }

  // What is set from outside.
  bool hasDriver;
  bool askedToHalt = false;
  bool askedToRestart = false;
  bool liesAboutVersion = false;  // a seeded defect: Get Device ID answers an old one
  std::vector<std::string> left;  // command lines of programs that nobody waits for any more

  // What was counted since the last Recount().
  struct Counts {
    int requests = 0;
    int changes = 0;      // requests that change the BMC
    int flashStarts = 0;  // accepted
    int sdrUpdates = 0;
    int flashPrograms = 0;  // flash tools and scripts that were started
  };
  Counts counts;

  void AttachMedia() override;
  void DetachMedia() override { media_.clear(); }
  kv6000::Bytes ReadMedia(std::uint32_t offset, std::uint32_t length) override;
  void SetRunningVersion(const kv6000::Version& /*version*/) override {}
  void PowerOn() override { powerOn_ = true; }

 private:
  void Boot();

  const MachineKind machine_;
  std::unique_ptr<kv6000::Bmc> bmc_;
  Microseconds now_ = 0;
  Microseconds clockIsOff_ = 0;
  std::multimap<Microseconds, std::function<void()>> due_;
  kv6000::Bytes media_;
  bool isUp_ = true;
  bool powerOn_ = false;
  int boots_ = 1;
};

}  // namespace explore

#endif  // EXPLORE_WORLD_H
