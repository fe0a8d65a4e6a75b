#include "orvhost/journal/applied.h"

#include <algorithm>
#include <cerrno>
#include <set>

#include "orvhost/journal/journal_folder.h"
#include "orvhost/journal/remains.h"
#include "orvhost/trace/plugin_lines.h"
#include "refhost/machine.h"

namespace orvhost {

namespace {

enum class Unclear { kEndsSearch, kIsPassedOver };

// The version of an update's package that the BMC ran already; "" for none.
std::string FoundRunning(const RecordedRun& run) {
  const bool runs = CommandOf(run) == "update" && run.OutcomeText("verdict") == "nothing-to-do" &&
                    run.OutcomeText("after") == run.OutcomeText("before");
  return runs ? run.OutcomeText("after") : "";
}

// What an update wrote and a later one found running was put into operation, also where no journal shows by what.
bool IsFound(const RecordedRun& update, const std::set<std::string>& found) {
  const std::string written = update.OutcomeText("after");
  return written != update.OutcomeText("before") && found.contains(written);
}

// `found` are the versions that are known to have run since the last journal.
std::optional<bool> LookBack(const std::string& folder, Unclear unclear, std::set<std::string> found) {
  const std::vector<std::string> runs = ListJournals(folder).runs;
  for (auto id = runs.rbegin(); id != runs.rend(); ++id) {
    const RecordedRun run = ReadRun(folder, *id);
    if (run.error == ENOENT) {
      continue;  // dropped meanwhile
    }
    if (run.error != 0 || MayHaveReachedTheDevice(run)) {
      if (unclear == Unclear::kEndsSearch) {
        return {};
      }
      found.clear();  // what ran behind it says nothing of what it wrote
    }
    if (WasPutIntoOperation(run)) {
      return true;
    }
    if (CommandOf(run) == "update" && RemainsOfFlash(run).began) {
      return IsFound(run, found);
    }
    if (const std::string version = FoundRunning(run); !version.empty()) {
      found.insert(version);
    }
  }
  return {};
}

FlashRemains RemainsOfUpdate(const RecordedRun& run) {
  return CommandOf(run) == "update" ? RemainsOfFlash(run) : FlashRemains{};
}

// An apply deletes the marker before it halts the machine.
bool TookTheMarker(const RecordedRun& run) {
  return std::ranges::any_of(run.entries, [](const JournalEntry& entry) {
    const std::string text = entry.kind == "trace" ? entry.Text("text") : "";
    return text.starts_with(plugin_lines::lines::kMarkerDeleted) ||
           text.starts_with(plugin_lines::lines::kMachineHalts);
  });
}

}  // namespace

bool ScriptsFlagIsSpent(const std::string& folder) {
  const std::vector<std::string> runs = ListJournals(folder).runs;
  for (auto id = runs.rbegin(); id != runs.rend(); ++id) {
    const RecordedRun run = ReadRun(folder, *id);
    if (const FlashRemains flash = RemainsOfUpdate(run); flash.began) {
      return plugin_lines::RunsTheScript(flash.command) && run.Begin("boot_id") != refhost::CurrentMachine().BootId();
    }
  }
  return false;
}

bool MarkerIsLeft(const std::string& folder) {
  const std::vector<std::string> runs = ListJournals(folder).runs;
  for (auto id = runs.rbegin(); id != runs.rend(); ++id) {
    const RecordedRun run = ReadRun(folder, *id);
    if (TookTheMarker(run)) {
      return false;
    }
    if (const FlashRemains flash = RemainsOfUpdate(run); flash.began) {
      return !flash.command.empty() && !plugin_lines::RunsTheScript(flash.command);
    }
  }
  return false;
}

std::optional<bool> WasApplied(const std::string& folder) {
  return LookBack(folder, Unclear::kEndsSearch, {});
}

bool ShowsUpdateNotApplied(const std::string& folder, const std::string& running) {
  const auto found = running.empty() ? std::set<std::string>() : std::set<std::string>{running};
  return LookBack(folder, Unclear::kIsPassedOver, found) == false;
}

}  // namespace orvhost
