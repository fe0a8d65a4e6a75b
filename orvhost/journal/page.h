// A recorded run as one page for a browser. What stands in the journal may come from anywhere, so all of it is made
// printable and escaped. Pure.
#ifndef ORVHOST_JOURNAL_PAGE_H
#define ORVHOST_JOURNAL_PAGE_H

#include <string>

#include "orvhost/journal/recorded_run.h"

namespace orvhost {

// The page; `journal` is the path of what it was made from.
[[nodiscard]] std::string ToPage(const RecordedRun& run, const std::string& journal);

}  // namespace orvhost

#endif  // ORVHOST_JOURNAL_PAGE_H
