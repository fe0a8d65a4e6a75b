// The real machine, and which one is worked on.
#include <fcntl.h>
#include <poll.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <string_view>
#include <thread>

#include "posix/boot_id.h"
#include "refhost/common/interrupt_source.h"
#include "refhost/common/limited_process.h"
#include "refhost/common/shell_process.h"
#include "refhost/machine.h"

namespace refhost {

namespace {

// A longer one is no answer to a question, and a file without a line end must not fill the memory.
constexpr std::size_t kLongestResultLine = 65536;

// Keeps the first line of a stream and lets the rest pass by.
class FirstLine {
 public:
  void Append(std::string_view text) {
    if (isComplete_ || line_.size() > kLongestResultLine) {
      return;
    }
    const std::size_t end = text.find('\n');
    isComplete_ = end != std::string_view::npos;
    line_ += text.substr(0, end);
  }

  // "" for one that is too long.
  std::string Text() const { return line_.size() > kLongestResultLine ? "" : line_; }

 private:
  std::string line_;
  bool isComplete_ = false;
};

// Takes what can be read without waiting; false at the end of the stream.
bool ReadAvailable(int descriptor, FirstLine* line) {
  std::array<char, 4096> buffer{};
  for (;;) {
    const ssize_t size = read(descriptor, buffer.data(), buffer.size());
    if (size > 0) {
      line->Append({buffer.data(), static_cast<std::size_t>(size)});
    } else if (size == 0) {
      return false;
    } else if (errno != EINTR) {
      return errno == EAGAIN;
    }
  }
}

// Reads until the stream ends, the shell ends (something that it left behind may hold the stream open for ever), the
// time limit is reached or the services are to give up.
FirstLine ReadWhileRunning(const posix::FileDescriptor& stream, const ShellProcess& process, const TimeLimit& limit) {
  FirstLine line;
  while (process.IsWatched()) {
    std::array<pollfd, 3> sources{pollfd{stream.Get(), POLLIN, 0}, pollfd{process.PidDescriptor(), POLLIN, 0},
                                  refhost::InterruptSource()};
    if (limit.Poll(sources.data(), sources.size()) <= 0 || sources[2].revents != 0) {
      return line;
    }
    if (!ReadAvailable(stream.Get(), &line) || sources[1].revents != 0) {
      return line;
    }
  }
  return line;
}

ShellEnd::How HowOf(ShellProcess::End end) {
  switch (end) {
    case ShellProcess::End::kExited:
      return ShellEnd::How::kExited;
    case ShellProcess::End::kSignalled:
      return ShellEnd::How::kSignalled;
    case ShellProcess::End::kTimedOut:
      return ShellEnd::How::kTimedOut;
    case ShellProcess::End::kInterrupted:
      return ShellEnd::How::kInterrupted;
    case ShellProcess::End::kLost:
      break;
  }
  return ShellEnd::How::kLost;
}

ShellEnd RunForItsStatus(const ShellCommand& command) {
  ShellEnd end;
  const TimeLimit limit(command.limitMs);
  auto process = ShellProcess::Start(command.line, command.workDir,
                                     command.outputFile.empty() ? "/dev/null" : command.outputFile, -1);
  if (process) {
    end.how = HowOf(process->Wait(limit, &end.exitStatus));
  }
  return end;
}

ShellEnd RunForItsFirstLine(const ShellCommand& command) {
  ShellEnd end;
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    return end;
  }
  const posix::FileDescriptor readEnd(ends[0]);
  posix::FileDescriptor writeEnd(ends[1]);
  fcntl(readEnd.Get(), F_SETFL, O_NONBLOCK);
  const TimeLimit limit(command.limitMs);
  auto process = ShellProcess::Start(command.line, command.workDir, "", writeEnd.Get());
  if (!process) {
    return end;
  }
  writeEnd.Close();
  const FirstLine line = ReadWhileRunning(readEnd, *process, limit);
  end.how = HowOf(process->Wait(limit, &end.exitStatus));
  end.firstLine = line.Text();
  return end;
}

class RealMachine : public Machine {
 public:
  ShellEnd Run(const ShellCommand& command) override {
    return command.wantsFirstLine ? RunForItsFirstLine(command) : RunForItsStatus(command);
  }

  WorkResult RunApart(const std::function<WorkResult()>& work, const WorkLimits& limits, int giveUp) override {
    return RunLimited(work, limits, giveUp);
  }

  bool Pause(unsigned long milliseconds) override {
    pollfd interrupt = InterruptSource();
    return TimeLimit(milliseconds).Poll(&interrupt, 1) == 0;
  }

  void Rest(std::chrono::milliseconds time) override { std::this_thread::sleep_for(time); }

  std::chrono::system_clock::time_point Now() const override { return std::chrono::system_clock::now(); }
  std::chrono::steady_clock::time_point SteadyNow() const override { return std::chrono::steady_clock::now(); }
  std::string BootId() const override { return posix::BootId(); }
};

// At hand before and after everything else, and without a lock.
constinit std::atomic<Machine*> chosenMachine{nullptr};
RealMachine realMachine;

}  // namespace

Machine::~Machine() = default;

void SetMachine(Machine* machine) {
  chosenMachine = machine;
}

Machine& CurrentMachine() {
  Machine* const machine = chosenMachine;
  return machine != nullptr ? *machine : realMachine;
}

}  // namespace refhost
