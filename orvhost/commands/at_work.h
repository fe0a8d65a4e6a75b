// What of earlier runs is at work, as far as this user can see it. Reads /proc and the lock's file only.
#ifndef ORVHOST_COMMANDS_AT_WORK_H
#define ORVHOST_COMMANDS_AT_WORK_H

#include <string>
#include <vector>

namespace orvhost {

struct AtWork {
  bool isAtWork = false;
  std::string processes;  // numbers and command lines; "" for none
  std::string unseen;     // why there may be more, a clause; "" when everything was seen
};

// Of the run `runId`, whose journal is the file `journal`: the run itself, or something that it started.
[[nodiscard]] AtWork AtWorkOfRun(const std::string& installPath, const std::string& runId, const std::string& journal);

// Of runs of which no journal is left; `runs` are those that have one.
[[nodiscard]] AtWork AtWorkOfLostRuns(const std::string& installPath, const std::vector<std::string>& runs);

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_AT_WORK_H
