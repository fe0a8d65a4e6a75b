// What the lines that are left of a journal prove, also where others are lost: each answer rests on any line that shows
// it.
#ifndef ORVHOST_JOURNAL_REMAINS_H
#define ORVHOST_JOURNAL_REMAINS_H

#include <string>

#include "orvhost/journal/recorded_run.h"

namespace orvhost {

// The subcommand; "" when nothing shows it.
[[nodiscard]] std::string CommandOf(const RecordedRun& run);

struct FlashRemains {
  bool began = false;   // writing the flash
  std::string command;  // the shell command that did; "" when only what came of it is left
};
[[nodiscard]] FlashRemains RemainsOfFlash(const RecordedRun& run);

// True when the run could have changed the device, and went far enough to do so.
[[nodiscard]] bool ReachedTheDevice(const RecordedRun& run);

// True when it was an apply, or the method that does the same, that got as far as the BMC's reboot flag.
[[nodiscard]] bool WasPutIntoOperation(const RecordedRun& run);

// True when reaching the device is not shown, but lines are lost that may have shown it.
[[nodiscard]] bool MayHaveReachedTheDevice(const RecordedRun& run);

}  // namespace orvhost

#endif  // ORVHOST_JOURNAL_REMAINS_H
