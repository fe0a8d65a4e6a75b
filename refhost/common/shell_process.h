// One shell command as a child process in a process group of its own: started cheaply for any size of this
// process, waited for up to a time limit, and ended with its whole group when that is reached.
#ifndef REFHOST_COMMON_SHELL_PROCESS_H
#define REFHOST_COMMON_SHELL_PROCESS_H

#include <poll.h>
#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

#include "posix/file_descriptor.h"

namespace refhost {

// A point in time up to which something is waited for, or no limit.
class TimeLimit {
 public:
  // `milliseconds` from now, scaled as every waiting of this process; host::kNoTimeLimit for none.
  explicit TimeLimit(unsigned long milliseconds);

  // Waits until one of the `count` descriptors is readable or at its end (their number, as poll tells it), or the
  // time limit is reached (0). -1 when waiting itself fails.
  int Poll(pollfd* descriptors, unsigned long count) const;

 private:
  std::optional<std::chrono::steady_clock::time_point> end_;
};

class ShellProcess {
 public:
  enum class End { kExited, kSignalled, kTimedOut, kInterrupted, kLost };

  // Runs `command` by the shell in `workDir` ("" for the current folder). Its standard input is empty, its standard
  // output goes to `outputFile`, or to the descriptor `output` when that is not negative. Nothing when no
  // process could be made.
  [[nodiscard]] static std::optional<ShellProcess> Start(const std::string& command, const std::string& workDir,
                                                         const std::string& outputFile, int output);

  // False when it runs and the system gives no descriptor of it; Wait ends it at once then.
  [[nodiscard]] bool IsWatched() const { return pidDescriptor_.IsOpen(); }

  // Readable once the shell has ended.
  [[nodiscard]] int PidDescriptor() const { return pidDescriptor_.Get(); }

  // Waits for the shell to end; its exit status is then in `*exitStatus` when it exited. At the time limit, or when the
  // services are to give up, the group is ended. Call it once: the process is gone afterwards.
  [[nodiscard]] End Wait(const TimeLimit& limit, int* exitStatus);

 private:
  ShellProcess(pid_t pid, posix::FileDescriptor pidDescriptor) : pid_(pid), pidDescriptor_(std::move(pidDescriptor)) {}

  void EndGroup() const;

  pid_t pid_;
  posix::FileDescriptor pidDescriptor_;
};

}  // namespace refhost

#endif  // REFHOST_COMMON_SHELL_PROCESS_H
