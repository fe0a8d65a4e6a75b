// A recorded run as one page for a browser: HTML that brings its style along, has no script, and fetches nothing. What
// stands in the journal may come from anywhere, so all of it is made printable and escaped. Pure.
#ifndef ORVHOST_JOURNAL_PAGE_H
#define ORVHOST_JOURNAL_PAGE_H

#include <string>
#include <string_view>

#include "orvhost/journal/recorded_run.h"

namespace orvhost {

// A text as it may stand between tags and inside quotes.
[[nodiscard]] std::string Html(std::string_view text);

// The page; `journal` is the path of what it was made from.
[[nodiscard]] std::string ToPage(const RecordedRun& run, const std::string& journal);

}  // namespace orvhost

#endif  // ORVHOST_JOURNAL_PAGE_H
