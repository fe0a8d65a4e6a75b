#include "orvhost/journal/other_runs.h"

#include <algorithm>
#include <cerrno>
#include <optional>

#include "orvhost/journal/journal_folder.h"
#include "orvhost/journal/remains.h"
#include "orvhost/journal/same_failure.h"
#include "orvhost/journal/unreadable.h"

namespace orvhost {

namespace {

class OtherRuns {
 public:
  OtherRuns(const std::string& folder, Situation* situation) : folder_(folder), situation_(situation) {}

  // Was an update further back left in the flash? True when it need not be looked further back.
  bool Earlier(const std::string& id) {
    const std::optional<RecordedRun> run = Read(id);
    if (!run) {
      situation_->beforeIsUnknown = true;
      return true;
    }
    const bool isUpdate = CommandOf(*run) == "update";
    if (!isUpdate || !RemainsOfFlash(*run).began) {
      situation_->beforeIsUnknown |= isUpdate && MayHaveReachedTheDevice(*run);
      return false;
    }
    if (!run->OutcomeText("verdict").starts_with("updated")) {
      situation_->unfinishedBefore = id;
    }
    return true;
  }

  // What did "verify" find? True when another run changed the device since.
  bool Later(const std::string& id) {
    const std::optional<RecordedRun> run = Read(id);
    if (!run || ReachedTheDevice(*run)) {
      return true;
    }
    if (CommandOf(*run) == "verify") {
      if (run->Outcome() != nullptr) {
        situation_->verifiedAs = run->OutcomeText("verdict");
      } else {
        situation_->verifyWasCutOff = true;
      }
    }
    return false;
  }

  [[nodiscard]] const std::vector<std::string>& Unreadable() const { return unreadable_; }

 private:
  // Nothing when it cannot be read; one that was dropped meanwhile is empty.
  std::optional<RecordedRun> Read(const std::string& id) {
    RecordedRun run = ReadRun(folder_, id);
    if (run.error == 0 || run.error == ENOENT) {
      return run;
    }
    unreadable_.push_back("The journal " + WhyUnreadable(JournalPath(folder_, id), run.error) + ".");
    return {};
  }

  const std::string& folder_;
  Situation* const situation_;
  std::vector<std::string> unreadable_;
};

}  // namespace

std::vector<std::string> LookAtOtherRuns(const std::string& folder, const std::vector<std::string>& runs,
                                         Situation* situation) {
  OtherRuns others(folder, situation);
  const auto at = std::ranges::find(runs, situation->run.id);
  for (auto id = at; id != runs.begin() && !others.Earlier(*--id);) {
  }
  for (auto id = at; id != runs.end() && ++id != runs.end() && !others.Later(*id);) {
  }
  if (situation->run.OutcomeText("verdict") == "update-failed") {
    TraceWatch watch;
    Replay(situation->run, &watch);
    const auto package = std::ranges::find(situation->run.entries, "package", &JournalEntry::kind);
    if (package != situation->run.entries.end()) {
      situation->sameFailureBefore = SameFailureBefore(folder, situation->run.id, package->Text("sha256"), watch);
    }
  }
  return others.Unreadable();
}

}  // namespace orvhost
