// The system calls that touch a file or a descriptor, as watch_calls.cpp watches them: what each is named, where its
// file is found, and how it fails.
#ifndef TESTS_ORVHOST_ATTACKS_WATCHED_CALLS_H
#define TESTS_ORVHOST_ATTACKS_WATCHED_CALLS_H

#include <sys/syscall.h>

#include <array>
#include <cerrno>

namespace attacks {

// Where a call has the file that it is about.
enum class Place { kNowhere, kDescriptor, kPath, kPathAt, kSecondPath, kSecondPathAt, kMappedFile };

struct WatchedCall {
  long number;
  const char* name;
  Place place;
  int error;       // that it fails with
  bool takesRoom;  // on a disk
};

inline constexpr std::array kWatchedCalls = {
#ifdef SYS_open  // the older half is not there on every machine
    WatchedCall{SYS_open, "open", Place::kPath, EACCES, true},
    WatchedCall{SYS_creat, "creat", Place::kPath, EACCES, true},
    WatchedCall{SYS_rename, "rename", Place::kSecondPath, EIO, true},
    WatchedCall{SYS_link, "link", Place::kSecondPath, EIO, true},
    WatchedCall{SYS_symlink, "symlink", Place::kSecondPath, EIO, true},
    WatchedCall{SYS_unlink, "unlink", Place::kPath, EIO, false},
    WatchedCall{SYS_mkdir, "mkdir", Place::kPath, EIO, true},
    WatchedCall{SYS_rmdir, "rmdir", Place::kPath, EIO, false},
    WatchedCall{SYS_chmod, "chmod", Place::kPath, EIO, false},
    WatchedCall{SYS_chown, "chown", Place::kPath, EIO, false},
    WatchedCall{SYS_stat, "stat", Place::kPath, EIO, false},
    WatchedCall{SYS_lstat, "lstat", Place::kPath, EIO, false},
    WatchedCall{SYS_access, "access", Place::kPath, EIO, false},
    WatchedCall{SYS_readlink, "readlink", Place::kPath, EIO, false},
    WatchedCall{SYS_getdents, "getdents", Place::kDescriptor, EIO, false},
    WatchedCall{SYS_dup2, "dup2", Place::kDescriptor, EMFILE, false},
    WatchedCall{SYS_pipe, "pipe", Place::kNowhere, EMFILE, false},
#endif
    WatchedCall{SYS_openat, "openat", Place::kPathAt, EACCES, true},
    WatchedCall{SYS_openat2, "openat2", Place::kPathAt, EACCES, true},
    WatchedCall{SYS_read, "read", Place::kDescriptor, EIO, false},
    WatchedCall{SYS_pread64, "pread64", Place::kDescriptor, EIO, false},
    WatchedCall{SYS_readv, "readv", Place::kDescriptor, EIO, false},
    WatchedCall{SYS_write, "write", Place::kDescriptor, ENOSPC, true},
    WatchedCall{SYS_pwrite64, "pwrite64", Place::kDescriptor, ENOSPC, true},
    WatchedCall{SYS_writev, "writev", Place::kDescriptor, ENOSPC, true},
    WatchedCall{SYS_fsync, "fsync", Place::kDescriptor, EIO, false},
    WatchedCall{SYS_fdatasync, "fdatasync", Place::kDescriptor, EIO, false},
    WatchedCall{SYS_ftruncate, "ftruncate", Place::kDescriptor, EIO, false},
    WatchedCall{SYS_truncate, "truncate", Place::kPath, EIO, false},
    WatchedCall{SYS_fallocate, "fallocate", Place::kDescriptor, ENOSPC, true},
    WatchedCall{SYS_copy_file_range, "copy_file_range", Place::kDescriptor, ENOSPC, true},
    WatchedCall{SYS_sendfile, "sendfile", Place::kDescriptor, ENOSPC, true},
    WatchedCall{SYS_renameat, "renameat", Place::kSecondPathAt, EIO, true},
    WatchedCall{SYS_renameat2, "renameat2", Place::kSecondPathAt, EIO, true},
    WatchedCall{SYS_linkat, "linkat", Place::kSecondPathAt, EIO, true},
    WatchedCall{SYS_symlinkat, "symlinkat", Place::kSecondPathAt, EIO, true},
    WatchedCall{SYS_unlinkat, "unlinkat", Place::kPathAt, EIO, false},
    WatchedCall{SYS_mkdirat, "mkdirat", Place::kPathAt, EIO, true},
    WatchedCall{SYS_fchmod, "fchmod", Place::kDescriptor, EIO, false},
    WatchedCall{SYS_fchmodat, "fchmodat", Place::kPathAt, EIO, false},
    WatchedCall{SYS_fchown, "fchown", Place::kDescriptor, EIO, false},
    WatchedCall{SYS_fchownat, "fchownat", Place::kPathAt, EIO, false},
    WatchedCall{SYS_utimensat, "utimensat", Place::kPathAt, EIO, false},
    WatchedCall{SYS_getdents64, "getdents64", Place::kDescriptor, EIO, false},
    WatchedCall{SYS_fstat, "fstat", Place::kDescriptor, EIO, false},
    WatchedCall{SYS_newfstatat, "newfstatat", Place::kPathAt, EIO, false},
    WatchedCall{SYS_statx, "statx", Place::kPathAt, EIO, false},
    WatchedCall{SYS_statfs, "statfs", Place::kPath, EIO, false},
    WatchedCall{SYS_fstatfs, "fstatfs", Place::kDescriptor, EIO, false},
    WatchedCall{SYS_faccessat, "faccessat", Place::kPathAt, EIO, false},
    WatchedCall{SYS_faccessat2, "faccessat2", Place::kPathAt, EIO, false},
    WatchedCall{SYS_readlinkat, "readlinkat", Place::kPathAt, EIO, false},
    WatchedCall{SYS_lseek, "lseek", Place::kDescriptor, EIO, false},
    WatchedCall{SYS_flock, "flock", Place::kDescriptor, ENOLCK, false},
    WatchedCall{SYS_fcntl, "fcntl", Place::kDescriptor, ENOLCK, false},
    WatchedCall{SYS_close, "close", Place::kDescriptor, EIO, false},
    WatchedCall{SYS_dup, "dup", Place::kDescriptor, EMFILE, false},
    WatchedCall{SYS_dup3, "dup3", Place::kDescriptor, EMFILE, false},
    WatchedCall{SYS_pipe2, "pipe2", Place::kNowhere, EMFILE, false},
    WatchedCall{SYS_memfd_create, "memfd_create", Place::kNowhere, EMFILE, false},
    WatchedCall{SYS_mmap, "mmap", Place::kMappedFile, ENOMEM, false},
};

}  // namespace attacks

#endif  // TESTS_ORVHOST_ATTACKS_WATCHED_CALLS_H
