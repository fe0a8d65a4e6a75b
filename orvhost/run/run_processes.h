// What runs started and left at work. Everything that a run starts has a mark in its environment, so it can be found
// when its run is long gone and the notes beside the locks are lost.
#ifndef ORVHOST_RUN_RUN_PROCESSES_H
#define ORVHOST_RUN_RUN_PROCESSES_H

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvhost {

struct WorkingProcess {
  pid_t pid;
  std::string commandLine;  // words separated by blanks
};

// Only processes of this user and of root are looked at: no other user can keep a run away by a mark of his own.
struct WorkingProcesses {
  std::vector<WorkingProcess> found;  // by number, without this process
  std::string unseen;                 // why there may be more, a clause; "" when everything was seen
};

// Name in the environment of everything that a run starts, with RunMark() as its value.
inline constexpr const char* kRunVariable = "ORVHOST_RUN";

// The run `runId` of the folder `installPath`, however that path is written. The id alone is not enough: two folders
// may have a run with the same number that began in the same second.
[[nodiscard]] std::string RunMark(const std::string& installPath, const std::string& runId);

// The processes of that run, of any run of that folder, and of any run of this machine.
[[nodiscard]] WorkingProcesses ProcessesOfRun(const std::string& installPath, const std::string& runId);
[[nodiscard]] WorkingProcesses ProcessesOfFolder(const std::string& installPath);
[[nodiscard]] WorkingProcesses ProcessesOfMachine();

// Their numbers and command lines in one text: "12 (sh -c x), 13 (x)".
[[nodiscard]] std::string InWords(const std::vector<WorkingProcess>& processes);

// The value of the variable `name` in an environment as /proc shows it; nothing when it is not there.
[[nodiscard]] std::optional<std::string> ValueIn(const std::string& environment, std::string_view name);

}  // namespace orvhost

#endif  // ORVHOST_RUN_RUN_PROCESSES_H
