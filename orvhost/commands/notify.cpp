// orvhost notify: has the plug-in send its records to the service processor and tells what became of each.
#include "orvhost/commands/commands.h"
#include "orvhost/commands/dry_run.h"
#include "orvhost/commands/sending.h"

namespace orvhost {

namespace {

Outcome Notify(const Run& run) {
  Outcome outcome;
  EnterPhase(run, &outcome, "plug-in");
  const std::unique_ptr<Session> session = OpenSession(run, DamagedRecordsOf(run.options), &outcome);
  if (!session) {
    return outcome;
  }
  EnterPhase(run, &outcome, "prerequisites");
  if (!HasPrerequisites(run, *session, &outcome)) {
    return outcome;
  }
  EnterPhase(run, &outcome, "send");
  if (run.options.dryRun) {
    EndDryRun(
        "The operating system's name with the host name, and the disks' information, would be sent to the service "
        "processor. Whether this BMC supports them is known only when they are sent.",
        &outcome);
  } else {
    SendRecords(run, *session, &outcome);
  }
  return outcome;
}

constexpr const char* kNotifyHelp = R"(Sends two records to the service processor: the operating system's name with the
host name, and the disks' information as the management library gives it. Shows
for each whether it was sent, is not supported by this BMC, or failed and at
which step, as the plug-in's own trace has it. A record that this BMC does not
support is no failure. A BMC that does not answer is asked again, which may take
minutes; without an answer in the end, nothing is known to be sent, and that is
a failure.

With --dry-run nothing is sent. Whether the BMC supports a record is known only
when it is sent.

Examples:
  orvhost notify
  orvhost notify --json | jq .facts

Exit codes: 0 sent, or not supported; 3 no plug-in; 4 something is missing on
this machine; 7 at least one record failed.)";

}  // namespace

const Command kNotifyCommand = {"notify",    "Send operating system and disk records to the service processor",
                                kNotifyHelp, {kDryRunFlag},
                                Notify,      {"plug-in", "prerequisites", "send"}};

}  // namespace orvhost
