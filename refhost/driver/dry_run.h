// --dry-run: what the subcommands share that can tell what they would do.
#ifndef REFHOST_DRIVER_DRY_RUN_H
#define REFHOST_DRIVER_DRY_RUN_H

#include <string>

#include "refhost/driver/run.h"

namespace refhost {

// Completes `*outcome` as the end of a dry run. `whatWouldBe`: one or more sentences about what a real run does.
void EndDryRun(const std::string& whatWouldBe, Outcome* outcome);

// How a dry run, or a real one, treats records that are damaged.
DamagedRecords DamagedRecordsOf(const Options& options);

}  // namespace refhost

#endif  // REFHOST_DRIVER_DRY_RUN_H
