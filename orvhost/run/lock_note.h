// The note beside a lock: which run holds it, or held it last. It is for people only. Whether a lock is held the kernel
// says, and what a run left at work is found without it.
#ifndef ORVHOST_RUN_LOCK_NOTE_H
#define ORVHOST_RUN_LOCK_NOTE_H

#include <sys/types.h>

#include <optional>
#include <string>

namespace orvhost {

struct LockNote {
  std::string runId;
  std::string command;  // the subcommand
  std::string installPath;
  pid_t pid = 0;
  std::string since;   // UTC time of its start
  bool ended = false;  // it said that it was over; without that it was killed or lost its machine
};

struct FoundNote {
  std::optional<LockNote> note;
  bool isDamaged = false;  // there is one that cannot be read or understood
};

// Never throws, for any file.
[[nodiscard]] FoundNote ReadNote(const std::string& path);

// Replaces the note as a whole, so that a reader finds the old one or the new one. Where that fails there is none: a
// wrong one is worse.
void WriteNote(const std::string& path, const LockNote& note);

// "run 00000007-... under /opt/orv (orvhost update, process 4711, since 2026-...)"
[[nodiscard]] std::string InWords(const LockNote& note);

}  // namespace orvhost

#endif  // ORVHOST_RUN_LOCK_NOTE_H
