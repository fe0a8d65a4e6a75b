// One run at a time: the lock under the install path that every subcommand takes which loads a plug-in. The kernel
// holds it for the process (flock), so it cannot outlive its holder and a number that was given out again means
// nothing; what stands in the file only tells people who it is.
#ifndef ORVHOST_RUN_RUN_LOCK_H
#define ORVHOST_RUN_RUN_LOCK_H

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "posix/file_descriptor.h"

namespace orvhost {

// What a run writes into the lock file.
struct LockNote {
  std::string runId;
  std::string command;  // the subcommand
  pid_t pid = 0;
  std::string since;   // UTC time of its start
  bool ended = false;  // it said that it was over; without that it was killed or lost its machine
};

// A process that works for a run.
struct WorkingProcess {
  pid_t pid;
  std::string commandLine;  // words separated by blanks
};

// Name in the environment of everything that a run starts, with RunMark() as its value.
inline constexpr const char* kRunVariable = "ORVHOST_RUN";

// The run `runId` of the folder `installPath`, however that path is written. The id alone is not enough: two folders
// may have a run with the same number that began in the same second.
[[nodiscard]] std::string RunMark(const std::string& installPath, const std::string& runId);

// The processes but this one that carry that run's mark in their environment. They may outlive the program that started
// them: a flash tool goes on when the program is killed.
[[nodiscard]] std::vector<WorkingProcess> ProcessesOfRun(const std::string& installPath, const std::string& runId);

// The id of the run that holds the lock in the folder `installPath` now; "" when nobody does. Takes nothing, so that
// it disturbs nobody.
[[nodiscard]] std::string RunAtWork(const std::string& installPath);

class RunLock {
 public:
  enum class Result { kTaken, kBusy, kUnusable };

  // Takes the lock in the folder `installPath`, which is made when it is missing. Never waits.
  [[nodiscard]] Result Take(const std::string& installPath);

  // After kTaken: the run that held the lock last, unless its note was removed. After kBusy: the one that holds it.
  // Nothing when the file is empty or damaged.
  [[nodiscard]] const std::optional<LockNote>& Found() const { return found_; }

  // True when the file held something else than a note.
  [[nodiscard]] bool FoundDamage() const { return foundDamage_; }

  // Why it is kUnusable, without a full stop.
  [[nodiscard]] const std::string& Error() const { return error_; }

  // Writes the note of this run. Only after kTaken.
  void Sign(const LockNote& note);

  // Gives the lock back, by this process or by any child that shares it. The note is removed, or kept and marked as
  // ended when what the run started may still be at work.
  void Release(bool keepNote);

 private:
  void ReadNote();
  void Write(const std::string& text);

  posix::FileDescriptor file_;
  LockNote own_;
  std::optional<LockNote> found_;
  bool foundDamage_ = false;
  std::string error_;
};

}  // namespace orvhost

#endif  // ORVHOST_RUN_RUN_LOCK_H
