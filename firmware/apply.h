// The last two stages of an update: whether the installed firmware is the one that runs, and taking the machine down so
// that it becomes so. Writing the firmware is update.h.
#ifndef FIRMWARE_APPLY_H
#define FIRMWARE_APPLY_H

#include <string>

#include "host/ProviderBase.h"

namespace kestrel {

// host::kSuccess when `firmware` runs exactly the version of its installed module; host::kFailure when it runs another
// one or cannot be asked.
[[nodiscard]] int CheckApplied(CFirmware& firmware);

// With the update marker there: arms the BMC's reboot flag through the tool at `toolPath`, takes the marker away and
// halts the machine, which the BMC then brings up on the new firmware. Without it: just reboots the machine.
//
// host::kGoingDown when the system took the command to go down, and also when the marker could not be deleted, in which
// case the machine stays up; host::kNotApplied when the BMC did not take the flag in three attempts, which keeps the
// marker for another try, or when the system refused the command.
[[nodiscard]] int ApplyUpdate(const std::string& toolPath);

}  // namespace kestrel

#endif  // FIRMWARE_APPLY_H
