// orvhost check: whether a package is for this machine and how its version stands to the running one. Changes nothing.
#include "refhost/driver/commands.h"
#include "refhost/driver/package_check.h"

namespace refhost {
namespace {

std::string WhatUpdateWouldDo(const Outcome& outcome, const std::string& offered) {
  if (outcome.verdict == "newer") return " Run \"orvhost update\" to write it.";
  if (outcome.before == offered) return " There is nothing to update.";
  return " \"orvhost update\" would write it all the same.";
}

Outcome Check(const Run& run) {
  Outcome outcome;
  PackageCheck check(run, DamagedRecords::kLeave, &outcome);
  if (!check.Go()) return outcome;
  const Comparison comparison = check.Compare();
  outcome.verdict = comparison.verdict;
  outcome.after = outcome.before;
  outcome.summary = comparison.sentence + WhatUpdateWouldDo(outcome, check.Manifest().version);
  outcome.facts.emplace_back("Prerequisites", "complete");
  outcome.facts.emplace_back("Fit", "the package is for this machine");
  outcome.facts.emplace_back("Running version", outcome.before);
  return outcome;
}

}  // namespace

const Command kCheckCommand = {"check", "Tell whether a package fits and how its version stands to the running one",
                               AddPackageArgument, Check};

}  // namespace refhost
