// Whether a package failed before in the way in which it failed now.
#ifndef ORVHOST_JOURNAL_SAME_FAILURE_H
#define ORVHOST_JOURNAL_SAME_FAILURE_H

#include <string>

#include "orvhost/trace/trace_watch.h"

namespace orvhost {

// The id of the last update with a journal in `folder` that has ended, when it was of the package with that digest, had
// begun to write the flash, and failed with the same record as `now`; otherwise "". `before` is the run of `now`, which
// does not count, nor do those that follow it; "" for all.
[[nodiscard]] std::string SameFailureBefore(const std::string& folder, const std::string& before,
                                            const std::string& sha256, const TraceWatch& now);

// What to do then, for people.
[[nodiscard]] std::string GetThePackageAnew(const std::string& earlierRun);

}  // namespace orvhost

#endif  // ORVHOST_JOURNAL_SAME_FAILURE_H
