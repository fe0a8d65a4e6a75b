// What stands around a run that loads a plug-in: it gets an id, the install path and the machine's BMC to itself, and a
// journal.
#ifndef ORVHOST_RUN_EXCLUSIVE_RUN_H
#define ORVHOST_RUN_EXCLUSIVE_RUN_H

#include <string>
#include <vector>

#include "orvhost/run/run.h"
#include "orvhost/run/run_lock.h"

namespace orvhost {

class ExclusiveRun {
 public:
  ExclusiveRun(const Run& run, std::string command) : run_(run), command_(std::move(command)) {}

  // Takes the locks and begins the journal. False, with the failure in `*outcome`, when another run is at work, or what
  // an earlier one started, a lock cannot be taken, or the run would write the flash and leave no journal; then nothing
  // is touched.
  [[nodiscard]] bool Begin(Outcome* outcome);

  // Ends the journal, gives the locks back and completes `*outcome`. Without a Begin that succeeded it only completes
  // the outcome.
  void End(Outcome* outcome);

  // Says a sentence beside the result, to people at once, in the journal and in the outcome.
  void Notice(const std::string& sentence);

 private:
  [[nodiscard]] bool PackageStays(Outcome* outcome) const;
  [[nodiscard]] bool TakeLocks(Outcome* outcome);
  [[nodiscard]] bool HasTaken(RunLock::Result result, const RunLock& lock, Outcome* outcome);
  [[nodiscard]] bool NothingIsLeft(Outcome* outcome);
  void RemoveLeftovers() const;
  void Sign();
  void TellTakeover();
  [[nodiscard]] bool BeginJournal(Outcome* outcome);

  const Run& run_;
  const std::string command_;
  RunLock lock_;         // of the install path
  RunLock machineLock_;  // only of a run that may write firmware
  std::string runId_;
  std::vector<std::string> notices_;
};

}  // namespace orvhost

#endif  // ORVHOST_RUN_EXCLUSIVE_RUN_H
