#include "orvhost/commands/server_type.h"

#include "orvhost/commands/version_form.h"
#include "orvhost/run/failure.h"

namespace orvhost {

void FailWithoutServerType(const Run& run, const std::string& cause, Outcome* outcome) {
  Fail(run, outcome,
       {.exitCode = ExitCode::kPrerequisites,
        .verdict = "server-type-unknown",
        .cause = cause + ": this machine did not report its server type then.",
        .nextStep = "Run the same command again; if that fails too, give the server type with --server-type."});
}

bool ReadVersionOf(const std::string& serverType, const Run& run, const Session& session, Outcome* outcome) {
  if (!ReadRunningVersion(run, session, outcome)) {
    return false;
  }
  if (!serverType.empty() && !IsOfServerType(outcome->before, serverType)) {
    FailWithoutServerType(run, "The plug-in gave version " + outcome->before + ", which is not that of a " + serverType,
                          outcome);
    return false;
  }
  Note(run, outcome, VersionDoubt(outcome->before, serverType));
  return true;
}

}  // namespace orvhost
