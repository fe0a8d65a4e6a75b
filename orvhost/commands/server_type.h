// The machine's server type, from which the plug-in takes what belongs to a version. It reads the type anew each time,
// and where it cannot, it goes on as on an ordinary server: what comes of that must not be taken for an answer.
#ifndef ORVHOST_COMMANDS_SERVER_TYPE_H
#define ORVHOST_COMMANDS_SERVER_TYPE_H

#include <string>

#include "orvhost/run/run.h"

namespace orvhost {

// Makes `*outcome` the failure that the machine did not report its type to the plug-in; `cause` says what came of it, a
// clause.
void FailWithoutServerType(const Run& run, const std::string& cause, Outcome* outcome);

// Reads the running version into `outcome->before`. False with the failure in `*outcome` when the BMC does not tell it,
// or when it is not that of such a server; a notice when a part of it is missing.
[[nodiscard]] bool ReadVersionOf(const std::string& serverType, const Run& run, const Session& session,
                                 Outcome* outcome);

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_SERVER_TYPE_H
