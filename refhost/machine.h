// The machine that the host's services work on: what they run there, how they wait, and what time it is. There is the
// real one, and a program that uses the host may put another in its place, as a simulation does. Nothing above this
// knows which of them it has.
#ifndef REFHOST_MACHINE_H
#define REFHOST_MACHINE_H

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

#include "refhost/export.h"

namespace refhost {

struct ShellCommand {
  const std::string& line;
  const std::string& workDir;     // "" for the current folder
  const std::string& outputFile;  // where its standard output goes, "" for nowhere; without a meaning for a first line
  bool wantsFirstLine;            // of its standard output
  unsigned long limitMs;          // unscaled; host::kNoTimeLimit for none
};

// The exit status of a shell that does not find the program.
inline constexpr int kProgramNotFound = 127;

struct ShellEnd {
  enum class How { kNotStarted, kExited, kSignalled, kTimedOut, kInterrupted, kLost };

  How how = How::kNotStarted;
  int exitStatus = 0;     // when it exited
  std::string firstLine;  // when that was wanted, as far as it was read
};

struct WorkLimits {
  std::size_t memory = 256UL * 1024UL * 1024UL;  // bytes beyond what this process has already
  unsigned processorSeconds = 60;
};

// How a piece of work ended: a byte that it chose, with a text.
struct WorkResult {
  char kind;
  std::string text;
};

class REFHOST_EXPORT Machine {
 public:
  Machine() = default;
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;
  virtual ~Machine();

  // Runs a shell command and waits for its end, at most up to its time limit.
  [[nodiscard]] virtual ShellEnd Run(const ShellCommand& command) = 0;

  // Has `work` done by a process of its own that is kept within `limits`, as refhost/common/limited_process.h says.
  [[nodiscard]] virtual WorkResult RunApart(const std::function<WorkResult()>& work, const WorkLimits& limits,
                                            int giveUp) = 0;

  // A pause that a plug-in asked for, in milliseconds, unscaled. False when it was cut short because the services are
  // to give up.
  [[nodiscard]] virtual bool Pause(unsigned long milliseconds) = 0;

  // A short wait of the host's own, which nothing scales or cuts short.
  virtual void Rest(std::chrono::milliseconds time) = 0;

  // May be called in a child of this process; takes no lock.
  [[nodiscard]] virtual std::chrono::system_clock::time_point Now() const = 0;
  [[nodiscard]] virtual std::chrono::steady_clock::time_point SteadyNow() const = 0;

  // What tells one start of the machine from every other.
  [[nodiscard]] virtual std::string BootId() const = 0;
};

// Makes `machine`, which stays the caller's, the one that is worked on; null for the real one, as at the start.
REFHOST_EXPORT void SetMachine(Machine* machine);

[[nodiscard]] REFHOST_EXPORT Machine& CurrentMachine();

}  // namespace refhost

#endif  // REFHOST_MACHINE_H
