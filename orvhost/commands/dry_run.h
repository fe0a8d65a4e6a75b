// --dry-run: what the subcommands share that can tell what they would do.
#ifndef ORVHOST_COMMANDS_DRY_RUN_H
#define ORVHOST_COMMANDS_DRY_RUN_H

#include <string>

#include "orvhost/run/run.h"

namespace orvhost {

// Completes `*outcome` as the end of a dry run. `whatWouldBe`: one or more sentences about what a real run does.
void EndDryRun(const std::string& whatWouldBe, Outcome* outcome);

// How a dry run, or a real one, treats records that are damaged.
[[nodiscard]] DamagedRecords DamagedRecordsOf(const Options& options);

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_DRY_RUN_H
