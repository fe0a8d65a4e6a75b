#include "orvhost/commands/waiting_update.h"

#include "refhost/module_state.h"

namespace orvhost {

bool IsRecordedAsWritten(const Session& session) {
  CFirmware& firmware = session.Firmware();
  return firmware.GetUpdateStatus() == refhost::kUpdateWritten &&
         firmware.GetOperatingModuleInfo().moduleVersion == firmware.GetUpdateModuleInfo().moduleVersion;
}

std::optional<bool> NeedsApply(const Session& session, const std::string& running) {
  if (!IsRecordedAsWritten(session)) {
    return false;
  }
  // The records go on saying "written" after a restart, until "verify".
  return running.empty() ? std::nullopt
                         : std::optional(session.Firmware().GetOperatingModuleInfo().moduleVersion != running);
}

}  // namespace orvhost
