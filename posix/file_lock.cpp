#include "posix/file_lock.h"

#include <fcntl.h>

namespace posix {

namespace {

// A lock of the open file (not of the process, which would lose it with any descriptor of that file that it closes).
struct flock WholeFile(short type) {
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  return lock;
}

}  // namespace

LockAnswer TakeLock(const FileDescriptor& file) {
  struct flock lock = WholeFile(F_WRLCK);
  if (fcntl(file.Get(), F_OFD_SETLK, &lock) == 0) {
    return LockAnswer::kYes;
  }
  return errno == EAGAIN || errno == EACCES ? LockAnswer::kNo : LockAnswer::kUnknown;
}

LockAnswer IsLocked(const FileDescriptor& file) {
  struct flock lock = WholeFile(F_WRLCK);
  if (fcntl(file.Get(), F_OFD_GETLK, &lock) != 0) {
    return LockAnswer::kUnknown;
  }
  return lock.l_type == F_UNLCK ? LockAnswer::kNo : LockAnswer::kYes;
}

void ReleaseLock(const FileDescriptor& file) {
  struct flock lock = WholeFile(F_UNLCK);
  (void)fcntl(file.Get(), F_OFD_SETLK, &lock);  // closing the file gives it back as well
}

}  // namespace posix
