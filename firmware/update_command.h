// Runs the shell commands of an update and gives their outcome as a value. What an outcome means is the caller's.
#ifndef FIRMWARE_UPDATE_COMMAND_H
#define FIRMWARE_UPDATE_COMMAND_H

#include <string>

namespace kestrel {

// Milliseconds.
inline constexpr unsigned long kUpdateTimeout = 900000;
inline constexpr unsigned long kNoTimeout = ~0UL;

struct CommandOutcome {
  int result;    // 0: it ran to its end; 255: it ran into its limit; anything else: it could not be run
  int exitCode;  // its exit status, negative ones as such

  [[nodiscard]] bool Succeeded() const { return result == 0 && exitCode == 0; }
  [[nodiscard]] bool TimedOut() const { return result == 255; }
};

// By the host's runner, in the current folder; what it prints is discarded.
[[nodiscard]] CommandOutcome RunByHost(const std::string& command, unsigned long timeoutMs);

// In `workDir`; what it prints goes to the system console.
[[nodiscard]] CommandOutcome RunOnConsole(const std::string& command, const std::string& workDir,
                                          unsigned long timeoutMs);

}  // namespace kestrel

#endif  // FIRMWARE_UPDATE_COMMAND_H
