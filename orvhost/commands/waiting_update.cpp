#include "orvhost/commands/waiting_update.h"

#include "refhost/module_state.h"

namespace orvhost {

namespace {

std::optional<bool> IsWritten() {
  refhost::ModuleState records;
  std::string ignored;
  if (!refhost::ReadModuleState(refhost::ModuleStateFolder(), &records, &ignored)) {
    return {};
  }
  return refhost::IsWritten(records);
}

}  // namespace

bool IsRecordedAsWritten() {
  return IsWritten().value_or(false);
}

std::optional<bool> NeedsApply(const Session& session, const std::string& running) {
  const std::optional<bool> isWritten = IsWritten();
  if (!isWritten || !*isWritten) {
    return isWritten;
  }
  // The records go on saying "written" after a restart, until "verify".
  return running.empty() ? std::nullopt
                         : std::optional(session.Firmware().GetOperatingModuleInfo().moduleVersion != running);
}

}  // namespace orvhost
