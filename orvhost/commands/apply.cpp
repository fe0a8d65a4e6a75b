// orvhost apply: puts the firmware that "update" wrote into operation, which takes the machine down.
#include "orvhost/commands/commands.h"
#include "orvhost/commands/confirmed_halt.h"
#include "orvhost/commands/dry_run.h"
#include "orvhost/commands/left_update.h"
#include "orvhost/run/failure.h"
#include "orvhost/run/machine.h"
#include "refhost/module_state.h"

namespace orvhost {

namespace {

// True when a written update waits; otherwise false with a complete outcome.
bool IsWaiting(const Run& run, const refhost::ModuleState& records, Outcome* outcome) {
  outcome->needsApply = refhost::IsWritten(records);
  if (const auto obstacle = RestartObstacle(run.options, records)) {
    Fail(run, outcome, *obstacle);
    return false;
  }
  if (*outcome->needsApply) {
    return true;
  }
  outcome->verdict = "nothing-to-do";
  outcome->summary = "Nothing to do: no written update waits for \"orvhost apply\".";
  return false;
}

Outcome Apply(const Run& run) {
  Outcome outcome;
  EnterPhase(run, &outcome, "plug-in");
  refhost::ModuleState records;
  const std::unique_ptr<Session> session = OpenSession(run, DamagedRecordsOf(run.options), &outcome, &records);
  if (!session || !IsWaiting(run, records, &outcome)) {
    return outcome;
  }
  outcome.before = records.previousVersion;
  const std::string written = records.operating.info.moduleVersion;
  EnterPhase(run, &outcome, "confirm");
  if (run.options.dryRun) {
    EndDryRun("\"orvhost apply\" would take the machine down at once, and the BMC would start version " + written +
                  " in the place of " + outcome.before + ".",
              &outcome);
    return outcome;
  }
  const std::string what = "Version " + written + " is to take the place of " + outcome.before + " on " + HostName() +
                           ". The BMC powers the machine on again by itself. ";
  if (!MayHalt(run, what, &outcome)) {
    return outcome;
  }
  EnterPhase(run, &outcome, "apply");
  PutIntoOperation(run, *session, &outcome);
  if (!outcome.failure) {
    outcome.after = written;
  }
  outcome.needsApply = outcome.verdict == "not-applied";
  return outcome;
}

constexpr const char* kApplyHelp = R"(Has the BMC take the firmware that "orvhost update" wrote, and takes the machine
down at once. The BMC then starts the new firmware and powers the machine on
again by itself, which takes minutes. At a terminal the tool asks first, with
the machine's name and both versions; without one it wants --yes. When the
machine is up again, run "orvhost verify".

Refused when the last update failed, was cut off, or could not be recorded, and
when one under another install path has begun since. With --dry-run it shows
which version would be started, and nothing is asked, changed or halted.

Examples:
  orvhost apply --dry-run
  orvhost apply --yes

Exit codes: 0 going down, or nothing to do; 2 not confirmed; 3 no plug-in; 4 not
root; 7 not applied: the machine stays up, or only restarts.)";

}  // namespace

const Command kApplyCommand = {"apply",    "Put written firmware into operation; halts the machine",
                               kApplyHelp, {kDryRunFlag},
                               Apply,      {"plug-in", "confirm", "apply"}};

}  // namespace orvhost
