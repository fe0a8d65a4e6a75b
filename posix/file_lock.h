// A lock on a file, which the kernel holds for those who have the file open: it ends with its holder however that ends,
// works on every file system that can lock, also on one of another machine, and can be asked for without being taken.
#ifndef POSIX_FILE_LOCK_H
#define POSIX_FILE_LOCK_H

#include "posix/file_descriptor.h"

namespace posix {

enum class LockAnswer {
  kYes,
  kNo,
  kUnknown,  // the system does not say, see errno
};

// Takes the lock on `file`, which is open for reading and writing; never waits. kNo when somebody else holds it. A
// child of this process that has the file open too shares the lock.
[[nodiscard]] LockAnswer TakeLock(const FileDescriptor& file);

// Whether somebody holds the lock on `file`, however it was opened, other than through this descriptor. Disturbs
// nobody.
[[nodiscard]] LockAnswer IsLocked(const FileDescriptor& file);

// Gives the lock back, also for children that share it.
void ReleaseLock(const FileDescriptor& file);

}  // namespace posix

#endif  // POSIX_FILE_LOCK_H
