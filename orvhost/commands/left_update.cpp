#include "orvhost/commands/left_update.h"

#include "orvhost/commands/preflight.h"
#include "orvhost/interface/repeated_options.h"
#include "orvhost/journal/applied.h"
#include "orvhost/journal/journal_folder.h"
#include "orvhost/run/last_writer.h"

namespace orvhost {

namespace {

FailedEnd NotWritten(const std::string& cause, const std::string& nextStep) {
  return {.exitCode = ExitCode::kFailedUntouched, .verdict = "not-written", .cause = cause, .nextStep = nextStep};
}

std::optional<FailedEnd> UnrecordedUpdate(const refhost::ModuleState& records) {
  if (refhost::StatusOfDevice(records) != refhost::kUpdateWritten || refhost::IsWritten(records)) {
    return {};
  }
  return NotWritten(
      "The last update was written, but the host could not record all of it.",
      "Keep the machine powered and run \"orvhost update PACKAGE\" again before anything is put into operation.");
}

// No update is recorded at all, although the journals have one whose firmware was not put into operation.
std::optional<FailedEnd> ForgottenUpdate(const std::string& installPath, const refhost::ModuleState& records,
                                         const std::string& running) {
  if (!refhost::NamesNoUpdate(records) || !ShowsUpdateNotApplied(JournalFolder(installPath), running)) {
    return {};
  }
  return NotWritten(
      "An update was begun on this machine, and the host's records of it are gone.",
      "Keep the machine powered and run \"orvhost update PACKAGE\" again before anything is put into operation.");
}

std::optional<FailedEnd> OverwrittenUpdate(const std::string& installPath) {
  const OtherWriter other = OtherLastWriter(installPath);
  if (!other.unseen.empty()) {
    return NotWritten("Whether another update was begun since this one was written is not known: " + other.unseen + ".",
                      "Keep the machine powered, and run the same command again as root.");
  }
  if (!other.installPath.empty()) {
    return NotWritten("Since this update was written, another one was begun under the install path " +
                          other.installPath + "; the BMC may have what that one left.",
                      "Keep the machine powered and run \"orvhost --install-path " + ShellWord(other.installPath) +
                          " diagnose\"; to have this update, run \"orvhost update PACKAGE\" again.");
  }
  return {};
}

}  // namespace

std::optional<FailedEnd> UnfinishedUpdate(const refhost::ModuleState& records) {
  if (!refhost::IsUnfinished(records)) {
    return {};
  }
  const bool failed = refhost::StatusOfDevice(records) == refhost::kUpdateFailed;
  return NotWritten(failed ? "The last update failed." : "The last update was cut off while it was written.",
                    "Keep the machine powered and do not reboot it, since the flash may be written by half; run "
                    "\"orvhost update PACKAGE\" again before anything is put into operation.");
}

std::optional<FailedEnd> LeftUpdate(const Options& options, const refhost::ModuleState& records,
                                    const std::string& running) {
  for (const auto& left :
       {UnfinishedUpdate(records), UnrecordedUpdate(records), ForgottenUpdate(options.installPath, records, running)}) {
    if (left) {
      return left;
    }
  }
  return {};
}

std::optional<FailedEnd> RestartObstacle(const Options& options, const refhost::ModuleState& records) {
  if (const auto left = LeftUpdate(options, records, ""); left || !refhost::IsWritten(records)) {
    return left;
  }
  const auto user = UserObstacle();
  return user ? user : OverwrittenUpdate(options.installPath);
}

}  // namespace orvhost
