#include "orvhost/journal/same_failure.h"

#include <algorithm>

#include "orvhost/journal/journal_folder.h"
#include "orvhost/journal/remains.h"

namespace orvhost {

namespace {

bool IsOfPackage(const RecordedRun& run, const std::string& sha256) {
  return std::ranges::any_of(run.entries, [&sha256](const JournalEntry& entry) {
    return entry.kind == "package" && entry.Text("sha256") == sha256;
  });
}

}  // namespace

std::string SameFailureBefore(const std::string& folder, const std::string& before, const std::string& sha256,
                              const TraceWatch& now) {
  if (now.LastMessageId().empty() || !now.FlashBegan()) {
    return "";
  }
  const std::vector<std::string> runs = ListJournals(folder).runs;
  for (auto id = runs.rbegin(); id != runs.rend(); ++id) {
    if (!before.empty() && *id >= before) {
      continue;
    }
    const RecordedRun run = ReadRun(folder, *id);
    if (CommandOf(run) != "update" || run.IsDryRun() || run.Outcome() == nullptr) {
      continue;
    }
    TraceWatch then;
    Replay(run, &then);
    const bool isTheSame = run.OutcomeText("verdict") == "update-failed" && then.FlashBegan() &&
                           then.LastMessageId() == now.LastMessageId() && then.LastDetail() == now.LastDetail();
    return isTheSame && IsOfPackage(run, sha256) ? *id : "";
  }
  return "";
}

std::string GetThePackageAnew(const std::string& earlierRun) {
  return "This package failed in the same way before (run " + earlierRun +
         "), so it is most likely damaged. Keep the machine powered, do not reboot it, get the package anew, and write "
         "that with \"orvhost update PACKAGE\".";
}

}  // namespace orvhost
