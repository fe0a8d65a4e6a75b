// Runs the shell commands of an update and gives their outcome as a value. What an outcome means is the caller's.
#ifndef FIRMWARE_UPDATE_COMMAND_H
#define FIRMWARE_UPDATE_COMMAND_H

#include <string>

#include "host/Results.h"

namespace kestrel {

inline constexpr unsigned long kUpdateTimeLimit = 900000;  // milliseconds

struct CommandOutcome {
  int result;    // host::kCommandRan, kCommandTimedOut; anything else: it could not be run
  int exitCode;  // its exit status, negative ones as such

  [[nodiscard]] bool Succeeded() const { return result == host::kCommandRan && exitCode == 0; }
  [[nodiscard]] bool TimedOut() const { return result == host::kCommandTimedOut; }
};

// By the host's runner, in the current folder; what it prints is discarded.
[[nodiscard]] CommandOutcome RunByHost(const std::string& command, unsigned long timeoutMs);

// In `workDir`; what it prints goes to the system console.
[[nodiscard]] CommandOutcome RunOnConsole(const std::string& command, const std::string& workDir,
                                          unsigned long timeoutMs);

}  // namespace kestrel

#endif  // FIRMWARE_UPDATE_COMMAND_H
