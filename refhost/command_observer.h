// Who hears of the services that take time, before each begins and after it has ended: the commands that the host
// runs for its plug-ins, which can be refused too, and the pauses that they make.
//
// A plug-in may fork, and its child may use the host's services. So nothing here takes a lock, and an observer that
// must hold the child's commands too writes each line with one write(2) at once.
#ifndef REFHOST_COMMAND_OBSERVER_H
#define REFHOST_COMMAND_OBSERVER_H

#include <string_view>

#include "refhost/export.h"

namespace refhost {

// Its texts live only during the call.
struct CommandRequest {
  std::string_view line;        // what the shell is given
  std::string_view workDir;     // "" for the current folder
  std::string_view outputFile;  // "" when the output is discarded, or goes where the line says
  unsigned long limitMs;        // as asked for, unscaled; host::kNoTimeLimit for none
  bool wantsFirstLine;          // asked for the first line of the output and not for the exit status
};

struct CommandResult {
  int result;                 // as ExecForeignModule answers it, e.g. host::kCommandRan
  int exitStatus;             // when it ran
  std::string_view output;    // the first line, when that was asked for
  bool neverStarted = false;  // no process was made, so nothing of it was done
};

class REFHOST_EXPORT CommandObserver {
 public:
  CommandObserver() = default;
  CommandObserver(const CommandObserver&) = delete;
  CommandObserver& operator=(const CommandObserver&) = delete;
  virtual ~CommandObserver();

  // Asked before everything else. False refuses the command: it is not run, nothing more is said of it, and the plug-in
  // gets the answer of one that could not be run.
  [[nodiscard]] virtual bool Allows(const CommandRequest& /*request*/) { return true; }

  virtual void Starts(const CommandRequest& request) = 0;
  virtual void Ended(const CommandRequest& request, const CommandResult& result) = 0;

  // A pause of that many milliseconds, unscaled, and its end.
  virtual void PauseStarts(unsigned long /*milliseconds*/) {}
  virtual void PauseEnded() {}
};

// Makes `observer`, which stays the caller's, the one that hears of them; null for none.
REFHOST_EXPORT void SetCommandObserver(CommandObserver* observer);

// The one that hears of them now; null for none.
[[nodiscard]] REFHOST_EXPORT CommandObserver* CurrentCommandObserver();

}  // namespace refhost

#endif  // REFHOST_COMMAND_OBSERVER_H
