#include "explore/interposed.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <bitset>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "explore/stage.h"

namespace explore {

namespace {

constexpr int kMostDescriptors = 96;  // more than a run ever has
constexpr int kFirstOfTheTool = 3;
constexpr pid_t kToolProcess = 4242;
constexpr pid_t kScriptProcess = 4243;

std::bitset<kMostDescriptors> ofTheMachine;  // descriptors of its files
std::array<std::string, kMostDescriptors> names;
int standardOutput = -1;  // the real one
int childsPipe = -1;      // in a child that the plug-in forked
int temporaries = 0;
int failsNext = -1;  // a descriptor on which the disk is full

bool IsOn() {
  return TheStage().IsOn();
}

// The name for the system's call.
class Name {
 public:
  explicit Name(const char* path) : given_(path) {
    if (path != nullptr && path[0] == '/' && IsOn()) {
      const OffStage aside;
      real_ = TheOutside().disk->Real(path);
    }
  }
  bool IsOfTheMachine() const { return !real_.empty(); }
  const char* Get() const { return real_.empty() ? given_ : real_.c_str(); }

 private:
  const char* given_;
  std::string real_;
};

void Mark(int descriptor, bool is) {
  if (descriptor >= 0 && descriptor < kMostDescriptors) {
    ofTheMachine[static_cast<std::size_t>(descriptor)] = is;
  }
}

bool IsMarked(int descriptor) {
  return descriptor >= 0 && descriptor < kMostDescriptors && ofTheMachine[static_cast<std::size_t>(descriptor)];
}

// The error of a call that a fault hits; 0 for none.
int ErrorOf(FaultKind fault, bool stores) {
  switch (fault) {
    case FaultKind::kMissing:
      return ENOENT;
    case FaultKind::kUnreadable:
    case FaultKind::kRenameFails:
    case FaultKind::kDeleteFails:
      return EACCES;
    case FaultKind::kReadOnly:
      return EROFS;
    case FaultKind::kSyncFails:
      return EIO;
    case FaultKind::kDiskFull:
    case FaultKind::kDiskFullForGood:
      return ENOSPC;
    default:
      return stores && TheStage().DiskIsFull() ? ENOSPC : 0;
  }
}

bool Fails(EventKind kind, std::string_view what, bool stores, std::string_view more = "") {
  const int error = ErrorOf(TheStage().Meet(kind, what, more), stores);
  errno = error != 0 ? error : errno;
  return error != 0;
}

int OpenMarked(int descriptor, const std::string& name) {
  Mark(descriptor, descriptor >= 0);
  if (IsMarked(descriptor)) {
    names[static_cast<std::size_t>(descriptor)] = name;
  }
  return descriptor;
}

const std::string& NameBehind(int descriptor) {
  return names[static_cast<std::size_t>(descriptor)];
}

// As openat, with the fault of the event.
int OpenOnStage(int folder, const char* path, const char* shown, int flags, mode_t mode) {
  const bool isFolder = (flags & O_DIRECTORY) != 0;
  const bool stores = (flags & (O_WRONLY | O_RDWR | O_CREAT)) != 0;
  if (!isFolder) {
    const FaultKind fault = TheStage().Meet(stores ? EventKind::kCreate : EventKind::kRead, shown);
    if (fault == FaultKind::kEmpty) {
      const OffStage aside;
      const std::string empty = TheOutside().disk->Real("/srv/.empty");
      TheOutside().disk->Write("/srv/.empty", "");
      return OpenMarked(static_cast<int>(syscall(SYS_openat, AT_FDCWD, empty.c_str(), flags & ~O_NOFOLLOW, mode)),
                        shown);
    }
    if (const int error = ErrorOf(fault, (flags & O_CREAT) != 0); error != 0) {
      errno = error;
      return -1;
    }
  }
  return OpenMarked(static_cast<int>(syscall(SYS_openat, folder, path, flags, mode)), shown);
}

int OpenAt(int folder, const char* path, int flags, mode_t mode) {
  const Name name(path);
  const bool relative = path != nullptr && path[0] != '/' && IsMarked(folder) && IsOn();
  if (!name.IsOfTheMachine() && !relative) {
    return static_cast<int>(syscall(SYS_openat, folder, path, flags, mode));
  }
  // Looking at what processes there are is no event: another answer is another machine.
  if (std::string_view(path).starts_with("/proc") || std::string_view(path) == "/dev/console") {
    return OpenMarked(static_cast<int>(syscall(SYS_openat, folder, name.Get(), flags, mode)), path);
  }
  return OpenOnStage(folder, name.Get(), path, flags, mode);
}

template <typename Function>
Function Next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

bool IsLost(std::string_view text) {
  const Outside& outside = TheOutside();
  return (outside.losesStartOfFlash && text.find("\"Execute:") != std::string_view::npos) ||
         (outside.losesEndOfCommands && text.find("\"kind\":\"command_end\"") != std::string_view::npos);
}

ssize_t WriteOnStage(int descriptor, const void* bytes, std::size_t size) {
  if (failsNext == descriptor) {
    failsNext = -1;
    errno = ENOSPC;
    return -1;
  }
  const std::string_view text(static_cast<const char*>(bytes), size);
  const FaultKind fault = TheStage().Meet(EventKind::kWrite, NameBehind(descriptor), text);
  if (fault == FaultKind::kHalfWritten) {
    failsNext = descriptor;
    return syscall(SYS_write, descriptor, bytes, size / 2);
  }
  if (const int error = ErrorOf(fault, true); error != 0) {
    errno = error;
    return -1;
  }
  return IsLost(text) ? static_cast<ssize_t>(size) : syscall(SYS_write, descriptor, bytes, size);
}

}  // namespace

Outside& TheOutside() {
  static Outside outside;
  return outside;
}

int CloseWhatIsOpen() {
  int open = 0;
  for (int descriptor = kFirstOfTheTool; descriptor < kMostDescriptors; ++descriptor) {
    if (descriptor != standardOutput && syscall(SYS_close, descriptor) == 0) {
      ++open;
    }
  }
  ofTheMachine.reset();
  failsNext = -1;
  return open;
}

void TakeStandardStreams() {
  if (standardOutput >= 0) {
    return;
  }
  standardOutput = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, kMostDescriptors);
  const int nothing = static_cast<int>(syscall(SYS_openat, AT_FDCWD, "/dev/null", O_RDWR | O_CLOEXEC, 0));
  dup2(nothing, STDIN_FILENO);
  dup2(nothing, STDOUT_FILENO);
  dup2(nothing, STDERR_FILENO);
  syscall(SYS_close, nothing);
}

void GiveBackErrorOutput() {
  dup2(STDOUT_FILENO, STDERR_FILENO);
}

void Print(const std::string& text) {
  const int to = standardOutput >= 0 ? standardOutput : STDOUT_FILENO;
  for (std::size_t done = 0; done < text.size();) {
    const long size = syscall(SYS_write, to, text.data() + done, text.size() - done);
    if (size <= 0) {
      return;
    }
    done += static_cast<std::size_t>(size);
  }
}

}  // namespace explore

using explore::EventKind;
using explore::Fails;
using explore::IsMarked;
using explore::IsOn;
using explore::Name;
using explore::Next;
using explore::TheOutside;
using explore::TheStage;

// NOLINTBEGIN: names and parameters are the C library's.
extern "C" {

int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return explore::OpenAt(AT_FDCWD, path, flags, mode);
}

int openat(int folder, const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return explore::OpenAt(folder, path, flags, mode);
}

static FILE* OpenStream(const char* call, const char* path, const char* mode) {
  static const auto real = Next<FILE* (*)(const char*, const char*)>("fopen64");
  (void)call;
  const Name name(path);
  if (name.IsOfTheMachine()) {
    const bool stores = mode[0] != 'r';
    if (Fails(stores ? EventKind::kCreate : EventKind::kRead, path, stores)) {
      return nullptr;
    }
  }
  const explore::OffStage aside;
  return real(name.Get(), mode);
}

FILE* fopen(const char* path, const char* mode) {
  return OpenStream("fopen", path, mode);
}

FILE* fopen64(const char* path, const char* mode) {
  return OpenStream("fopen64", path, mode);
}

int mkostemp(char* pattern, int flags) {
  const std::string shown = pattern;
  const Name name(pattern);
  if (name.IsOfTheMachine() && Fails(EventKind::kCreate, shown, true)) {
    return -1;
  }
  std::array<char, 8> number{};
  std::snprintf(number.data(), number.size(), "%06d", ++explore::temporaries % 1000000);
  std::memcpy(pattern + shown.size() - 6, number.data(), 6);
  const Name made(pattern);
  return explore::OpenMarked(
      static_cast<int>(syscall(SYS_openat, AT_FDCWD, made.Get(), flags | O_RDWR | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR)),
      shown);
}

ssize_t write(int descriptor, const void* bytes, std::size_t size) {
  if (IsOn() && descriptor == STDOUT_FILENO) {
    TheOutside().output.append(static_cast<const char*>(bytes), size);
    return static_cast<ssize_t>(size);
  }
  return IsOn() && IsMarked(descriptor) ? explore::WriteOnStage(descriptor, bytes, size)
                                        : syscall(SYS_write, descriptor, bytes, size);
}

int close(int descriptor) {
  if (IsOn() && TheOutside().leaksDescriptors && IsMarked(descriptor)) {
    return 0;
  }
  explore::Mark(descriptor, false);
  return static_cast<int>(syscall(SYS_close, descriptor));
}

int fsync(int descriptor) {
  if (IsOn() && IsMarked(descriptor) && Fails(EventKind::kSync, explore::NameBehind(descriptor), true)) {
    return -1;
  }
  return 0;  // the simulated disk is memory
}

int fdatasync(int descriptor) {
  if (IsOn() && IsMarked(descriptor) && Fails(EventKind::kSync, explore::NameBehind(descriptor), true)) {
    return -1;
  }
  return 0;
}

int fcntl(int descriptor, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  if (command == F_OFD_SETLK && TheOutside().locksNothing) {
    return 0;
  }
  const int result = static_cast<int>(syscall(SYS_fcntl, descriptor, command, argument));
  return result;
}

int rename(const char* from, const char* to) noexcept {
  const Name oldName(from);
  const Name newName(to);
  if (newName.IsOfTheMachine() && Fails(EventKind::kRename, to, false)) {
    return -1;
  }
  return static_cast<int>(syscall(SYS_rename, oldName.Get(), newName.Get()));
}

int unlink(const char* path) noexcept {
  const Name name(path);
  if (name.IsOfTheMachine() && Fails(EventKind::kDelete, path, false)) {
    return -1;
  }
  return static_cast<int>(syscall(SYS_unlink, name.Get()));
}

int unlinkat(int folder, const char* path, int flags) noexcept {
  const Name name(path);
  const bool relative = path[0] != '/' && IsMarked(folder) && IsOn();
  if (TheOutside().leavesStagedPackage && (name.IsOfTheMachine() || relative)) {
    return 0;
  }
  if ((name.IsOfTheMachine() || relative) && Fails(EventKind::kDelete, path, false)) {
    return -1;
  }
  return static_cast<int>(syscall(SYS_unlinkat, folder, name.Get(), flags));
}

int remove(const char* path) noexcept {
  const Name name(path);
  if (name.IsOfTheMachine() && Fails(EventKind::kDelete, path, false)) {
    return -1;
  }
  const int result = static_cast<int>(syscall(SYS_unlink, name.Get()));
  return result == 0 || errno != EISDIR ? result : static_cast<int>(syscall(SYS_rmdir, name.Get()));
}

int mkdir(const char* path, mode_t mode) noexcept {
  const Name name(path);
  if (name.IsOfTheMachine() && Fails(EventKind::kFolder, path, true)) {
    return -1;
  }
  return static_cast<int>(syscall(SYS_mkdir, name.Get(), mode));
}

int mkdirat(int folder, const char* path, mode_t mode) noexcept {
  if (IsOn() && IsMarked(folder) && Fails(EventKind::kFolder, path, true)) {
    return -1;
  }
  return static_cast<int>(syscall(SYS_mkdirat, folder, path, mode));
}

int stat(const char* path, struct stat* status) noexcept {
  static const auto real = Next<int (*)(const char*, struct stat*)>("stat");
  return real(Name(path).Get(), status);
}

int lstat(const char* path, struct stat* status) noexcept {
  static const auto real = Next<int (*)(const char*, struct stat*)>("lstat");
  return real(Name(path).Get(), status);
}

int fstatat(int folder, const char* path, struct stat* status, int flags) noexcept {
  static const auto real = Next<int (*)(int, const char*, struct stat*, int)>("fstatat");
  return real(folder, Name(path).Get(), status, flags);
}

int access(const char* path, int mode) noexcept {
  return static_cast<int>(syscall(SYS_access, Name(path).Get(), mode));
}

int statvfs(const char* path, struct statvfs* status) noexcept {
  static const auto real = Next<int (*)(const char*, struct statvfs*)>("statvfs");
  const int result = real(Name(path).Get(), status);
  if (result == 0 && IsOn()) {
    status->f_bavail = 1UL << 20U;  // the same on every machine that simulates
    status->f_frsize = 4096;
    status->f_blocks = 1UL << 21U;
  }
  return result;
}

DIR* opendir(const char* path) {
  static const auto real = Next<DIR* (*)(const char*)>("opendir");
  return real(Name(path).Get());
}

char* realpath(const char* path, char* resolved) noexcept {
  static const auto real = Next<char* (*)(const char*, char*)>("realpath");
  const Name name(path);
  if (!name.IsOfTheMachine()) {
    return real(path, resolved);
  }
  if (syscall(SYS_access, name.Get(), F_OK) != 0) {
    return nullptr;
  }
  return resolved != nullptr ? strcpy(resolved, path) : strdup(path);  // there are no links on the simulated machine
}

ssize_t readlink(const char* path, char* buffer, std::size_t size) noexcept {
  if (IsOn() && std::string_view(path) == "/proc/self/exe") {
    constexpr std::string_view kProgram = "/usr/bin/orvhost";
    std::memcpy(buffer, kProgram.data(), kProgram.size());
    return static_cast<ssize_t>(kProgram.size());
  }
  return syscall(SYS_readlink, Name(path).Get(), buffer, size);
}

void* dlopen(const char* path, int mode) noexcept {
  static const auto real = Next<void* (*)(const char*, int)>("dlopen");
  const std::string_view wanted = IsOn() && path != nullptr ? path : "";
  const explore::OffStage aside;
  return real(wanted == explore::kPluginPath                 ? TheOutside().plugin.c_str()
              : wanted.ends_with("/liborv_MngSrv_OrvLib.so") ? TheOutside().managementLibrary.c_str()
                                                             : path,
              mode);
}

pid_t getpid() noexcept {
  if (!IsOn()) {
    return static_cast<pid_t>(syscall(SYS_getpid));
  }
  return explore::childsPipe >= 0 ? explore::kScriptProcess : explore::kToolProcess;
}

pid_t gettid() noexcept {
  return IsOn() ? explore::kToolProcess : static_cast<pid_t>(syscall(SYS_gettid));
}

int gethostname(char* name, std::size_t size) noexcept {
  std::snprintf(name, size, "simulated");
  return 0;
}

int system(const char* line) {
  return TheOutside().programs->System(line);
}

// The child does what a child of the plug-in's does up to the program that it becomes; that is played.
pid_t fork() noexcept {
  static const auto real = Next<pid_t (*)()>("fork");
  if (!IsOn()) {
    return real();
  }
  explore::FaultKind fault{};
  std::array<int, 2> ends{};
  if (!TheOutside().programs->ForkScript(&fault) || pipe2(ends.data(), O_CLOEXEC) != 0) {
    errno = EAGAIN;
    return -1;
  }
  const pid_t child = real();
  if (child == 0) {
    TheStage().Count(false);
    explore::childsPipe = ends[1];
    return 0;
  }
  syscall(SYS_close, ends[1]);
  std::string line;
  std::array<char, 4096> buffer{};
  for (long size = 0; (size = syscall(SYS_read, ends[0], buffer.data(), buffer.size())) > 0;) {
    line.append(buffer.data(), static_cast<std::size_t>(size));
  }
  syscall(SYS_close, ends[0]);
  syscall(SYS_wait4, child, nullptr, 0, nullptr);
  TheOutside().programs->StartScript(line, fault);
  return explore::kScriptProcess;
}

int execlp(const char* file, const char* argument, ...) noexcept {
  (void)file;
  (void)argument;
  va_list arguments;
  va_start(arguments, argument);
  (void)va_arg(arguments, const char*);
  const char* line = va_arg(arguments, const char*);
  va_end(arguments);
  (void)!syscall(SYS_write, explore::childsPipe, line, strlen(line));
  _exit(0);
}

int chdir(const char* path) noexcept {
  return static_cast<int>(syscall(SYS_chdir, Name(path).Get()));
}

pid_t waitpid(pid_t child, int* status, int flags) {
  if (!IsOn() || child != explore::kScriptProcess) {
    return static_cast<pid_t>(syscall(SYS_wait4, child, status, flags, nullptr));
  }
  const auto ended = TheOutside().programs->ScriptStatus();
  if (!ended) {
    return 0;
  }
  *status = *ended;
  return child;
}

// One thread only: what comes in which order is then the same every time. The tool does without them.
int pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*) noexcept {
  return EAGAIN;
}

int __register_atfork(void (*)(), void (*)(), void (*)(), void*) noexcept {
  return 0;  // every run of the tool would leave one more
}

}  // extern "C"
// NOLINTEND
