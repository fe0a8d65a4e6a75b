#include "orvhost/commands/write_policy.h"

#include <filesystem>
#include <list>
#include <utility>

#include "orvhost/interface/repeated_options.h"
#include "orvhost/run/failure.h"
#include "orvhost/run/machine.h"

namespace orvhost {

namespace {

constexpr const char* kSerialNumber = "serial_number";

// The host's name, and the serial number as far as the plug-in has one.
std::string MachineInWords(const Session& session) {
  std::list<std::pair<std::string, std::string>> extended;
  session.Vendor().GetExtendedInfo(&extended);
  for (const auto& [name, value] : extended) {
    if (FactKey(name) == kSerialNumber && !value.empty()) {
      return HostName() + " (serial number " + value + ")";
    }
  }
  return HostName();
}

}  // namespace

std::optional<Objection> FindObjection(const Options& options, const Comparison& comparison) {
  if (comparison.verdict == "same") {
    return options.allowReinstall ? std::nullopt
                                  : std::optional<Objection>({.verdict = "reinstall-not-allowed",
                                                              .option = "--allow-reinstall",
                                                              .question = "Write the same version again to "});
  }
  if (comparison.verdict == "newer" || options.allowOlder) {
    return {};
  }
  return Objection{.verdict = "older-not-allowed",
                   .option = "--allow-older",
                   .question = comparison.verdict == "older"
                                   ? "Write the OLDER version to "
                                   : "Write this version, which may be OLDER than the running one, to "};
}

void Refuse(const Run& run, const PackageCheck& check, const Comparison& comparison, const Objection& objection,
            Outcome* outcome) {
  Fail(run, outcome,
       {.exitCode = ExitCode::kDoesNotFit,
        .verdict = objection.verdict,
        .cause = comparison.sentence + " It is not written without " + objection.option + ".",
        .nextStep = "Get a newer package. Only if version " + check.Manifest().version +
                    " is what this machine is to run, run \"orvhost update " +
                    ShellWord(std::filesystem::absolute(run.options.packagePath).string()) + " " + objection.option +
                    "\"."});
}

bool MayWrite(const Run& run, const Session& session, const PackageCheck& check, const Comparison& comparison,
              Outcome* outcome) {
  const std::optional<Objection> objection = FindObjection(run.options, comparison);
  if (!objection) {
    return true;
  }
  if (!run.options.dryRun && run.console.CanAsk() &&
      run.console.Ask(comparison.sentence + " " + objection->question + MachineInWords(session) + "?")) {
    return true;
  }
  EndIfAsked(run, *outcome);
  Refuse(run, check, comparison, *objection, outcome);
  return false;
}

}  // namespace orvhost
