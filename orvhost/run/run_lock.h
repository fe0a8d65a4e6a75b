// One run at a time: a lock on a file of a folder, which the kernel holds for the process, so that it cannot outlive
// its holder and a number that was given out again means nothing. Beside it lies a note that tells people who it is.
#ifndef ORVHOST_RUN_RUN_LOCK_H
#define ORVHOST_RUN_RUN_LOCK_H

#include <optional>
#include <string>

#include "orvhost/run/lock_note.h"
#include "posix/file_descriptor.h"

namespace orvhost {

struct RunningRun {
  std::string runId;   // "" for none
  std::string unseen;  // why it cannot be known, a clause; "" when it is known
};

// The run that holds the lock in the folder `installPath` now. Takes nothing, so that it disturbs nobody.
[[nodiscard]] RunningRun RunAtWork(const std::string& installPath);

// The path of the lock's file.
[[nodiscard]] std::string LockFile(const std::string& installPath);

// Whether there is a process of that number.
[[nodiscard]] bool IsAlive(pid_t pid);

class RunLock {
 public:
  enum class Result { kTaken, kBusy, kUnusable };

  // Takes the lock in `folder`, which must exist. Never waits for it; after kBusy only as long as a holder may take to
  // sign.
  [[nodiscard]] Result Take(const std::string& folder);

  // After kTaken: the note of the run that held the lock last. After kBusy: of the one that holds it; where that does
  // not sign, as a killed run's child does not, of the one before.
  [[nodiscard]] const FoundNote& Found() const { return found_; }

  [[nodiscard]] const std::string& Folder() const { return folder_; }

  // Why it is kUnusable, without a full stop.
  [[nodiscard]] const std::string& Error() const { return error_; }

  // Writes the note of this run. Only after kTaken.
  void Sign(const LockNote& note);

  // Marks the note as one of a run that ended, and gives the lock back, also for children that share it. Nothing
  // without a note.
  void Release();

 private:
  std::string folder_;
  posix::FileDescriptor file_;
  std::optional<LockNote> own_;
  FoundNote found_;
  std::string error_;
};

}  // namespace orvhost

#endif  // ORVHOST_RUN_RUN_LOCK_H
