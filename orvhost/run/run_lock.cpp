#include "orvhost/run/run_lock.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <csignal>

#include "orvhost/journal/unreadable.h"
#include "posix/file_lock.h"
#include "posix/last_error.h"
#include "posix/replace_file.h"
#include "refhost/machine.h"

namespace orvhost {

namespace {

constexpr mode_t kLockMode = 0600;

std::string NoteIn(const std::string& folder) {
  return folder + "/orvhost.run";
}

bool IsOfAProgramAtWork(const FoundNote& found) {
  return found.note && !found.note->ended && IsAlive(found.note->pid);
}

// Between taking the lock and signing lies a look at all processes.
FoundNote NoteOfHolder(const std::string& path) {
  constexpr std::chrono::milliseconds kPause(10);
  FoundNote found = ReadNote(path);
  for (int tries = 100; tries > 0 && !IsOfAProgramAtWork(found); --tries) {
    refhost::CurrentMachine().Rest(kPause);
    found = ReadNote(path);
  }
  return found;
}

}  // namespace

bool IsAlive(pid_t pid) {
  return kill(pid, 0) == 0 || errno == EPERM;
}

std::string LockFile(const std::string& installPath) {
  return installPath + "/orvhost.lock";
}

RunningRun RunAtWork(const std::string& installPath) {
  const std::string path = LockFile(installPath);
  const posix::FileDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW));
  if (!file.IsOpen()) {
    return {.runId = "", .unseen = errno == ENOENT ? "" : WhyUnreadable(path, errno)};
  }
  switch (posix::IsLocked(file)) {
    case posix::LockAnswer::kNo:
      return {};
    case posix::LockAnswer::kUnknown:
      return {.runId = "", .unseen = "whether " + path + " is locked is not known: " + posix::LastError()};
    case posix::LockAnswer::kYes:
      break;
  }
  const FoundNote found = ReadNote(NoteIn(installPath));
  if (!found.note || found.note->ended) {
    return {.runId = "", .unseen = path + " is locked, and the note beside it does not say by which run"};
  }
  return {.runId = found.note->runId, .unseen = ""};
}

RunLock::Result RunLock::Take(const std::string& folder) {
  folder_ = folder;
  const std::string path = LockFile(folder);
  file_ = posix::FileDescriptor(open(path.c_str(), O_RDWR | O_CREAT | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW, kLockMode));
  if (!file_.IsOpen()) {
    error_ = "the lock file " + path + " cannot be opened for writing: " + posix::LastError();
    return Result::kUnusable;
  }
  struct stat status {};
  if (fstat(file_.Get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_nlink > 1) {
    error_ = "the lock file " + path + " is no file of its own (a device, or a second name of another file)";
    return Result::kUnusable;
  }
  // A mode that was given to it earlier, or by somebody else, would let others hold the lock.
  if (fchmod(file_.Get(), kLockMode) != 0) {
    error_ = "the lock file " + path + " cannot be kept from others: " + posix::LastError();
    return Result::kUnusable;
  }
  switch (posix::TakeLock(file_)) {
    case posix::LockAnswer::kYes:
      posix::RemoveUnfinished(NoteIn(folder));
      found_ = ReadNote(NoteIn(folder));
      return Result::kTaken;
    case posix::LockAnswer::kNo:
      found_ = NoteOfHolder(NoteIn(folder));
      return Result::kBusy;
    case posix::LockAnswer::kUnknown:
      break;
  }
  error_ = "the lock file " + path + " cannot be locked: " + posix::LastError();
  return Result::kUnusable;
}

void RunLock::Sign(const LockNote& note) {
  own_ = note;
  WriteNote(NoteIn(folder_), note);
}

void RunLock::Release() {
  if (!own_) {
    return;
  }
  own_->ended = true;
  WriteNote(NoteIn(folder_), *own_);
  own_.reset();
  posix::ReleaseLock(file_);
  file_.Close();
}

}  // namespace orvhost
