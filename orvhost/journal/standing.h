// How the machine stands, as its journals and records have it: for those who watch many machines and ask no BMC.
#ifndef ORVHOST_JOURNAL_STANDING_H
#define ORVHOST_JOURNAL_STANDING_H

#include <optional>
#include <string>
#include <vector>

#include "orvhost/journal/journal_folder.h"
#include "refhost/module_state.h"

namespace orvhost {

struct LastRun {
  std::string id;
  std::string command;
  std::string ending;            // its verdict; "cut-off" or "unreadable" where it states none
  std::optional<int> exitCode;   // nothing for a run without an end
  std::optional<double> lastAt;  // when it did what its journal tells last, in seconds since 1970
};

struct Standing {
  std::string running;                  // the version that the BMC named last; "" when no journal tells
  std::optional<double> runningAt;      // when it did
  std::optional<bool> flashUnfinished;  // writing the flash was begun, and no run finished it
  std::optional<LastRun> last;          // of those that are not at work
  std::vector<std::string> unreadable;  // why journals cannot be read, each without a full stop
};

// `atWork` is the id of the run at work, "" for none; `records` is null when they cannot be read.
[[nodiscard]] Standing ReadStanding(const std::string& folder, const JournalList& journals, const std::string& atWork,
                                    const refhost::ModuleState* records);

// Seconds since 1970 of a time such as "2026-01-31T12:00:00.5Z"; nothing for another text.
[[nodiscard]] std::optional<double> SecondsOf(const std::string& utc);

}  // namespace orvhost

#endif  // ORVHOST_JOURNAL_STANDING_H
