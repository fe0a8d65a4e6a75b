// What the last update left, as far as it forbids to go on from there.
#ifndef ORVHOST_COMMANDS_LEFT_UPDATE_H
#define ORVHOST_COMMANDS_LEFT_UPDATE_H

#include <optional>
#include <string>

#include "orvhost/interface/options.h"
#include "orvhost/run/failure.h"
#include "refhost/module_state.h"

namespace orvhost {

// When the last update failed or was cut off: what the BMC then has beside its firmware may be incomplete.
[[nodiscard]] std::optional<FailedEnd> UnfinishedUpdate(const refhost::ModuleState& records);

// The same of an update that was not recorded completely, or is in the journals only, too. `running` is the version
// that the BMC runs; "" where it was not asked.
[[nodiscard]] std::optional<FailedEnd> LeftUpdate(const Options& options, const refhost::ModuleState& records,
                                                  const std::string& running);

// What keeps the machine from being restarted into what these records call written: the user, an update that is
// unfinished, not recorded completely or in the journals only, one of another install path. Nothing also when no update
// waits.
[[nodiscard]] std::optional<FailedEnd> RestartObstacle(const Options& options, const refhost::ModuleState& records);

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_LEFT_UPDATE_H
