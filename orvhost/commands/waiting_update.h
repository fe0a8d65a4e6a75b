// What the records say of firmware that an update wrote: is all of it there, and does it wait for "orvhost apply"?
#ifndef ORVHOST_COMMANDS_WAITING_UPDATE_H
#define ORVHOST_COMMANDS_WAITING_UPDATE_H

#include <optional>
#include <string>

#include "orvhost/run/run.h"
#include "refhost/module_state.h"

namespace orvhost {

// True when the records have all of an update that was written. False also when they cannot be read.
[[nodiscard]] bool IsRecordedAsWritten(const std::string& version);

// True when the records have this status; false also when they cannot be read.
[[nodiscard]] bool IsRecordedAs(refhost::UpdateStatus status);

// Of a machine that runs another version than the one that was written: true when nothing waits for "apply" any more,
// because the BMC was to take the firmware at the next start, and has lost that with its power.
[[nodiscard]] bool IsLostWithThePower();

// True when `version` is written and was not put into operation since, as far as the records and journals tell.
[[nodiscard]] bool WaitsForApply(const std::string& version);

// True when "apply" comes next: a version is written, and the BMC runs another one. `running` is the one that it runs;
// with "", for unknown, there is an answer only when nothing was written. No answer when the records cannot be read.
[[nodiscard]] std::optional<bool> NeedsApply(const Session& session, const std::string& running);

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_WAITING_UPDATE_H
