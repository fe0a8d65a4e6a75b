#include "refhost/driver/dry_run.h"

#include <CLI/CLI.hpp>

namespace refhost {

void AddDryRunFlag(CLI::App* subcommand, Options* options) {
  subcommand->add_flag("--dry-run", options->dryRun, "Tell what would be done and change nothing");
}

void EndDryRun(const std::string& whatWouldBe, Outcome* outcome) {
  outcome->verdict = "dry-run";
  outcome->after = outcome->before;
  outcome->summary = "Dry run, nothing is changed. " + whatWouldBe;
}

DamagedRecords DamagedRecordsOf(const Options& options) {
  return options.dryRun ? DamagedRecords::kLeave : DamagedRecords::kKeepAside;
}

}  // namespace refhost
