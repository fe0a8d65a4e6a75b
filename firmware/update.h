// Writes an update package to the BMC: decides whether there is anything to do, unpacks the package into the work
// folder and has it written by the method of the server family (flash_tool_method.h, script_method.h). Taking the new
// firmware into use is apply.h.
#ifndef FIRMWARE_UPDATE_H
#define FIRMWARE_UPDATE_H

#include <list>
#include <string>

#include "host/ProviderBase.h"

namespace kestrel {

// `firmware` gives the module records, of which `useOldModule` selects the old module's instead of the update module's,
// and the running version; `toolPath` is that of the IPMI tool. `packagePath` is the package, "" for none, which is a
// failure unless its version runs already. `fileList` names the members to unpack; it may be null and is only passed
// on.
//
// host::kSuccess also when the version runs already, which "kv6000rt" servers are not asked; host::kFailure, with the
// reason in the trace; or host::kUpdateTimedOut. Blocks for as long as the flash takes, retries included.
[[nodiscard]] int RunUpdate(CFirmware& firmware, const std::string& toolPath, const std::string& packagePath,
                            std::list<std::string>* fileList, bool useOldModule);

}  // namespace kestrel

#endif  // FIRMWARE_UPDATE_H
