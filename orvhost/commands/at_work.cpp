#include "orvhost/commands/at_work.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "orvhost/journal/unreadable.h"
#include "orvhost/run/run_lock.h"
#include "orvhost/run/run_processes.h"

namespace orvhost {

namespace {

// A run's processes are those of the user who made the file, and only that user and root can look at them.
std::string HiddenFrom(const std::string& file) {
  struct stat status {};
  if (geteuid() == 0 || stat(file.c_str(), &status) != 0 || status.st_uid == geteuid()) {
    return "";
  }
  const std::string owner = UserName(status.st_uid);
  return "the processes of " + owner + " can be looked at by " + (status.st_uid == 0 ? "" : owner + " and ") +
         "root only";
}

AtWork Seen(const WorkingProcesses& processes, const RunningRun& running, const std::string& file) {
  AtWork seen{.isAtWork = false, .processes = InWords(processes.found), .unseen = processes.unseen};
  for (const std::string& reason : {running.unseen, HiddenFrom(file)}) {
    if (seen.unseen.empty()) {
      seen.unseen = reason;
    }
  }
  return seen;
}

}  // namespace

AtWork AtWorkOfRun(const std::string& installPath, const std::string& runId, const std::string& journal) {
  const RunningRun running = RunAtWork(installPath);
  AtWork seen = Seen(ProcessesOfRun(installPath, runId), running, journal);
  seen.isAtWork = !seen.processes.empty() || running.runId == runId;
  return seen;
}

AtWork AtWorkOfLostRuns(const std::string& installPath, const std::vector<std::string>& runs) {
  const RunningRun running = RunAtWork(installPath);
  AtWork seen = Seen(ProcessesOfFolder(installPath), running, LockFile(installPath));
  const bool hasJournal = std::ranges::find(runs, running.runId) != runs.end();
  seen.isAtWork = running.runId.empty() ? !seen.processes.empty() : !hasJournal;
  return seen;
}

}  // namespace orvhost
