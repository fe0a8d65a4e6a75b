// orvhost notify: has the plug-in send its records to the service processor and tells what became of each.
#include <algorithm>

#include "host/Results.h"
#include "orvhost/commands/commands.h"
#include "orvhost/commands/dry_run.h"
#include "orvhost/commands/sending.h"
#include "orvhost/run/failure.h"

namespace orvhost {

namespace {

using State = SendResult::State;

long Count(const SendWatch& seen, State state) {
  const auto& results = seen.Results();
  return std::ranges::count_if(results, [state](const SendResult& r) { return r.state == state; });
}

void Conclude(const SendWatch& seen, Outcome* outcome) {
  const long all = std::ssize(seen.Results());
  if (Count(seen, State::kSent) == all) {
    outcome->verdict = "sent";
    outcome->summary = "The service processor has the information.";
  } else if (Count(seen, State::kNotSupported) == all) {
    outcome->verdict = "not-supported";
    outcome->summary = "Nothing was sent, because this BMC does not support it.";
  } else if (Count(seen, State::kUnknown) == 0) {
    outcome->verdict = "partly-sent";
    outcome->summary = "The service processor has what this BMC supports.";
  } else {
    outcome->verdict = "result-unknown";
    outcome->summary = "The plug-in reports success, but it does not show what was sent.";
  }
}

void Send(const Run& run, const Session& session, Outcome* outcome) {
  const SendWatch& seen = WatchSending(run);
  const bool succeeded = session.Vendor().ExecVendorMethod(kSendMethod) == host::kSuccess;
  outcome->changed = Count(seen, State::kSent) > 0;
  std::string inWords;
  for (const SendResult& result : seen.Results()) {
    outcome->facts.push_back({FactKey(result.name), result.name, InWords(result)});
    inWords += std::string(" ") + result.name + ": " + InWords(result) + ".";
  }
  if (succeeded && Count(seen, State::kFailed) == 0) {
    Conclude(seen, outcome);
    return;
  }
  Fail(run, outcome,
       {.exitCode = FailedExitCode(run),
        .verdict = "not-sent",
        .cause = "Not everything was sent." + inWords,
        .nextStep = NextStepOfSending(run, seen)});
}

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
    Send(run, *session, &outcome);
  }
  return outcome;
}

constexpr const char* kNotifyHelp = R"(Sends two records to the service processor: the operating system's name with the
host name, and the disks' information as the management library gives it. Shows
for each whether it was sent, is not supported by this BMC, or failed and at
which step, as the plug-in's own trace has it. A record that this BMC does not
support is no failure. A BMC that does not answer is asked again, which may take
minutes.

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
