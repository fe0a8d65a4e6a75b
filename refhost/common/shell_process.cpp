#include "refhost/common/shell_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <ctime>

#include "host/Results.h"
#include "refhost/common/interrupt_source.h"
#include "refhost/settings.h"

namespace refhost {

namespace {

// How long a group that was asked to end may take for tidying up before it is killed.
constexpr unsigned long kGraceMs = 2000;

constexpr mode_t kOutputMode = 0666;

class SpawnActions {
 public:
  SpawnActions() { posix_spawn_file_actions_init(&actions_); }
  SpawnActions(const SpawnActions&) = delete;
  SpawnActions& operator=(const SpawnActions&) = delete;
  ~SpawnActions() { posix_spawn_file_actions_destroy(&actions_); }
  posix_spawn_file_actions_t* Get() { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

// Own process group, and no signal blocked or ignored that this process blocks or ignores.
class SpawnAttributes {
 public:
  SpawnAttributes() {
    posix_spawnattr_init(&attributes_);
    sigset_t signals;
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes_, &signals);
    posix_spawnattr_setpgroup(&attributes_, 0);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  }
  SpawnAttributes(const SpawnAttributes&) = delete;
  SpawnAttributes& operator=(const SpawnAttributes&) = delete;
  ~SpawnAttributes() { posix_spawnattr_destroy(&attributes_); }
  const posix_spawnattr_t* Get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_{};
};

}  // namespace

TimeLimit::TimeLimit(unsigned long milliseconds) {
  constexpr unsigned long kYearMs = 365UL * 24 * 60 * 60 * 1000;  // keeps the addition below from running over
  if (milliseconds == host::kNoTimeLimit) {
    return;
  }
  const std::chrono::milliseconds limit(std::min(ScaledMilliseconds(milliseconds), kYearMs));
  end_ = std::chrono::steady_clock::now() + limit;
}

int TimeLimit::Poll(pollfd* descriptors, unsigned long count) const {
  using std::chrono::nanoseconds;
  using std::chrono::seconds;
  for (;;) {
    timespec rest{};
    if (end_) {
      const nanoseconds left = std::max<nanoseconds>(*end_ - std::chrono::steady_clock::now(), nanoseconds(0));
      rest.tv_sec = std::chrono::duration_cast<seconds>(left).count();
      rest.tv_nsec = (left % seconds(1)).count();
    }
    const int ready = ppoll(descriptors, count, end_ ? &rest : nullptr, nullptr);
    if (ready >= 0 || errno != EINTR) {
      return ready;
    }
  }
}

std::optional<ShellProcess> ShellProcess::Start(const std::string& command, const std::string& workDir,
                                                const std::string& outputFile, int output) {
  SpawnActions actions;
  if (!workDir.empty()) {
    posix_spawn_file_actions_addchdir_np(actions.Get(), workDir.c_str());
  }
  posix_spawn_file_actions_addopen(actions.Get(), STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  if (output >= 0) {
    posix_spawn_file_actions_adddup2(actions.Get(), output, STDOUT_FILENO);
  } else {
    posix_spawn_file_actions_addopen(actions.Get(), STDOUT_FILENO, outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     kOutputMode);
  }
  const SpawnAttributes attributes;
  std::array<std::string, 3> words{"sh", "-c", command};
  const std::array<char*, 4> arguments{words[0].data(), words[1].data(), words[2].data(), nullptr};
  pid_t pid = 0;
  if (posix_spawn(&pid, "/bin/sh", actions.Get(), attributes.Get(), arguments.data(), environ) != 0) {
    return {};
  }
  // By number, since <sys/pidfd.h> of glibc 2.36 cannot be used from C++. The descriptor is close-on-exec by itself.
  posix::FileDescriptor pidDescriptor(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
  return ShellProcess(pid, std::move(pidDescriptor));
}

ShellProcess::End ShellProcess::Wait(const TimeLimit& limit, int* exitStatus) {
  if (!IsWatched()) {
    EndGroup();
    waitpid(pid_, nullptr, 0);
    return End::kLost;
  }
  std::array<pollfd, 2> sources{pollfd{pidDescriptor_.Get(), POLLIN, 0}, InterruptSource()};
  const bool inTime = limit.Poll(sources.data(), sources.size()) > 0;
  const bool isInterrupted = inTime && sources[0].revents == 0;
  if (isInterrupted) {
    GiveUp();
  }
  if (!inTime || isInterrupted) {
    EndGroup();
  }
  siginfo_t info{};
  while (waitid(P_PIDFD, static_cast<id_t>(pidDescriptor_.Get()), &info, WEXITED) != 0) {
    if (errno != EINTR) {
      return End::kLost;
    }
  }
  if (!inTime) {
    return End::kTimedOut;
  }
  if (isInterrupted) {
    return End::kInterrupted;
  }
  if (info.si_code != CLD_EXITED) {
    return End::kSignalled;
  }
  *exitStatus = info.si_status;
  return End::kExited;
}

void ShellProcess::EndGroup() const {
  kill(-pid_, SIGTERM);
  pollfd ended{pidDescriptor_.Get(), POLLIN, 0};
  TimeLimit(kGraceMs).Poll(&ended, 1);
  // The shell has not been reaped yet, so its number still names this group and no other.
  kill(-pid_, SIGKILL);
}

}  // namespace refhost
