// The programs that write the flash: the flash tool and a package's script.
#include <algorithm>
#include <csignal>
#include <cstdlib>

#include "explore/program_ends.h"
#include "explore/programs.h"
#include "explore/stage.h"

namespace explore {

namespace {

constexpr Microseconds kHangsFor = 3600 * kSecond;  // what nobody ends ends by itself, and has done nothing

kv6000::Bytes BytesOf(const std::string& text) {
  return {text.begin(), text.end()};
}

}  // namespace

Programs::Output Programs::FlashTool(const std::string& line, FaultKind fault) {
  ++world_.counts.flashPrograms;
  const kv6000::Bytes image = BytesOf(disk_.Read(LastQuoted(line)));
  if (liesAboutFlash) {
    return {};
  }
  const auto failed = [](int status) { return Output{status, "", "Yafuflash: failed\n"}; };
  if (image.empty()) {
    return failed(3);
  }
  if (!world_.hasDriver) {
    return failed(4);
  }
  if (world_.TheBmc().CurrentState().media != kv6000::Media::kConnected) {
    return failed(5);
  }
  if (fault == FaultKind::kPowerDuring) {
    (void)world_.Flash(image, 1);
    TheStage().end(FaultKind::kPower);
  }
  if (fault == FaultKind::kKillDuring) {
    (void)world_.Flash(image, 1);
    LeaveRunning(line, 60 * kSecond, [this] { (void)world_.GoOnFlashing(); });
    TheStage().end(FaultKind::kKill);
  }
  const bool done = world_.Flash(image);
  return done ? Output{} : failed(7);
}

// It goes on whether anybody waits for it or not.
void Programs::LeaveRunning(const std::string& line, Microseconds time, std::function<void()> rest) {
  const char* mark = getenv("ORVHOST_RUN");
  disk_.ShowProcess(line, mark != nullptr ? mark : "");
  world_.left.push_back(line);
  world_.At(time, [this, rest = std::move(rest)] {
    const OffStage aside;
    if (rest) {
      rest();
    }
    disk_.HideProcess();
    world_.left.clear();
  });
}

bool Programs::ForkScript(FaultKind* fault) {
  if (beforeFlash) {
    const OffStage aside;
    beforeFlash();
  }
  *fault = TheStage().Meet(EventKind::kScript, "the package's script");
  *fault = StepsClock(world_, *fault) ? FaultKind::kNone : *fault;
  return *fault != FaultKind::kNoProcess;
}

void Programs::StartScript(const std::string& line, FaultKind fault) {
  const OffStage aside;
  scriptStatus_.reset();
  ++world_.counts.flashPrograms;
  if (fault == FaultKind::kSignal) {
    scriptStatus_ = SIGKILL;
    return;
  }
  if (const auto status = StatusWithoutWork(fault)) {
    scriptStatus_ = *status << 8;
    return;
  }
  if (fault == FaultKind::kHangs) {
    LeaveRunning(line, kHangsFor, {});
    return;
  }
  const std::string folder = line.substr(0, line.find("/bmcup.sh"));
  world_.At(kSecond, [this, folder] { WriteSensorRecords(folder); });
  world_.At(2 * kSecond, [this] { (void)world_.Request(0x34, 0x8c, kv6000::Bytes{0x55, 0xaa, 0x01}); });
  world_.At(6 * kSecond, [this, folder] { BeginFirmware(folder); });
  LeaveRunning(line, 9 * kSecond, [this, folder, fault] {
    FinishFirmware(folder);
    scriptStatus_ = StatusWith(fault, *scriptStatus_) << 8;
  });
  if (fault == FaultKind::kKillDuring || fault == FaultKind::kPowerDuring) {
    world_.Pass(7 * kSecond);  // a part of the image is written
    TheStage().end(fault == FaultKind::kKillDuring ? FaultKind::kKill : FaultKind::kPower);
  }
}

void Programs::WriteSensorRecords(const std::string& folder) {
  const OffStage aside;
  world_.hasDriver = true;
  kv6000::Bytes records = BytesOf(disk_.Read(folder + "/kv6000rt.sdr"));
  bool good = world_.Request(0x0a, 0x2a, {}).front() == 0 && !records.empty();
  for (std::size_t at = 0; good && at + 5 <= records.size(); at += 5U + records[at + 4]) {
    const std::size_t length = std::min<std::size_t>(5U + records[at + 4], records.size() - at);
    good = world_.Request(0x0a, 0x24, std::span(records).subspan(at, length)).front() == 0;
  }
  good = good && world_.Request(0x0a, 0x2b, {}).front() == 0;
  disk_.Write(folder + "/x64sdr/sdronup.log",
              good ? "3 records\nSDR data was successfully written!\n" : "SDR data was not written.\n");
}

void Programs::BeginFirmware(const std::string& folder) {
  const OffStage aside;
  const kv6000::Bytes image = BytesOf(disk_.Read(folder + "/kv6000rt.ima"));
  (void)world_.Request(0x34, 0x2c, kv6000::Bytes{0x00});
  (void)world_.Flash(image, 1);
}

void Programs::FinishFirmware(const std::string& folder) {
  const OffStage aside;
  const bool flashed = world_.GoOnFlashing();
  (void)world_.Request(0x34, 0x8c, kv6000::Bytes{0x55, 0xaa, 0x00});
  disk_.Write(folder + "/x64/BmcFlash_log.txt",
              flashed ? "Update is successful. Reboot is required for changeover to new FW.\n" : "Update failed.\n");
  const bool good = flashed && world_.TheBmc().Sdr().Standby().has_value();
  scriptStatus_ = good && world_.Request(0x34, 0x5e, kv6000::Bytes{0x55, 0xaa, 0x02}).front() == 0 ? 0 : 1;
}

}  // namespace explore
