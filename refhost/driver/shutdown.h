// What "apply" and the vendor method "Reboot" share: both end with the machine going down.
#ifndef REFHOST_DRIVER_SHUTDOWN_H
#define REFHOST_DRIVER_SHUTDOWN_H

#include "refhost/driver/run.h"

namespace refhost {

// The vendor method that puts written firmware into operation.
inline constexpr const char* kRebootMethod = "Reboot";

// True when the machine may be halted: --yes was given, or somebody at the terminal agrees. Otherwise false with the
// refusal in `*outcome`.
bool MayHalt(const Run& run, Outcome* outcome);

// Runs the vendor method and completes `*outcome`.
void PutIntoOperation(const Run& run, const Session& session, Outcome* outcome);

}  // namespace refhost

#endif  // REFHOST_DRIVER_SHUTDOWN_H
