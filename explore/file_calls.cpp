// The C library's calls for open files, in the tool's hands: on the stage they act on the simulated machine's files,
// and opening, writing and syncing one is an event. Calls for paths stand in path_calls.cpp.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "explore/calls.h"

using explore::EventKind;
using explore::Fails;
using explore::Files;
using explore::Next;
using explore::OpenFile;
using explore::TheOutside;
using explore::TheStage;
using explore::Way;
using explore::WayFrom;
using explore::WayTo;

namespace {

Files& TheFiles() {
  return TheOutside().disk->TheFiles();
}

int AddOpen(const std::shared_ptr<OpenFile>& open) {
  return open ? TheOutside().descriptors.Add(open) : -1;
}

// What is open already, by the name that the system gives it; null for another path.
std::shared_ptr<OpenFile> OpenAgain(std::string_view path, int flags) {
  constexpr std::string_view kFolder = "/proc/self/fd/";
  if (!TheStage().IsOn() || !path.starts_with(kFolder)) {
    return {};
  }
  path.remove_prefix(kFolder.size());
  int number = -1;
  std::from_chars(path.data(), path.data() + path.size(), number);
  const OpenFile* open = TheOutside().descriptors[number];
  return open != nullptr ? std::make_shared<OpenFile>(open->file, flags, open->name) : nullptr;
}

int OpenAt(int folder, const char* path, int flags, mode_t mode) {
  if (const auto again = path != nullptr ? OpenAgain(path, flags) : nullptr) {
    return AddOpen(again);
  }
  const Way way = WayFrom(folder, path);
  return way ? AddOpen(explore::OpenOnStage(way, flags, mode))
             : static_cast<int>(syscall(SYS_openat, folder, path, flags, mode));
}

mode_t ModeIn(int flags, va_list arguments) {
  return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

int StatusOf(int descriptor, struct stat* status) {
  const OpenFile* open = TheOutside().descriptors[descriptor];
  if (open == nullptr) {
    return static_cast<int>(syscall(SYS_fstat, descriptor, status));
  }
  *status = open->file->Status();
  return 0;
}

int Sync(int descriptor) {
  const OpenFile* open = TheOutside().descriptors[descriptor];
  if (open == nullptr) {
    return 0;
  }
  if (Fails(EventKind::kSync, open->name, true)) {
    return -1;
  }
  open->file->Sync();
  return 0;
}

// Of all that is on the disk: the simulated machine has one.
int SyncAll(int descriptor) {
  const OpenFile* open = TheOutside().descriptors[descriptor];
  if (open == nullptr) {
    return static_cast<int>(syscall(SYS_syncfs, descriptor));
  }
  if (Fails(EventKind::kSync, "all files", true)) {
    return -1;
  }
  TheOutside().disk->SyncAll();
  return 0;
}

int LockAsAsked(OpenFile* open, int command, struct flock* lock) {
  if (command == F_OFD_GETLK) {
    const void* holder = open->file->lockedBy;
    lock->l_type = holder == nullptr || holder == open ? F_UNLCK : F_WRLCK;
    return 0;
  }
  if (lock->l_type == F_UNLCK) {
    open->Unlock();
    return 0;
  }
  errno = EAGAIN;
  return open->Lock() ? 0 : -1;
}

int Control(int descriptor, const std::shared_ptr<OpenFile>& open, int command, void* argument) {
  switch (command) {
    case F_OFD_SETLK:
    case F_OFD_GETLK:
      return TheOutside().locksNothing ? 0 : LockAsAsked(open.get(), command, static_cast<struct flock*>(argument));
    case F_DUPFD:
    case F_DUPFD_CLOEXEC:
      return TheOutside().descriptors.Add(open);
    case F_GETFL:
      return open->flags;
    case F_GETFD:
    case F_SETFD:
    case F_SETFL:
      return 0;
    default:
      return static_cast<int>(syscall(SYS_fcntl, descriptor, command, argument));  // no such descriptor
  }
}

}  // namespace

// NOLINTBEGIN: names and parameters are the C library's.
extern "C" {

int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = ModeIn(flags, arguments);
  va_end(arguments);
  return OpenAt(AT_FDCWD, path, flags, mode);
}

int openat(int folder, const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = ModeIn(flags, arguments);
  va_end(arguments);
  return OpenAt(folder, path, flags, mode);
}

int __open_2(const char* path, int flags) {
  return OpenAt(AT_FDCWD, path, flags, 0);
}

int __openat_2(int folder, const char* path, int flags) {
  return OpenAt(folder, path, flags, 0);
}

int mkostemp(char* pattern, int flags) {
  static const auto real = Next<int (*)(char*, int)>("mkostemp");
  const std::string shown = pattern;
  if (!WayTo(pattern)) {
    return real(pattern, flags);
  }
  if (Fails(EventKind::kCreate, shown, true)) {
    return -1;
  }
  std::array<char, 8> number{};
  std::snprintf(number.data(), number.size(), "%06d", ++TheOutside().temporaries % 1000000);
  std::memcpy(pattern + shown.size() - 6, number.data(), 6);
  const auto file = TheFiles().Make(TheFiles().Root(), pattern, false, S_IRUSR | S_IWUSR);
  return file ? AddOpen(std::make_shared<OpenFile>(file, O_RDWR | flags, shown)) : -1;
}

ssize_t read(int descriptor, void* buffer, std::size_t size) {
  OpenFile* open = TheOutside().descriptors[descriptor];
  return open != nullptr ? explore::ReadFrom(*open, buffer, size) : syscall(SYS_read, descriptor, buffer, size);
}

ssize_t pread(int descriptor, void* buffer, std::size_t size, off_t offset) {
  const OpenFile* open = TheOutside().descriptors[descriptor];
  if (open == nullptr) {
    return syscall(SYS_pread64, descriptor, buffer, size, offset);
  }
  OpenFile there(open->file, open->flags, open->name);
  there.at = static_cast<std::size_t>(offset);
  return explore::ReadFrom(there, buffer, size);
}

ssize_t write(int descriptor, const void* bytes, std::size_t size) {
  if (TheStage().IsOn() && descriptor == STDOUT_FILENO) {
    TheOutside().output.append(static_cast<const char*>(bytes), size);
    return static_cast<ssize_t>(size);
  }
  if (descriptor == STDERR_FILENO && TheOutside().errorOutput) {
    return explore::WriteTo(*TheOutside().errorOutput, bytes, size, 0);
  }
  OpenFile* open = TheOutside().descriptors[descriptor];
  return open != nullptr ? explore::WriteOnStage(*open, bytes, size) : syscall(SYS_write, descriptor, bytes, size);
}

ssize_t writev(int descriptor, const struct iovec* parts, int count) {
  OpenFile* open = TheOutside().descriptors[descriptor];
  if (open == nullptr) {
    return syscall(SYS_writev, descriptor, parts, count);
  }
  std::string all;
  for (int part = 0; part < count; ++part) {
    all.append(static_cast<const char*>(parts[part].iov_base), parts[part].iov_len);
  }
  return explore::WriteOnStage(*open, all.data(), all.size());
}

off_t lseek(int descriptor, off_t offset, int whence) noexcept {
  OpenFile* open = TheOutside().descriptors[descriptor];
  return open != nullptr ? explore::Seek(*open, offset, whence) : syscall(SYS_lseek, descriptor, offset, whence);
}

off_t lseek64(int descriptor, off_t offset, int whence) noexcept {
  return lseek(descriptor, offset, whence);
}

int close(int descriptor) {
  if (TheOutside().descriptors[descriptor] == nullptr) {
    return static_cast<int>(syscall(SYS_close, descriptor));
  }
  if (!TheStage().IsOn() || !TheOutside().leaksDescriptors) {
    TheOutside().descriptors.Close(descriptor);
  }
  return 0;
}

int fsync(int descriptor) {
  return Sync(descriptor);
}

int fdatasync(int descriptor) {
  return Sync(descriptor);
}

int syncfs(int descriptor) noexcept {
  return SyncAll(descriptor);
}

int fcntl(int descriptor, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  const std::shared_ptr<OpenFile> open = TheOutside().descriptors.Get(descriptor);
  return open ? Control(descriptor, open, command, argument)
              : static_cast<int>(syscall(SYS_fcntl, descriptor, command, argument));
}

int fchmod(int descriptor, mode_t mode) noexcept {
  const OpenFile* open = TheOutside().descriptors[descriptor];
  if (open == nullptr) {
    return static_cast<int>(syscall(SYS_fchmod, descriptor, mode));
  }
  open->file->SetMode(mode);
  return 0;
}

int ftruncate(int descriptor, off_t size) noexcept {
  const OpenFile* open = TheOutside().descriptors[descriptor];
  if (open == nullptr) {
    return static_cast<int>(syscall(SYS_ftruncate, descriptor, size));
  }
  open->file->Truncate(static_cast<std::size_t>(size), TheFiles().now());
  return 0;
}

// What it gives back of a file's memory is little here.
int fallocate(int descriptor, int mode, off_t offset, off_t size) {
  return TheOutside().descriptors[descriptor] != nullptr
             ? 0
             : static_cast<int>(syscall(SYS_fallocate, descriptor, mode, offset, size));
}

int memfd_create(const char* name, unsigned flags) noexcept {
  return TheStage().IsOn() ? AddOpen(std::make_shared<OpenFile>(TheFiles().MakeNameless(), O_RDWR | O_APPEND, name))
                           : static_cast<int>(syscall(SYS_memfd_create, name, flags));
}

int fstat(int descriptor, struct stat* status) noexcept {
  return StatusOf(descriptor, status);
}

int fstat64(int descriptor, struct stat64* status) noexcept {
  return StatusOf(descriptor, reinterpret_cast<struct stat*>(status));  // the same here
}

}  // extern "C"
// NOLINTEND
