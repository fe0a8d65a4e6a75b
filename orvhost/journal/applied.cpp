#include "orvhost/journal/applied.h"

#include <cerrno>

#include "orvhost/journal/journal_folder.h"
#include "orvhost/journal/remains.h"

namespace orvhost {

std::optional<bool> WasApplied(const std::string& folder) {
  const std::vector<std::string> runs = ListJournals(folder).runs;
  for (auto id = runs.rbegin(); id != runs.rend(); ++id) {
    const RecordedRun run = ReadRun(folder, *id);
    if (run.error == ENOENT) {
      continue;  // dropped meanwhile
    }
    if (run.error != 0 || MayHaveReachedTheDevice(run)) {
      return {};
    }
    if (WasPutIntoOperation(run)) {
      return true;
    }
    if (CommandOf(run) == "update" && RemainsOfFlash(run).began) {
      return false;
    }
  }
  return {};
}

}  // namespace orvhost
