// Keeps the machine from being shut down or sent to sleep while something must not be cut off, by a lock of
// systemd-logind. The lock is held by a process of systemd's own tool that waits at a pipe; it ends when this is gone
// and so is all that was started meanwhile, which has the pipe too: a flash tool that outlives a killed run keeps the
// machine up. Where there is no systemd-logind nothing is held.
#ifndef ORVHOST_RUN_SHUTDOWN_INHIBITOR_H
#define ORVHOST_RUN_SHUTDOWN_INHIBITOR_H

#include <string>

#include "posix/file_descriptor.h"

namespace orvhost {

class ShutdownInhibitor {
 public:
  // Asks for the lock because of `why`, and waits a few seconds for it at most.
  explicit ShutdownInhibitor(const std::string& why);
  ShutdownInhibitor(const ShutdownInhibitor&) = delete;
  ShutdownInhibitor& operator=(const ShutdownInhibitor&) = delete;
  ~ShutdownInhibitor();

  // The machine has systemd's tool, and that did not get the lock.
  [[nodiscard]] bool WasRefused() const { return wasAsked_ && !isHeld_; }

 private:
  posix::FileDescriptor lifeline_;  // the other end is read by the process that holds the lock
  int holder_ = -1;                 // that process
  bool wasAsked_ = false;
  bool isHeld_ = false;
};

}  // namespace orvhost

#endif  // ORVHOST_RUN_SHUTDOWN_INHIBITOR_H
