// What the subcommands that look back have in common: how they end when they may not, or find nothing to look at.
#ifndef ORVHOST_COMMANDS_LOOK_BACK_H
#define ORVHOST_COMMANDS_LOOK_BACK_H

#include <optional>
#include <string>

#include "orvhost/journal/journal_folder.h"
#include "orvhost/journal/recorded_run.h"
#include "orvhost/run/failure.h"
#include "orvhost/run/run.h"

namespace orvhost {

// A journal cannot be read; `cause` says which, why, and who can.
[[nodiscard]] FailedEnd JournalUnreadable(const std::string& cause);

// The run that `name` stands for, as FindRun has it. Nothing, with the failure in `*outcome`, when there is no such run
// or its journal cannot be read.
[[nodiscard]] std::optional<RecordedRun> ReadRunNamed(const Run& run, const JournalList& journals,
                                                      const std::string& name, Outcome* outcome);

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_LOOK_BACK_H
