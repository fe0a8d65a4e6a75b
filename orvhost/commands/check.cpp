// orvhost check: whether a package is for this machine and how its version stands to the running one. Changes nothing.
#include <filesystem>

#include "orvhost/commands/commands.h"
#include "orvhost/commands/package_check.h"
#include "orvhost/commands/preflight.h"
#include "orvhost/commands/waiting_update.h"
#include "orvhost/commands/write_policy.h"
#include "orvhost/interface/repeated_options.h"

namespace orvhost {

namespace {

// What comes of the package now; false when "orvhost update" would refuse it, with the failure in `*outcome`.
bool Conclude(const Run& run, const Session& session, PackageCheck* check, Outcome* outcome) {
  const std::optional<Comparison> comparison = check->Compare(session);
  if (!comparison) {
    return false;
  }
  const std::string& offered = check->Manifest().version;
  const bool isAskedFor = run.options.allowReinstall;
  const bool waits = !isAskedFor && WaitsForApply(offered);
  const bool isDone = waits || (!isAskedFor && outcome->before == offered);
  const auto objection = FindObjection(run.options, *comparison);
  if (objection && !isDone) {
    Refuse(run, *check, *comparison, *objection, outcome);
    return false;
  }
  outcome->verdict = comparison->verdict;
  outcome->summary = comparison->sentence;
  if (waits) {
    outcome->summary += " It is written already and waits for \"orvhost apply\".";
  } else if (isDone) {
    outcome->summary += " There is nothing to update.";
  } else {
    outcome->summary += " Run \"orvhost update " +
                        ShellWord(std::filesystem::absolute(run.options.packagePath).string()) + "\" to write it.";
  }
  return true;
}

Outcome Check(const Run& run) {
  Outcome outcome;
  PackageCheck check(run, &outcome);
  if (!check.Read()) {
    return outcome;
  }
  EnterPhase(run, &outcome, "plug-in");
  const std::unique_ptr<Session> session = OpenSession(run, DamagedRecords::kLeave, &outcome);
  if (!session) {
    return outcome;
  }
  const bool fits = check.Judge(*session);
  outcome.needsApply = NeedsApply(*session, outcome.before);
  if (!fits) {
    return outcome;
  }
  outcome.after = outcome.before;
  if (!Conclude(run, *session, &check, &outcome)) {
    return outcome;
  }
  outcome.facts.push_back({"prerequisites", "Prerequisites", "complete"});
  outcome.facts.push_back({"fit", "Fit", "the package is for this machine"});
  outcome.facts.push_back({"running_version", "Running version", outcome.before});
  if (outcome.before != check.Manifest().version) {
    outcome.facts.push_back({"not_judged", "Not judged", NotJudgedBeforehand(check.Method())});
  }
  return outcome;
}

constexpr const char* kCheckHelp = R"(Checks a package in the order of an update: is it signed by a key of this
machine (/etc/orvhost/keys.d), can it be read, is anything missing
on this machine, is the package made for this server type, does the plug-in
accept it for this hardware, how does its version compare with the running one,
and would an update succeed: does the package hold what it needs, is the flash
tool there, is there room. Stops at the first obstacle and names it.

The verdict is newer, older, same or not-comparable. The plug-in compares; a
version with the same text as the running one is always the same.
One that "orvhost update" would refuse ends with exit code 6: an older version,
or one that cannot be compared, without --allow-older; one that counts as the
same without --allow-reinstall. What only the update itself can show is named as
not judged.

Registers nothing and writes no records. During the run the package is copied
and unpacked below INSTALL_PATH. As with every subcommand, the plug-in may make
its scratch folder below INSTALL_PATH/tmp.

Examples:
  orvhost check bmc-01-24.zip
  orvhost check bmc-01-24.zip --json | jq -r .verdict

Exit codes: 0 an update would succeed, or there is nothing to do; 2 a key file
is unusable; 3 no plug-in; 4 something is missing on this machine; 5 the
package cannot be used, or is not trusted; 6 it is not for this machine, or
needs one of the options; 7 the BMC does not report its version, or the host's
records are damaged.)";

}  // namespace

const Command kCheckCommand = {
    "check",    "Check whether a package fits, and compare its version with the running one",
    kCheckHelp, {kPackageArgument, kAllowOlderFlag, kAllowReinstallFlag},
    Check,      {"package", "plug-in", "prerequisites", "server type", "fit", "compare", "preflight"}};

}  // namespace orvhost
