#include "orvhost/journal/applied.h"

#include <cerrno>

#include "orvhost/journal/journal_folder.h"
#include "orvhost/journal/remains.h"
#include "orvhost/trace/plugin_lines.h"
#include "refhost/machine.h"

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

// The last update that wrote; empty texts where none is known.
struct LastWrite {
  std::string command;
  std::string bootId;
};

LastWrite FindLastWrite(const std::string& folder) {
  const std::vector<std::string> runs = ListJournals(folder).runs;
  for (auto id = runs.rbegin(); id != runs.rend(); ++id) {
    const RecordedRun run = ReadRun(folder, *id);
    const FlashRemains flash = CommandOf(run) == "update" ? RemainsOfFlash(run) : FlashRemains{};
    if (flash.began) {
      return {.command = flash.command, .bootId = run.Begin("boot_id")};
    }
  }
  return {};
}

}  // namespace

bool ScriptsFlagIsSpent(const std::string& folder) {
  const LastWrite last = FindLastWrite(folder);
  return plugin_lines::RunsTheScript(last.command) && last.bootId != refhost::CurrentMachine().BootId();
}

bool LeftAMarker(const std::string& folder) {
  const LastWrite last = FindLastWrite(folder);
  return !last.command.empty() && !plugin_lines::RunsTheScript(last.command);
}

std::optional<bool> WasApplied(const std::string& folder) {
  return LookBack(folder, Unclear::kEndsSearch);
}

bool ShowsUpdateNotApplied(const std::string& folder) {
  return LookBack(folder, Unclear::kIsPassedOver) == false;
}

}  // namespace orvhost
