#include "orvhost/commands/waiting_update.h"

#include "orvhost/journal/applied.h"
#include "orvhost/journal/journal_folder.h"
#include "orvhost/run/last_writer.h"
#include "refhost/module_state.h"
#include "refhost/settings.h"

namespace orvhost {

namespace {

std::optional<refhost::ModuleState> Records() {
  refhost::ModuleState records;
  std::string ignored;
  return refhost::ReadModuleState(refhost::ModuleStateFolder(), &records, &ignored) ? std::optional(records)
                                                                                    : std::nullopt;
}

bool IsLastWriter() {
  return OtherLastWriter(refhost::CurrentSettings().installPath).installPath.empty();
}

std::optional<bool> WasAppliedHere() {
  return WasApplied(JournalFolder(refhost::CurrentSettings().installPath));
}

}  // namespace

bool IsLostWithThePower() {
  return ScriptsFlagIsSpent(JournalFolder(refhost::CurrentSettings().installPath));
}

bool IsRecordedAsWritten(const std::string& version) {
  const auto records = Records();
  return records && refhost::IsWritten(*records) && records->operating.info.moduleVersion == version;
}

bool WaitsForApply(const std::string& version) {
  return IsRecordedAsWritten(version) && IsLastWriter() && !WasAppliedHere().value_or(false) && !IsLostWithThePower();
}

bool IsRecordedAs(refhost::UpdateStatus status) {
  const auto records = Records();
  return records && records->updateStatus == status;
}

std::optional<bool> NeedsApply(const Session& session, const std::string& running) {
  const auto records = Records();
  if (!records) {
    return {};
  }
  if (!refhost::IsWritten(*records)) {
    return false;
  }
  if (running.empty()) {
    return {};
  }
  if (!IsLastWriter()) {
    return false;  // "apply" refuses it
  }
  // The records go on saying "written" after a restart, until "verify".
  const std::string written = session.Firmware().GetOperatingModuleInfo().moduleVersion;
  const bool isTheSameAgain = records->previousVersion == written;
  return (written != running && !IsLostWithThePower()) || (isTheSameAgain && WasAppliedHere() == false);
}

}  // namespace orvhost
