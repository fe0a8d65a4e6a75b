// The C library's calls for paths, in the tool's hands: on the stage they act on the simulated machine's files, and
// each that changes a folder is an event. Calls for open files stand in file_calls.cpp.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "explore/calls.h"

using explore::EventKind;
using explore::Fails;
using explore::FilePointer;
using explore::Next;
using explore::TheOutside;
using explore::TheStage;
using explore::Way;
using explore::WayFrom;
using explore::WayTo;

namespace {

FilePointer FileOf(const Way& way) {
  return TheOutside().disk->TheFiles().Find(way.folder, way.path);
}

// As stat() with `folder` and the flags of fstatat().
int StatusAt(int folder, const char* path, struct stat* status, int flags) {
  const Way way = WayFrom(folder, path);
  if (!way) {
    return static_cast<int>(syscall(SYS_newfstatat, folder, path, status, flags));
  }
  const FilePointer file = FileOf(way);
  if (!file) {
    return -1;
  }
  *status = file->Status();
  return 0;
}

int Remove(const Way& way, bool isFolder) {
  if (TheStage().CannotDelete(way.path)) {
    errno = EACCES;
    return -1;
  }
  return !Fails(EventKind::kDelete, way.path, false) &&
                 TheOutside().disk->TheFiles().Remove(way.folder, way.path, isFolder)
             ? 0
             : -1;
}

int MakeFolder(const Way& way, mode_t mode) {
  const bool made = !Fails(EventKind::kFolder, way.path, true) &&
                    TheOutside().disk->TheFiles().Make(way.folder, way.path, true, mode & 07775U);
  return made ? 0 : -1;
}

}  // namespace

// NOLINTBEGIN: names and parameters are the C library's.
extern "C" {

int rename(const char* from, const char* to) noexcept {
  if (!WayTo(to)) {
    return static_cast<int>(syscall(SYS_rename, from, to));
  }
  return !Fails(EventKind::kRename, to, false) && TheOutside().disk->TheFiles().Rename(from, to) ? 0 : -1;
}

int unlink(const char* path) noexcept {
  const Way way = WayTo(path);
  return way ? Remove(way, false) : static_cast<int>(syscall(SYS_unlink, path));
}

int rmdir(const char* path) noexcept {
  const Way way = WayTo(path);
  return way ? Remove(way, true) : static_cast<int>(syscall(SYS_rmdir, path));
}

int unlinkat(int folder, const char* path, int flags) noexcept {
  const Way way = WayFrom(folder, path);
  if (!way) {
    return static_cast<int>(syscall(SYS_unlinkat, folder, path, flags));
  }
  return TheOutside().leavesStagedPackage ? 0 : Remove(way, (flags & AT_REMOVEDIR) != 0);
}

int remove(const char* path) noexcept {
  static const auto real = Next<int (*)(const char*)>("remove");
  const Way way = WayTo(path);
  if (!way) {
    return real(path);
  }
  const FilePointer file = FileOf(way);
  return Remove(way, file && file->IsFolder());
}

int mkdir(const char* path, mode_t mode) noexcept {
  const Way way = WayTo(path);
  return way ? MakeFolder(way, mode) : static_cast<int>(syscall(SYS_mkdir, path, mode));
}

int mkdirat(int folder, const char* path, mode_t mode) noexcept {
  const Way way = WayFrom(folder, path);
  return way ? MakeFolder(way, mode) : static_cast<int>(syscall(SYS_mkdirat, folder, path, mode));
}

int stat(const char* path, struct stat* status) noexcept {
  return StatusAt(AT_FDCWD, path, status, 0);
}

int lstat(const char* path, struct stat* status) noexcept {
  return StatusAt(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW);
}

int fstatat(int folder, const char* path, struct stat* status, int flags) noexcept {
  return StatusAt(folder, path, status, flags);
}

int access(const char* path, int mode) noexcept {
  const Way way = WayTo(path);
  if (!way) {
    return static_cast<int>(syscall(SYS_access, path, mode));
  }
  const FilePointer file = FileOf(way);
  if (file && (mode & X_OK) != 0 && !file->IsFolder() && (file->Mode() & S_IXUSR) == 0) {
    errno = EACCES;
    return -1;
  }
  return file ? 0 : -1;
}

int statvfs(const char* path, struct statvfs* status) noexcept {
  static const auto real = Next<int (*)(const char*, struct statvfs*)>("statvfs");
  const Way way = WayTo(path);
  const int result = way ? (FileOf(way) ? 0 : -1) : real(path, status);
  if (result == 0 && TheStage().IsOn()) {
    *status = {};
    status->f_bavail = 1UL << 20U;  // the same on every machine that simulates
    status->f_frsize = 4096;
    status->f_blocks = 1UL << 21U;
  }
  return result;
}

char* realpath(const char* path, char* resolved) noexcept {
  static const auto real = Next<char* (*)(const char*, char*)>("realpath");
  const Way way = WayTo(path);
  if (!way) {
    return real(path, resolved);
  }
  if (!FileOf(way)) {
    return nullptr;
  }
  return resolved != nullptr ? strcpy(resolved, path) : strdup(path);  // there are no links on the simulated machine
}

ssize_t readlink(const char* path, char* buffer, std::size_t size) noexcept {
  if (TheStage().IsOn() && std::string_view(path) == "/proc/self/exe") {
    constexpr std::string_view kProgram = "/usr/bin/orvhost";
    std::memcpy(buffer, kProgram.data(), kProgram.size());
    return static_cast<ssize_t>(kProgram.size());
  }
  if (WayTo(path)) {
    errno = EINVAL;
    return -1;
  }
  return syscall(SYS_readlink, path, buffer, size);
}

}  // extern "C"
// NOLINTEND
