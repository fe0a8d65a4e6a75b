// orvhost rollback: how to get back to the version before the last update. Only offers it; "orvhost update" writes.
#include "orvhost/commands/commands.h"
#include "orvhost/interface/repeated_options.h"
#include "orvhost/run/failure.h"
#include "refhost/module_state.h"
#include "refhost/staged_package.h"

namespace orvhost {

namespace {

// Why the package that was used then cannot be used now, a sentence; "" when it can.
std::string Complaint(const refhost::ModuleRecord& previous) {
  if (previous.packagePath.empty()) {
    return "It was not written by this tool, so no package of it is on record.";
  }
  std::string error;
  const std::string digest = refhost::Sha256OfFile(previous.packagePath, &error);
  if (digest.empty()) {
    return "Its package " + previous.packagePath + " cannot be read: " + error + ".";
  }
  return digest == previous.packageSha256 ? "" : "What stands at " + previous.packagePath + " now is another package.";
}

// An update that still waits left the previous version running.
const char* OptionFor(const refhost::ModuleState& records) {
  return refhost::IsWritten(records) && records.previousVersion == records.previous.info.moduleVersion
             ? "--allow-older --allow-reinstall"
             : "--allow-older";
}

void Offer(const Run& run, const refhost::ModuleState& records, Outcome* outcome) {
  const refhost::ModuleRecord& previous = records.previous;
  const std::string& version = previous.info.moduleVersion;
  outcome->facts = {{"recorded_version", "Recorded version", records.operating.info.moduleVersion},
                    {"previous_version", "Previous version", version}};
  if (!previous.packageSha256.empty()) {
    outcome->facts.push_back({"package_sha256", "Package SHA-256", previous.packageSha256});
  }
  const std::string complaint = Complaint(previous);
  if (!complaint.empty()) {
    const std::string digest =
        previous.packageSha256.empty() ? "" : " (its SHA-256 was " + previous.packageSha256 + ")";
    Fail(run, outcome,
         {.exitCode = ExitCode::kPackageUnusable,
          .verdict = "package-missing",
          .cause = "Before version " + records.operating.info.moduleVersion + " there was version " + version + ". " +
                   complaint,
          .nextStep = "Get the package of version " + version + digest + ", and run \"orvhost update PACKAGE " +
                      OptionFor(records) + "\", then \"orvhost apply\"."});
    return;
  }
  outcome->verdict = "offered";
  outcome->facts.push_back({"package", "Package", previous.packagePath});
  outcome->summary = "The package of the previous version " + version + " is still there. Run \"orvhost update " +
                     ShellWord(previous.packagePath) + " " + OptionFor(records) +
                     "\" to write it, then \"orvhost apply\".";
}

Outcome Rollback(const Run& run) {
  Outcome outcome;
  outcome.phase = "rollback";
  refhost::ModuleState records;
  std::string error;
  if (!refhost::ReadModuleState(refhost::ModuleStateFolder(), &records, &error)) {
    Fail(
        run, &outcome,
        {.exitCode = ExitCode::kFailedUntouched,
         .verdict = "records-damaged",
         .cause = error + ".",
         .nextStep = "Run \"orvhost history\" to see which package was used before, and write it with \"orvhost update "
                     "PACKAGE --allow-older\"."});
    return outcome;
  }
  if (records.previous.info.moduleVersion.empty()) {
    Fail(
        run, &outcome,
        {.exitCode = ExitCode::kFailedUntouched,
         .verdict = "nothing-recorded",
         .cause = "No earlier version is recorded under " + run.options.installPath + ".",
         .nextStep = "Run \"orvhost identify\" to see what the BMC runs. Get the package of the version that you want, "
                     "and run \"orvhost update PACKAGE --allow-older\"."});
    return outcome;
  }
  Offer(run, records, &outcome);
  return outcome;
}

constexpr const char* kRollbackHelp = R"(Says how to get back to the version that ran before the last update: with the
command for it when the records know its package and that is still there,
unchanged; otherwise which package to get. Changes nothing and asks neither the
BMC nor the plug-in. What it offers takes "orvhost apply" afterwards, as every
update does.

Example:
  orvhost rollback

Exit codes: 0 offered; 5 the package of that version is not there any more, or
was never used here; 7 no earlier version is recorded, or the records cannot be
read.)";

}  // namespace

const Command kRollbackCommand = {
    "rollback", "Say how to get back to the previous version", kRollbackHelp, {}, Rollback};

}  // namespace orvhost
