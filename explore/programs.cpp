#include "explore/programs.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>

#include "explore/request_text.h"
#include "explore/stage.h"
#include "host/Results.h"

namespace explore {

namespace {

using How = refhost::ShellEnd::How;

constexpr Microseconds kSecond = 1'000'000;
constexpr Microseconds kProgramTime = 20'000;
constexpr Microseconds kHangsFor = 3600 * kSecond;  // what nobody ends ends by itself, and has done nothing

constexpr int kNotExecutableStatus = 126;
constexpr int kNotFoundStatus = 127;

EventKind KindOf(const std::string& line, bool wantsFirstLine) {
  if (wantsFirstLine) {
    return EventKind::kQuestion;
  }
  if (line.find("/Yafuflash\"") != std::string::npos) {
    return EventKind::kFlash;
  }
  return ParseToolCommand(line) ? EventKind::kRequest : EventKind::kProgram;
}

// What every command does that does not get as far as its work; nothing when it does.
std::optional<int> StatusWithoutWork(FaultKind fault) {
  switch (fault) {
    case FaultKind::kNotFound:
      return kNotFoundStatus;
    case FaultKind::kNotExecutable:
      return kNotExecutableStatus;
    case FaultKind::kExitOne:
      return 1;
    default:
      return {};
  }
}

int StatusWith(FaultKind fault, int status) {
  return fault == FaultKind::kExitOneAfter ? 1 : fault == FaultKind::kExitTwoAfter ? 2 : status;
}

kv6000::Bytes BytesOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string LastQuoted(const std::string& line) {
  const std::size_t end = line.rfind('"');
  const std::size_t begin = end == std::string::npos || end == 0 ? std::string::npos : line.rfind('"', end - 1);
  return begin == std::string::npos ? "" : line.substr(begin + 1, end - begin - 1);
}

bool Hangs(FaultKind fault) {
  return fault == FaultKind::kHangs || fault == FaultKind::kSilent || fault == FaultKind::kSilentForGood;
}

bool StepsClock(World& world, FaultKind fault) {
  if (fault != FaultKind::kClockBack && fault != FaultKind::kClockForward) {
    return false;
  }
  world.StepClock(fault == FaultKind::kClockBack ? -3600 * kSecond : 86400 * kSecond);
  return true;
}

}  // namespace

void Programs::Repair() {
  busy_.clear();
  silent_ = false;
}

refhost::ShellEnd Programs::Run(const refhost::ShellCommand& command) {
  const EventKind kind = KindOf(command.line, command.wantsFirstLine);
  if (kind == EventKind::kFlash && beforeFlash) {
    const OffStage aside;
    beforeFlash();
  }
  FaultKind fault = TheStage().Meet(kind, command.line);
  const OffStage aside;
  fault = StepsClock(world_, fault) ? FaultKind::kNone : fault;
  silent_ |= fault == FaultKind::kSilentForGood;
  if (fault == FaultKind::kNoProcess) {
    return {};
  }
  if (Hangs(fault) || (silent_ && kind == EventKind::kRequest)) {
    if (command.limitMs == host::kNoTimeLimit) {
      TheStage().end(FaultKind::kKill);  // it would wait for ever, and somebody ends it
    }
    world_.counts.flashPrograms += kind == EventKind::kFlash ? 1 : 0;
    world_.Pass(static_cast<Microseconds>(command.limitMs) * 1000);
    return {How::kTimedOut, 0, ""};
  }
  if (fault == FaultKind::kSignal) {
    return {How::kSignalled, 0, ""};
  }
  world_.Pass(kProgramTime);
  const Output output = Play(command.line, fault);
  (void)!write(STDERR_FILENO, output.errors.data(), output.errors.size());
  TheStage().Say("      ends with " + std::to_string(output.exitStatus));
  return {How::kExited, output.exitStatus, output.text.substr(0, output.text.find('\n'))};
}

Programs::Output Programs::Play(const std::string& line, FaultKind fault) {
  const auto tool = ParseToolCommand(line);
  Output output;
  if (const auto status = StatusWithoutWork(fault)) {
    output = {*status, "", "sh: 1: it cannot be run\n"};
  } else if (tool) {
    output = Answer(tool->request, tool->makersTool, fault);
  } else if (line.find("/Yafuflash\"") != std::string::npos) {
    output = FlashTool(line, fault);
  } else if (line.starts_with("lsmod")) {
    output.exitStatus = world_.hasDriver ? 0 : 1;
  } else if (line == "modprobe sg") {
    world_.hasDriver = true;
  } else if (!line.starts_with("chmod +x -R ")) {
    output = Describe(line);
  }
  output.exitStatus = StatusWith(fault, output.exitStatus);
  if (tool) {
    const std::string file = disk_.Real(tool->outputFile);
    std::ofstream(file, std::ios::binary) << output.text;
    if (fault == FaultKind::kOutputLost) {
      unlink(file.c_str());
    }
  } else if (fault == FaultKind::kOutputLost) {
    output.text.clear();
  }
  return output;
}

Programs::Output Programs::Describe(const std::string& line) const {
  const auto asks = [&line](const char* words) { return line.find(words) != std::string::npos; };
  if (asks("Product Name")) {
    return {0, std::string("\tProduct Name: ") + (world_.Kind().isRack ? "KV6000RT" : "KV6000") + "\n", ""};
  }
  if (asks("Serial Number")) {
    return {0, "\tSerial Number: KV6K0000000000001\n", ""};
  }
  if (asks("--type bios")) {
    return {0, "\tVersion: 2.7\n", ""};
  }
  if (asks("\"Version\"")) {
    return {0, "\tVersion: 1.0\n", ""};
  }
  if (line == "cat /etc/redhat-release") {
    return {0, "Simulated Linux 1\n", ""};
  }
  return {kNotFoundStatus, "", "sh: 1: " + line + ": nobody plays this\n"};
}

kv6000::Bytes Programs::Ask(const kv6000::Bytes& request, FaultKind fault) {
  const std::pair<int, int> command(request[0], request[1]);
  if (fault == FaultKind::kBusyForGood) {
    busy_.insert(command);
  }
  if (fault == FaultKind::kBusy || busy_.contains(command)) {
    return {kv6000::kBusy};
  }
  switch (fault) {
    case FaultKind::kWrongState:
      return {kv6000::kWrongState};
    case FaultKind::kInvalidCommand:
      return {kv6000::kInvalidCommand};
    case FaultKind::kWrongLength:
      return {kv6000::kWrongLength};
    case FaultKind::kInvalidData:
      return {kv6000::kInvalidData};
    case FaultKind::kCannotAnswer:
      return {kv6000::kCannotAnswer};
    case FaultKind::kUnspecified:
      return {0xff};
    default:
      return world_.Request(request[0], request[1], std::span(request).subspan(2));
  }
}

Programs::Output Programs::Answer(const kv6000::Bytes& request, bool makersTool, FaultKind fault) {
  kv6000::Bytes answer = Ask(request, fault);
  if (fault == FaultKind::kShort) {
    answer.resize(1 + (answer.size() - 1) / 2);
  } else if (fault == FaultKind::kLong) {
    answer.resize(answer.size() + 8);
  }
  Output output;
  if (!makersTool && answer[0] != 0) {
    return {1, "", IpmitoolFailure(request, answer[0])};
  }
  output.text = makersTool ? MakersToolText(request, answer) : IpmitoolText(answer);
  if (fault == FaultKind::kNothing) {
    output.text.clear();
  } else if (fault == FaultKind::kGarbage) {
    output.text = "the device\nanswers: something entirely different, as words\n";
  } else if (fault == FaultKind::kThreeCharacters) {
    output.text.insert(output.text.size() - 1, " 123");
  }
  return output;
}

Programs::Output Programs::FlashTool(const std::string& line, FaultKind fault) {
  ++world_.counts.flashPrograms;
  const kv6000::Bytes image = BytesOf(disk_.Real(LastQuoted(line)));
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
    LeaveRunning(line, 60 * kSecond, [this, image] { (void)world_.Flash(image); });
    TheStage().end(FaultKind::kKill);
  }
  const bool done = world_.Flash(image);
  return done ? Output{} : failed(7);
}

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

int Programs::System(const std::string& line) {
  const bool isHalt = line.starts_with("shutdown ");
  if (line.starts_with("shutdown -h") && beforeHalt) {
    const OffStage aside;
    beforeHalt();
  }
  FaultKind fault = TheStage().Meet(EventKind::kSystem, line);
  const OffStage aside;
  fault = StepsClock(world_, fault) ? FaultKind::kNone : fault;
  world_.Pass(kProgramTime);
  if (fault == FaultKind::kNoProcess) {
    return -1;
  }
  if (fault == FaultKind::kSignal) {
    return SIGKILL;
  }
  if (const auto status = StatusWithoutWork(fault)) {
    return *status << 8;
  }
  if (line.starts_with("touch ")) {
    std::ofstream(disk_.Real(LastQuoted(line)), std::ios::app);
  } else if (line.starts_with("rm -f ")) {
    unlink(disk_.Real(LastQuoted(line)).c_str());
  } else if (isHalt) {
    (line.find("-h") != std::string::npos ? world_.askedToHalt : world_.askedToRestart) = true;
  } else {
    unknown.insert(line);
  }
  return StatusWith(fault, 0) << 8;
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
  const auto rest = [this, folder, fault] {
    WriteFirmware(folder);
    scriptStatus_ = StatusWith(fault, *scriptStatus_) << 8;
  };
  if (fault == FaultKind::kKillDuring || fault == FaultKind::kPowerDuring) {
    LeaveRunning(line, 9 * kSecond, rest);
    world_.Pass(4 * kSecond);
    TheStage().end(fault == FaultKind::kKillDuring ? FaultKind::kKill : FaultKind::kPower);
  }
  world_.At(9 * kSecond, rest);
}

void Programs::WriteSensorRecords(const std::string& folder) {
  const OffStage aside;
  world_.hasDriver = true;
  kv6000::Bytes records = BytesOf(disk_.Real(folder + "/kv6000rt.sdr"));
  bool good = world_.Request(0x0a, 0x2a, {}).front() == 0 && !records.empty();
  for (std::size_t at = 0; good && at + 5 <= records.size(); at += 5U + records[at + 4]) {
    const std::size_t length = std::min<std::size_t>(5U + records[at + 4], records.size() - at);
    good = world_.Request(0x0a, 0x24, std::span(records).subspan(at, length)).front() == 0;
  }
  good = good && world_.Request(0x0a, 0x2b, {}).front() == 0;
  disk_.Write(folder + "/x64sdr/sdronup.log",
              good ? "3 records\nSDR data was successfully written!\n" : "SDR data was not written.\n");
}

void Programs::WriteFirmware(const std::string& folder) {
  const OffStage aside;
  const kv6000::Bytes image = BytesOf(disk_.Real(folder + "/kv6000rt.ima"));
  (void)world_.Request(0x34, 0x2c, kv6000::Bytes{0x00});
  const bool flashed = !image.empty() && world_.Flash(image);
  (void)world_.Request(0x34, 0x8c, kv6000::Bytes{0x55, 0xaa, 0x00});
  disk_.Write(folder + "/x64/BmcFlash_log.txt",
              flashed ? "Update is successful. Reboot is required for changeover to new FW.\n" : "Update failed.\n");
  const bool good = flashed && world_.TheBmc().Sdr().Standby().has_value();
  scriptStatus_ = good && world_.Request(0x34, 0x5e, kv6000::Bytes{0x55, 0xaa, 0x02}).front() == 0 ? 0 : 1;
}

}  // namespace explore
