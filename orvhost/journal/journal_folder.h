// The folder of the runs' journals: which runs there are, how they are named, and which are dropped when there are
// many. Reads of a journal no more than its first line.
#ifndef ORVHOST_JOURNAL_JOURNAL_FOLDER_H
#define ORVHOST_JOURNAL_JOURNAL_FOLDER_H

#include <string>
#include <vector>

namespace orvhost {

// How many journals are kept: the newest runs of any kind, and behind those the newest that could have changed the
// device, so that many questions never displace the last update.
inline constexpr std::size_t kKeptRuns = 50;
inline constexpr std::size_t kKeptChangingRuns = 10;

[[nodiscard]] std::string JournalFolder(const std::string& installPath);

[[nodiscard]] std::string JournalPath(const std::string& folder, const std::string& runId);

struct JournalList {
  std::vector<std::string> runs;      // ids, oldest first
  std::vector<std::string> misnamed;  // files that end as journals do, but have no name that a run gives; skipped
  int error = 0;                      // errno when the folder cannot be read, so that there may be more runs
};

// The journals in `folder`; none when the folder is not there.
[[nodiscard]] JournalList ListJournals(const std::string& folder);

// The sentence about those that were skipped; "" for none.
[[nodiscard]] std::string AboutMisnamed(const JournalList& journals, const std::string& folder);

// The id of the run that follows `runs` and starts at `now` (as UtcNow tells it): a number and the time, such as
// "00000042-20260131T120000Z". The number orders the runs, however the clock was set. Numbers above kLastNumber
// are no run's; who had that one is followed by the same number with a later time.
inline constexpr unsigned long kLastNumber = 89'999'999;
[[nodiscard]] std::string NextRunId(const std::vector<std::string>& runs, const std::string& now);

// Whether a run of that subcommand could have changed the device or what it runs.
[[nodiscard]] bool MayChangeDevice(const std::string& command, bool dryRun);

// Removes the journals that are not to be kept beside a new one. False, with errno set, when the folder cannot be read.
[[nodiscard]] bool DropOldRuns(const std::string& folder);

}  // namespace orvhost

#endif  // ORVHOST_JOURNAL_JOURNAL_FOLDER_H
