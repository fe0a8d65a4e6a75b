// orvhost verify: whether the device runs the version that was installed.
#include "host/Results.h"
#include "orvhost/commands/commands.h"
#include "orvhost/commands/left_update.h"
#include "orvhost/commands/waiting_update.h"
#include "orvhost/run/failure.h"
#include "orvhost/trace/plugin_lines.h"

namespace orvhost {

namespace {

void Explain(const Run& run, const std::string& recorded, Outcome* outcome) {
  if (run.watch.LastMessageId() != plugin_lines::records::kOtherVersionRuns) {
    Fail(run, outcome,
         {.exitCode = FailedExitCode(run),
          .verdict = "bmc-unreadable",
          .cause = "The BMC does not report its firmware version.",
          .nextStep = "Wait a minute in case the BMC is restarting, then run \"orvhost verify\" again."});
    return;
  }
  outcome->before = run.watch.LastDetail();
  outcome->after = outcome->before;
  Fail(run, outcome,
       {.exitCode = ExitCode::kVersionNotExpected,
        .verdict = "version-not-expected",
        .cause = "The BMC runs version " + outcome->before + ", but version " + recorded + " was installed.",
        .nextStep =
            IsLostWithThePower()
                ? "Run \"orvhost update PACKAGE\" again: the machine was started anew since, and the BMC has not "
                  "taken what was written."
                : "If the new firmware was not put into operation yet, run \"orvhost apply\"; otherwise run "
                  "\"orvhost update PACKAGE\" again."});
}

// True, with a complete outcome, when what is written was never put into operation: that the BMC runs another version
// is then no error that the plug-in should record.
bool IsNotAppliedYet(const Run& run, const Session& session, const std::string& recorded, Outcome* outcome) {
  if (!WaitsForApply(recorded)) {
    return false;
  }
  const std::string running = session.Firmware().GetOperatingVersionCache();
  if (running == host::kAbnormalVersion || NeedsApply(session, running) != true) {
    return false;
  }
  outcome->before = running;
  outcome->after = running;
  outcome->needsApply = true;
  Fail(
      run, outcome,
      {.exitCode = ExitCode::kVersionNotExpected,
       .verdict = "not-applied-yet",
       .cause = "Version " + recorded + " is written and not applied yet; the BMC still runs " + running + ".",
       .nextStep = "Run \"orvhost apply\" when the machine may go down, and when it is up again, \"orvhost verify\"."});
  return true;
}

Outcome Verify(const Run& run) {
  Outcome outcome;
  EnterPhase(run, &outcome, "plug-in");
  refhost::ModuleState records;
  const std::unique_ptr<Session> session = OpenSession(run, DamagedRecords::kKeepAside, &outcome, &records);
  if (!session) {
    return outcome;
  }
  EnterPhase(run, &outcome, "verify");
  const std::string recorded = session->Firmware().GetOperatingModuleInfo().moduleVersion;
  if (recorded.empty()) {
    Fail(run, &outcome,
         {.exitCode = ExitCode::kFailedUntouched,
          .verdict = "nothing-recorded",
          .cause = "No version is recorded under " + run.options.installPath + ", so there is nothing to compare with.",
          .nextStep = "Run \"orvhost identify\" to see what the BMC runs."});
    outcome.needsApply = false;
    return outcome;
  }
  outcome.facts = {{"recorded_version", "Recorded version", recorded}};
  if (const auto obstacle = UnfinishedUpdate(records)) {
    Fail(run, &outcome, *obstacle);
    outcome.needsApply = false;
    return outcome;
  }
  if (IsNotAppliedYet(run, *session, recorded, &outcome)) {
    return outcome;
  }
  if (session->Vendor().ExecuteUpdateApplyCheck(kModuleKind) != host::kSuccess) {
    Explain(run, recorded, &outcome);
    outcome.needsApply = NeedsApply(*session, outcome.before);
    return outcome;
  }
  outcome.needsApply = false;
  outcome.before = recorded;
  outcome.after = recorded;
  // The answer is the plug-in's, so it does not tell whether the host could keep it.
  if (!IsRecordedAs(refhost::kUpdateVerified)) {
    Fail(run, &outcome,
         {.exitCode = ExitCode::kFailedUntouched,
          .verdict = "not-recorded",
          .cause =
              "The BMC runs version " + recorded + ", the one that was installed, but the host could not keep that.",
          .nextStep = "Make sure that " + refhost::ModuleStateFolder() +
                      " can be written, then run the same command "
                      "again."});
    return outcome;
  }
  outcome.verdict = "verified";
  outcome.summary = "Verified: the BMC runs version " + recorded + ", the one that was installed.";
  return outcome;
}

// With --if-waiting, for a machine that starts: most of the time there is nothing to do.
std::optional<Outcome> NothingWaits(const Options& options) {
  refhost::ModuleState records;
  std::string ignored;
  if (!options.ifWaiting || !refhost::ReadModuleState(refhost::ModuleStateFolder(), &records, &ignored) ||
      refhost::IsWritten(records)) {
    return {};
  }
  Outcome outcome;
  outcome.phase = "verify";
  outcome.verdict = "nothing-to-do";
  outcome.summary = "Nothing to do: no written update waits to be verified.";
  outcome.needsApply = false;
  return outcome;
}

constexpr const char* kVerifyHelp = R"(Compares the version that the BMC runs with the one that the host recorded when
it was installed, and keeps the result in the records. Run it when the machine
is up again after "orvhost apply"; before that it says "not applied yet".

With --if-waiting it does so only when a written update waits for it, as the
records have it; otherwise it loads no plug-in, asks no BMC and leaves no
journal. The unit orvhost-verify.service calls it so when the machine starts.

Example:
  orvhost verify && echo done

Exit codes: 0 the same, or nothing waits; 3 no plug-in; 7 nothing is recorded,
or the BMC does not answer with its version; 9 another version runs, or it is
not applied yet.)";

}  // namespace

const Command kVerifyCommand = {
    "verify",    "Check that the BMC runs the version that was installed",
    kVerifyHelp, {{"--if-waiting", &Options::ifWaiting, "Do nothing when no update waits for it"}},
    Verify,      {"plug-in", "verify"},
    NothingWaits};

}  // namespace orvhost
