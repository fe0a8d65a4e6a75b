// Sending records to the service processor, which "notify" does and the method of the plug-in's that "methods" runs.
#ifndef ORVHOST_COMMANDS_SENDING_H
#define ORVHOST_COMMANDS_SENDING_H

#include "orvhost/run/run.h"

namespace orvhost {

// The plug-in's method that sends.
inline constexpr const char* kSendMethod = "SendInfoToSVP";

// Runs it, and says what became of each record. The plug-in's success does not say that: it also counts a BMC as served
// that it got no answer from. Completes `*outcome`.
void SendRecords(const Run& run, const Session& session, Outcome* outcome);

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_SENDING_H
