#include "orvhost/commands/waiting_update.h"

#include "orvhost/run/last_writer.h"
#include "refhost/module_state.h"
#include "refhost/settings.h"

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

bool IsRecordedAs(refhost::UpdateStatus status) {
  refhost::ModuleState records;
  std::string ignored;
  return refhost::ReadModuleState(refhost::ModuleStateFolder(), &records, &ignored) && records.updateStatus == status;
}

std::optional<bool> NeedsApply(const Session& session, const std::string& running) {
  const std::optional<bool> isWritten = IsWritten();
  if (!isWritten || !*isWritten) {
    return isWritten;
  }
  if (!OtherLastWriter(refhost::CurrentSettings().installPath).installPath.empty()) {
    return false;  // "apply" refuses it
  }
  // The records go on saying "written" after a restart, until "verify".
  return running.empty() ? std::nullopt
                         : std::optional(session.Firmware().GetOperatingModuleInfo().moduleVersion != running);
}

}  // namespace orvhost
