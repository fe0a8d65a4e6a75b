// orvhost methods: runs one of the plug-in's own methods by its name.

#include "host/Results.h"
#include "orvhost/commands/commands.h"
#include "orvhost/commands/confirmed_halt.h"
#include "orvhost/commands/dry_run.h"
#include "orvhost/commands/left_update.h"
#include "orvhost/commands/sending.h"
#include "orvhost/run/failure.h"
#include "orvhost/trace/remedy.h"

namespace orvhost {

namespace {

void RunMethod(const Run& run, const Session& session, Outcome* outcome) {
  const std::string& name = run.options.methodName;
  if (name == kRebootMethod) {
    PutIntoOperation(run, session, outcome);
    return;
  }
  if (name == kSendMethod) {
    SendRecords(run, session, outcome);
    return;
  }
  if (session.Vendor().ExecVendorMethod(name) != host::kSuccess) {
    Fail(run, outcome,
         {.exitCode = FailedExitCode(run),
          .verdict = "method-failed",
          .cause = "The plug-in does not know the method or it failed: " + name + ".",
          .nextStep = RemedyFor(run.watch).empty()
                          ? "Check the name, which is case-sensitive, and what the lines above name."
                          : RemedyThenAgain(run.watch)});
    return;
  }
  outcome->verdict = "done";
  outcome->changed = true;
  outcome->summary = "The method " + name + " is done.";
}

std::string WhatWouldBe(const std::string& name) {
  return "The plug-in would be asked to run its method " + name + ". " +
         (name == kRebootMethod ? "That takes the machine down at once."
                                : "Whether it knows that method is known only when it is asked to.");
}

Outcome Methods(const Run& run) {
  Outcome outcome;
  outcome.facts = {{"method", "Method", run.options.methodName}};
  EnterPhase(run, &outcome, "confirm");
  if (run.options.methodName == kRebootMethod && !run.options.dryRun && !MayHalt(run, "", &outcome)) {
    return outcome;
  }
  EnterPhase(run, &outcome, "plug-in");
  refhost::ModuleState records;
  const std::unique_ptr<Session> session = OpenSession(run, DamagedRecordsOf(run.options), &outcome, &records);
  if (!session) {
    return outcome;
  }
  if (const auto obstacle = RestartObstacle(run.options, records);
      obstacle && run.options.methodName == kRebootMethod) {
    Fail(run, &outcome, *obstacle);
    return outcome;
  }
  EnterPhase(run, &outcome, "method");
  if (run.options.dryRun) {
    EndDryRun(WhatWouldBe(run.options.methodName), &outcome);
    return outcome;
  }
  RunMethod(run, *session, &outcome);
  return outcome;
}

constexpr const char* kMethodsHelp = R"(Runs the plug-in's method of that name. The plug-in of this installation knows
SendInfoToSVP, which does what "orvhost notify" does, and Reboot (better:
"orvhost apply"), which takes the machine down and so must be confirmed, and is
refused where "orvhost apply" is. Names are case-sensitive.

With --dry-run the plug-in is loaded and the method is not run. Whether the
plug-in knows the method is known only when it is run.

Example:
  orvhost methods SendInfoToSVP

Exit codes: 0 done; 2 not confirmed; 3 no plug-in; 4 not root; 7 unknown,
refused or failed.)";

}  // namespace

const Command kMethodsCommand = {
    "methods",
    "Run one of the plug-in's own methods",
    kMethodsHelp,
    {{"name", &Options::methodName, "Name of the method, e.g. SendInfoToSVP", "METHOD", true}, kDryRunFlag},
    Methods,
    {"confirm", "plug-in", "method"}};

}  // namespace orvhost
