// What "apply" and the vendor method "Reboot" share: both end with the machine going down.
#ifndef ORVHOST_COMMANDS_CONFIRMED_HALT_H
#define ORVHOST_COMMANDS_CONFIRMED_HALT_H

#include <string>

#include "orvhost/run/run.h"

namespace orvhost {

// True when the machine may be halted: --yes was given, or somebody at the terminal agrees. `what` is a sentence that
// says what happens besides, "" for nothing. Otherwise false with the refusal in `*outcome`.
[[nodiscard]] bool MayHalt(const Run& run, const std::string& what, Outcome* outcome);

// Runs the vendor method and completes `*outcome`.
void PutIntoOperation(const Run& run, const Session& session, Outcome* outcome);

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_CONFIRMED_HALT_H
