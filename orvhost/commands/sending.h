// Sending records to the service processor, as far as more than one subcommand does it.
#ifndef ORVHOST_COMMANDS_SENDING_H
#define ORVHOST_COMMANDS_SENDING_H

#include <string>

#include "orvhost/run/run.h"
#include "orvhost/trace/send_watch.h"

namespace orvhost {

// The plug-in's method that sends.
inline constexpr const char* kSendMethod = "SendInfoToSVP";

// What becomes of each record from here on, kept for as long as the run lasts.
[[nodiscard]] const SendWatch& WatchSending(const Run& run);

// The next step after sending has failed.
[[nodiscard]] std::string NextStepOfSending(const Run& run, const SendWatch& seen);

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_SENDING_H
