#include "orvhost/journal/applied.h"

#include <cerrno>

#include "orvhost/journal/journal_folder.h"
#include "orvhost/journal/remains.h"

namespace orvhost {

namespace {

enum class Unclear { kEndsSearch, kIsPassedOver };

std::optional<bool> LookBack(const std::string& folder, Unclear unclear) {
  const std::vector<std::string> runs = ListJournals(folder).runs;
  for (auto id = runs.rbegin(); id != runs.rend(); ++id) {
    const RecordedRun run = ReadRun(folder, *id);
    if (run.error == ENOENT) {
      continue;  // dropped meanwhile
    }
    if (unclear == Unclear::kEndsSearch && (run.error != 0 || MayHaveReachedTheDevice(run))) {
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

}  // namespace

std::optional<bool> WasApplied(const std::string& folder) {
  return LookBack(folder, Unclear::kEndsSearch);
}

bool ShowsUpdateNotApplied(const std::string& folder) {
  return LookBack(folder, Unclear::kIsPassedOver) == false;
}

}  // namespace orvhost
