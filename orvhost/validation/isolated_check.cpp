#include "orvhost/validation/isolated_check.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>

#include "posix/file_descriptor.h"
#include "posix/last_error.h"

namespace orvhost {

namespace {

using Status = CheckResult::Status;

// A result goes through the pipe in one piece that always fits: a byte for the status, the reason, a null byte, and the
// evidence.
constexpr std::size_t kLongestResult = 4096;
constexpr std::size_t kLongestText = kLongestResult / 2 - 1;

CheckResult Guarded(const std::function<CheckResult()>& check) {
  try {
    return check();
  } catch (const std::exception& error) {
    return CheckResult::Fail(std::string("an exception left it: ") + error.what());
  } catch (...) {
    return CheckResult::Fail("an exception left it");
  }
}

[[noreturn]] void RunChild(const std::function<CheckResult()>& check, int pipeEnd) {
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const rlimit noCore{0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    dup2(nothing, standard);
  }
  close(nothing);
  const CheckResult result = Guarded(check);
  std::string message(1, static_cast<char>('0' + static_cast<int>(result.status)));
  message += result.reason.substr(0, kLongestText);
  message += '\0';
  message += result.evidence.substr(0, kLongestText);
  (void)posix::WriteAll(pipeEnd, message.data(), message.size());  // the parent sees what is missing
  _exit(0);
}

std::string HowItEnded(const siginfo_t& info) {
  if (info.si_code == CLD_EXITED) {
    return "it ended the process with exit status " + std::to_string(info.si_status);
  }
  return "it was ended by signal " + std::to_string(info.si_status) + " (" + strsignal(info.si_status) + ")";
}

// True when the process behind the descriptor ended in time.
bool WaitFor(int pidDescriptor, std::chrono::milliseconds limit) {
  using std::chrono::steady_clock;
  const auto end = steady_clock::now() + limit;
  for (;;) {
    pollfd ended{pidDescriptor, POLLIN, 0};
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now()).count();
    const int ready = poll(&ended, 1, left > 0 ? static_cast<int>(left) : 0);
    if (ready >= 0 || errno != EINTR) {
      return ready == 1;
    }
  }
}

std::string InSeconds(std::chrono::milliseconds limit) {
  std::string text = std::to_string(std::chrono::duration<double>(limit).count());
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') {
    text.pop_back();
  }
  return text + " s";
}

}  // namespace

CheckResult RunIsolated(const std::function<CheckResult()>& check, std::chrono::milliseconds limit) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
    return CheckResult::Skip("no pipe could be made: " + posix::LastError());
  }
  const posix::FileDescriptor readEnd(ends[0]);
  posix::FileDescriptor writeEnd(ends[1]);
  const pid_t pid = fork();
  if (pid < 0) {
    return CheckResult::Skip("no process could be started: " + posix::LastError());
  }
  if (pid == 0) {
    RunChild(check, writeEnd.Get());
  }
  setpgid(pid, pid);  // in both, so that it is done whoever comes first
  writeEnd.Close();
  const posix::FileDescriptor pidDescriptor(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
  const bool inTime = WaitFor(pidDescriptor.Get(), limit);
  kill(-pid, SIGKILL);
  siginfo_t info{};
  while (waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED) != 0 && errno == EINTR) {
  }
  if (!inTime) {
    return CheckResult::Fail("it did not come back within " + InSeconds(limit));
  }
  std::array<char, kLongestResult> buffer{};
  const ssize_t size = read(readEnd.Get(), buffer.data(), buffer.size());
  if (size < 1) {
    return CheckResult::Fail(HowItEnded(info));
  }
  const std::string_view texts(buffer.data() + 1, static_cast<std::size_t>(size) - 1);
  const std::size_t end = texts.find('\0');
  return {static_cast<Status>(buffer[0] - '0'), std::string(texts.substr(0, end)), std::string(texts.substr(end + 1))};
}

}  // namespace orvhost
