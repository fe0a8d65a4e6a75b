// What the last update left, as far as it forbids to go on from there.
#ifndef ORVHOST_COMMANDS_LEFT_UPDATE_H
#define ORVHOST_COMMANDS_LEFT_UPDATE_H

#include <optional>

#include "orvhost/interface/options.h"
#include "orvhost/run/failure.h"
#include "refhost/module_state.h"

namespace orvhost {

// When the last update failed or was cut off: what the BMC then has beside its firmware may be incomplete.
[[nodiscard]] std::optional<FailedEnd> UnfinishedUpdate(const refhost::ModuleState& records);

// What keeps the machine from being restarted into what these records call written: the user, an update that is
// unfinished, not recorded completely or in the journals only, one of another install path. Nothing also when no update
// waits.
[[nodiscard]] std::optional<FailedEnd> RestartObstacle(const Options& options, const refhost::ModuleState& records);

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_LEFT_UPDATE_H
