#include "explore/outside.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace explore {

namespace {

constexpr int kFirstOfTheTool = 3;
constexpr int kMostOfTheTool = 64;  // real ones: pipes, memory, events

int standardOutput = -1;  // the real one
bool outputIsLost = false;

}  // namespace

Outside& TheOutside() {
  static Outside outside;
  return outside;
}

int CloseWhatIsOpen() {
  std::array<pollfd, kMostOfTheTool> real{};
  for (int at = 0; at < kMostOfTheTool; ++at) {
    real[static_cast<std::size_t>(at)] = {kFirstOfTheTool + at, 0, 0};
  }
  (void)poll(real.data(), real.size(), 0);
  const auto open = std::ranges::count_if(real, [](const pollfd& one) { return (one.revents & POLLNVAL) == 0; });
  if (open > 0) {
    close_range(kFirstOfTheTool, kFirstOfTheTool + kMostOfTheTool - 1, 0);
  }
  return static_cast<int>(open) + TheOutside().descriptors.CloseAll();
}

void TakeStandardStreams() {
  if (standardOutput >= 0) {
    return;
  }
  standardOutput = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, kFirstOfTheTool + kMostOfTheTool);
  const int nothing = static_cast<int>(syscall(SYS_openat, AT_FDCWD, "/dev/null", O_RDWR | O_CLOEXEC, 0));
  dup2(nothing, STDIN_FILENO);
  dup2(nothing, STDOUT_FILENO);
  dup2(nothing, STDERR_FILENO);
  syscall(SYS_close, nothing);
}

void GiveBackErrorOutput() {
  TheOutside().errorOutput.reset();
  dup2(STDOUT_FILENO, STDERR_FILENO);
}

bool OutputIsLost() {
  return outputIsLost;
}

void Print(const std::string& text) {
  const int to = standardOutput >= 0 ? standardOutput : STDOUT_FILENO;
  for (std::size_t done = 0; done < text.size();) {
    const long size = syscall(SYS_write, to, text.data() + done, text.size() - done);
    if (size <= 0) {
      outputIsLost = true;
      return;
    }
    done += static_cast<std::size_t>(size);
  }
}

}  // namespace explore
