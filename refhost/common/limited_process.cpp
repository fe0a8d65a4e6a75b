#include "refhost/common/limited_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <fstream>
#include <new>

#include "posix/file_descriptor.h"
#include "posix/last_error.h"

namespace refhost {

namespace {

// A result goes through the pipe in one piece: the kind, then the text.
constexpr std::size_t kLongestResult = 4096;

// For a child that waits for ever, which no limit on its processor time ends.
constexpr int kLongestWaitMs = 600000;

WorkResult CutOff(const std::string& how) {
  return {kWorkCutOff, how};
}

WorkResult NotStarted(const std::string& what) {
  return {kWorkNotStarted, what + ": " + posix::LastError()};
}

std::string TooMuchMemory(const WorkLimits& limits) {
  return "it takes more than " + std::to_string(limits.memory / (1024UL * 1024UL)) + " MiB of memory";
}

bool LimitTo(const WorkLimits& limits) {
  unsigned long pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  const rlim_t memory = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + limits.memory;
  const rlimit addresses{memory, memory};
  const rlimit processor{limits.processorSeconds, limits.processorSeconds + 1};  // the last second is for the signal
  const rlimit noCore{0, 0};
  return pages > 0 && setrlimit(RLIMIT_AS, &addresses) == 0 && setrlimit(RLIMIT_CPU, &processor) == 0 &&
         setrlimit(RLIMIT_CORE, &noCore) == 0;
}

WorkResult Guarded(const std::function<WorkResult()>& work, const WorkLimits& limits) {
  try {
    return LimitTo(limits) ? work() : NotStarted("its process could not be limited");
  } catch (const std::bad_alloc&) {
    return CutOff(TooMuchMemory(limits));
  } catch (const std::exception& error) {
    return CutOff(error.what());
  }
}

[[noreturn]] void RunChild(const std::function<WorkResult()>& work, const WorkLimits& limits, int pipeEnd,
                           pid_t parent) {
  setpgid(0, 0);  // so that the interrupt key is the parent's to answer
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGXCPU}) {
    signal(number, SIG_DFL);
  }
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) {
    _exit(1);
  }
  const WorkResult result = Guarded(work, limits);
  const std::string message = (result.kind + result.text).substr(0, kLongestResult);
  (void)posix::WriteAll(pipeEnd, message.data(), message.size());  // the parent sees what is missing
  _exit(0);
}

// What the child writes until it ends; "" when that takes too long, or `giveUp` is readable before.
std::string ReadAll(int pipeEnd, int giveUp, bool* givenUp) {
  std::string message;
  std::array<char, kLongestResult> buffer{};
  for (;;) {
    std::array<pollfd, 2> sources{pollfd{pipeEnd, POLLIN, 0}, pollfd{giveUp, POLLIN, 0}};
    const int ready = poll(sources.data(), sources.size(), kLongestWaitMs);
    if (ready < 0 && errno == EINTR) {
      continue;
    }
    if (ready > 0 && sources[1].revents != 0) {
      *givenUp = true;
      return "";
    }
    const ssize_t size = ready > 0 ? read(pipeEnd, buffer.data(), buffer.size()) : 0;
    if (size <= 0) {
      return message;
    }
    message.append(buffer.data(), static_cast<std::size_t>(size));
  }
}

std::string HowItEnded(int status, const WorkLimits& limits) {
  if (!WIFSIGNALED(status)) {
    return "its process ended without a result";
  }
  const int number = WTERMSIG(status);
  if (number == SIGXCPU) {
    return "it takes more than " + std::to_string(limits.processorSeconds) + " s of processor time";
  }
  return "its process was ended by signal " + std::to_string(number) + " (" + strsignal(number) + ")";
}

}  // namespace

WorkResult RunLimited(const std::function<WorkResult()>& work, const WorkLimits& limits, int giveUp) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    return NotStarted("no pipe could be made");
  }
  const posix::FileDescriptor readEnd(ends[0]);
  posix::FileDescriptor writeEnd(ends[1]);
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child < 0) {
    return NotStarted("no process could be started");
  }
  if (child == 0) {
    RunChild(work, limits, writeEnd.Get(), parent);
  }
  writeEnd.Close();
  bool givenUp = false;
  const std::string message = ReadAll(readEnd.Get(), giveUp, &givenUp);
  kill(child, SIGKILL);  // has no effect on one that has ended
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (givenUp) {
    return {kWorkGivenUp, "the run was asked to end"};
  }
  if (message.empty()) {
    return CutOff(HowItEnded(status, limits));
  }
  return {message[0], message.substr(1)};
}

}  // namespace refhost
