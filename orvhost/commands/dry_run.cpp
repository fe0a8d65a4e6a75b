#include "orvhost/commands/dry_run.h"

namespace orvhost {

void EndDryRun(const std::string& whatWouldBe, Outcome* outcome) {
  outcome->verdict = "dry-run";
  outcome->after = outcome->before;
  outcome->summary = "Dry run, nothing is changed. " + whatWouldBe;
}

DamagedRecords DamagedRecordsOf(const Options& options) {
  return options.dryRun ? DamagedRecords::kLeave : DamagedRecords::kKeepAside;
}

}  // namespace orvhost
