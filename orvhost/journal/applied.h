// Whether what the last update wrote was put into operation since, as the journals tell it.
#ifndef ORVHOST_JOURNAL_APPLIED_H
#define ORVHOST_JOURNAL_APPLIED_H

#include <optional>
#include <string>

namespace orvhost {

// Of the runs with a journal in `folder`. Nothing where these do not tell: there is none of an update, or one that
// decides cannot be read.
[[nodiscard]] std::optional<bool> WasApplied(const std::string& folder);

// True when a journal shows an update that wrote, and none a later apply, or a later update that found the written
// version running, as `running` is if the BMC was asked. Those that do not tell are passed over.
[[nodiscard]] bool ShowsUpdateNotApplied(const std::string& folder, const std::string& running = "");

// True when the last update that wrote was a package's script and the machine was started anew since. A script arms the
// BMC's reboot flag itself and leaves no update marker: the BMC took the firmware then, or has lost the flag with its
// power, and an apply would only restart the machine.
[[nodiscard]] bool ScriptsFlagIsSpent(const std::string& folder);

// True when the last update that wrote did so by the flash tool, which leaves the update marker that an apply goes by,
// and no apply has deleted that since.
[[nodiscard]] bool MarkerIsLeft(const std::string& folder);

}  // namespace orvhost

#endif  // ORVHOST_JOURNAL_APPLIED_H
