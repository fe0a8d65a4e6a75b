// The process services of CCommon_Information.
#include <fcntl.h>
#include <poll.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <string_view>

#include "host/Results.h"
#include "refhost/command_observer.h"
#include "refhost/common/interrupt_source.h"
#include "refhost/common/shell_process.h"
#include "refhost/contract.h"

namespace {

using refhost::ShellProcess;
using refhost::TimeLimit;

// A question to the machine that takes longer than this will not be answered.
constexpr unsigned long kResultLineLimitMs = 60000;

// A longer one is no answer to a question, and a file without a line end must not fill the memory.
constexpr std::size_t kLongestResultLine = 65536;

std::atomic<refhost::CommandObserver*> currentObserver{nullptr};

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

// Tells the observer of one command: that it starts, and at the end of the scope how it ended.
class Observed {
 public:
  explicit Observed(const refhost::CommandRequest& request) : request_(request), observer_(currentObserver.load()) {
    isAllowed_ = observer_ == nullptr || observer_->Allows(request_);
    if (observer_ != nullptr && isAllowed_) {
      observer_->Starts(request_);
    }
  }
  Observed(const Observed&) = delete;
  Observed& operator=(const Observed&) = delete;
  ~Observed() {
    if (observer_ != nullptr && isAllowed_) {
      observer_->Ended(request_, result_);
    }
  }

  bool IsAllowed() const { return isAllowed_; }

  // Its texts must outlive this.
  refhost::CommandResult& Result() { return result_; }

 private:
  const refhost::CommandRequest request_;
  refhost::CommandObserver* const observer_;
  bool isAllowed_ = true;
  refhost::CommandResult result_{host::kCommandNotRun, 0, ""};
};

int Answer(ShellProcess::End end) {
  if (end == ShellProcess::End::kTimedOut) {
    return host::kCommandTimedOut;
  }
  return end == ShellProcess::End::kExited ? host::kCommandRan : host::kCommandNotRun;
}

}  // namespace

namespace refhost {

CommandObserver::~CommandObserver() = default;

void SetCommandObserver(CommandObserver* observer) {
  currentObserver = observer;
}

CommandObserver* CurrentCommandObserver() {
  return currentObserver.load();
}

}  // namespace refhost

int CCommon_Information::ExecForeignModule(const std::string& command, const std::string& outputFile,
                                           const std::string& workDir, unsigned long* exitCode, unsigned long limitMs) {
  if (command.empty() || refhost::MustGiveUp()) {
    return host::kCommandNotRun;
  }
  Observed observed({command, workDir, outputFile, limitMs, false});
  if (!observed.IsAllowed()) {
    return host::kCommandNotRun;
  }
  const TimeLimit limit(limitMs);
  auto process = ShellProcess::Start(command, workDir, outputFile.empty() ? "/dev/null" : outputFile, -1);
  refhost::CommandResult& result = observed.Result();
  if (!process) {
    result.neverStarted = true;
    return host::kCommandNotRun;
  }
  result.result = Answer(process->Wait(limit, &result.exitStatus));
  if (result.result == host::kCommandRan && exitCode != nullptr) {
    *exitCode = static_cast<unsigned long>(result.exitStatus);
  }
  return result.result;
}

std::string CCommon_Information::GetResultLine(const std::string& command) {
  std::array<int, 2> ends{};
  if (command.empty() || refhost::MustGiveUp() || pipe2(ends.data(), O_CLOEXEC) != 0) {
    return "";
  }
  const posix::FileDescriptor readEnd(ends[0]);
  posix::FileDescriptor writeEnd(ends[1]);
  fcntl(readEnd.Get(), F_SETFL, O_NONBLOCK);
  std::string line;
  Observed observed({command, "", "", kResultLineLimitMs, true});
  if (!observed.IsAllowed()) {
    return "";
  }
  const TimeLimit limit(kResultLineLimitMs);
  auto process = ShellProcess::Start(command, "", "", writeEnd.Get());
  refhost::CommandResult& result = observed.Result();
  if (!process) {
    result.neverStarted = true;
    return "";
  }
  writeEnd.Close();
  const FirstLine read = ReadWhileRunning(readEnd, *process, limit);
  result.result = Answer(process->Wait(limit, &result.exitStatus));
  if (result.result == host::kCommandRan) {
    line = read.Text();
  }
  result.output = line;
  return std::string(line);  // a copy: the observer hears of the line after this
}
