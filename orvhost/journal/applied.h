// Whether what the last update wrote was put into operation since, as the journals tell it.
#ifndef ORVHOST_JOURNAL_APPLIED_H
#define ORVHOST_JOURNAL_APPLIED_H

#include <optional>
#include <string>

namespace orvhost {

// Of the runs with a journal in `folder`. Nothing where these do not tell: there is none of an update, or one that
// decides cannot be read.
[[nodiscard]] std::optional<bool> WasApplied(const std::string& folder);

// True when a journal shows an update that wrote, and none a later apply. Those that do not tell are passed over.
[[nodiscard]] bool ShowsUpdateNotApplied(const std::string& folder);

}  // namespace orvhost

#endif  // ORVHOST_JOURNAL_APPLIED_H
