// orvhost explain: what a code stands for and what to do about it. Needs neither a device nor a plug-in.

#include "orvhost/commands/commands.h"
#include "orvhost/commands/explanations.h"
#include "orvhost/run/failure.h"

namespace orvhost {

namespace {

void AppendLines(const Explanation& each, std::vector<std::string>* lines) {
  std::string title = each.code;
  if (each.kind == "exit" || each.kind == "result") {
    title.insert(0, each.kind + " ");
  }
  if (!lines->empty()) {
    lines->emplace_back();
  }
  lines->insert(lines->end(), {title, "  failed: " + each.failed, "  means:  " + each.means, "  do:     " + each.todo});
}

Outcome ExplainCodes(const Run& run) {
  Outcome outcome;
  outcome.phase = "look up";
  std::string unknown;
  const auto explanations = run.options.codes.empty() ? ExplainAll() : Explain(run.options.codes, &unknown);
  if (!explanations) {
    Fail(run, &outcome,
         {.exitCode = ExitCode::kUsage,
          .verdict = "unknown-code",
          .cause = "There is no code \"" + unknown + "\".",
          .nextStep = "Run \"orvhost explain\" to see every code."});
    return outcome;
  }
  outcome.verdict = "explained";
  outcome.listing.name = "explanations";
  for (const Explanation& each : *explanations) {
    outcome.listing.entries.push_back(
        {{"kind", each.kind}, {"code", each.code}, {"failed", each.failed}, {"means", each.means}, {"do", each.todo}});
    AppendLines(each, &outcome.lines);
  }
  return outcome;
}

constexpr const char* kExplainHelp = R"(Says for each code what failed, what that means and what to do. A code is a
message identifier, a detail code (also several run together, as a record shows
them), or "exit" or "result" with a number: the exit code of orvhost, or what an
operation of a plug-in answered. "exit" or "result" alone lists all of them, and
so does no code at all. "bmc_0012" stands for MSGID_BMC_0012_F, 0x1d for 1D.
Asks neither the BMC nor a plug-in.

Examples:
  orvhost explain MSGID_BMC_0013_F 161616
  orvhost explain exit 8

Exit codes: 0 explained; 2 there is no such code.)";

}  // namespace

const Command kExplainCommand = {"explain",
                                 "Explain a message, detail, exit or result code",
                                 kExplainHelp,
                                 {{"codes", &Options::codes, "Codes to explain (default: all)", "CODE"}},
                                 ExplainCodes};

}  // namespace orvhost
