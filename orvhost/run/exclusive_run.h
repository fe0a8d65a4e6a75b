// What stands around a run that loads a plug-in: it gets an id, the install path to itself, and a journal.
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

  // Takes the lock and begins the journal. False, with the failure in `*outcome`, when another run is at work, the lock
  // cannot be taken, or the run would write the flash and leave no journal; then nothing is touched.
  [[nodiscard]] bool Begin(Outcome* outcome);

  // Ends the journal, gives the lock back and completes `*outcome`. Without a Begin that succeeded it only completes
  // the outcome.
  void End(Outcome* outcome);

 private:
  [[nodiscard]] bool IsFree(RunLock::Result result, Outcome* outcome);
  [[nodiscard]] bool NothingIsLeftOf(const LockNote& last, Outcome* outcome);
  void TellTakeover();
  [[nodiscard]] bool BeginJournal(Outcome* outcome);
  void Notice(const std::string& sentence);

  const Run& run_;
  const std::string command_;
  RunLock lock_;
  std::string runId_;
  std::vector<std::string> notices_;
};

}  // namespace orvhost

#endif  // ORVHOST_RUN_EXCLUSIVE_RUN_H
