#include "explore/programs.h"

#include <unistd.h>

#include <csignal>

#include "explore/program_ends.h"
#include "explore/request_text.h"
#include "explore/stage.h"
#include "host/Results.h"

namespace explore {

namespace {

using How = refhost::ShellEnd::How;

constexpr Microseconds kProgramTime = 20'000;

EventKind KindOf(const std::string& line, bool wantsFirstLine) {
  if (wantsFirstLine) {
    return EventKind::kQuestion;
  }
  if (line.find("/Yafuflash\"") != std::string::npos) {
    return EventKind::kFlash;
  }
  return ParseToolCommand(line) ? EventKind::kRequest : EventKind::kProgram;
}

bool Hangs(FaultKind fault) {
  return fault == FaultKind::kHangs || fault == FaultKind::kSilent || fault == FaultKind::kSilentForGood;
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
    disk_.Write(tool->outputFile, output.text);
    if (fault == FaultKind::kOutputLost) {
      disk_.Remove(tool->outputFile);
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
    case FaultKind::kOne:
      return {0x01};
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
    disk_.Write(LastQuoted(line), disk_.Read(LastQuoted(line)));
  } else if (line.starts_with("rm -f ")) {
    disk_.Remove(LastQuoted(line));
  } else if (isHalt) {
    (line.find("-h") != std::string::npos ? world_.askedToHalt : world_.askedToRestart) = true;
  } else {
    unknown.insert(line);
  }
  return StatusWith(fault, 0) << 8;
}

}  // namespace explore
