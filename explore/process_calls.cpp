// The C library's calls for processes and what a process is, in the tool's hands: programs are played, and there is one
// thread.
#include <dlfcn.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "explore/calls.h"
#include "explore/child.h"
#include "explore/life.h"

using explore::Next;
using explore::TheOutside;
using explore::TheStage;
using explore::WayTo;

namespace {

constexpr pid_t kToolProcess = 4242;
constexpr pid_t kScriptProcess = 4243;

bool IsOn() {
  return TheStage().IsOn();
}

}  // namespace

// NOLINTBEGIN: names and parameters are the C library's.
extern "C" {

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
  return explore::IsChild() ? kScriptProcess : kToolProcess;
}

pid_t gettid() noexcept {
  return IsOn() ? kToolProcess : static_cast<pid_t>(syscall(SYS_gettid));
}

uid_t geteuid() noexcept {
  return IsOn() ? 0 : static_cast<uid_t>(syscall(SYS_geteuid));
}

int gethostname(char* name, std::size_t size) noexcept {
  std::snprintf(name, size, "simulated");
  return 0;
}

int system(const char* line) {
  return TheOutside().programs->System(line);
}

pid_t fork() noexcept {
  static const auto real = Next<pid_t (*)()>("fork");
  if (!IsOn()) {
    return real();
  }
  explore::FaultKind fault{};
  if (!TheOutside().programs->ForkScript(&fault)) {
    errno = EAGAIN;
    return -1;
  }
  const bool counted = TheStage().Count(false);
  explore::ChildEnd end;
  if (explore::BecomeChild(explore::EndOfToolStack(), &end)) {
    return 0;
  }
  TheStage().Count(counted);
  if (end.becameProgram) {
    TheOutside().programs->StartScript(end.commandLine, fault);
  } else {
    TheOutside().programs->EndScript(end.status);
  }
  return kScriptProcess;
}

// The standard error is a file in memory for a time; the output of a child, which its own descriptors take, goes
// nowhere.
int dup2(int from, int to) noexcept {
  const auto& open = TheOutside().descriptors.Get(from);
  if (to == STDERR_FILENO && !explore::IsChild()) {
    TheOutside().errorOutput = open;
  }
  return open ? to : static_cast<int>(syscall(SYS_dup2, from, to));
}

int execlp(const char* file, const char* argument, ...) noexcept {
  (void)file;
  (void)argument;
  va_list arguments;
  va_start(arguments, argument);
  (void)va_arg(arguments, const char*);
  const char* line = va_arg(arguments, const char*);
  va_end(arguments);
  explore::EndChild({true, line, 0});
}

void exit(int status) noexcept {
  static const auto real = Next<void (*)(int)>("exit");
  if (explore::IsChild()) {
    explore::EndChild({false, "", status});
  }
  real(status);
  std::abort();  // it does not return
}

int chdir(const char* path) noexcept {
  if (const auto way = WayTo(path)) {
    const auto folder = TheOutside().disk->TheFiles().Find(way.folder, way.path);
    errno = folder ? ENOTDIR : errno;
    return folder && folder->IsFolder() ? 0 : -1;
  }
  return static_cast<int>(syscall(SYS_chdir, path));
}

pid_t waitpid(pid_t child, int* status, int flags) {
  if (!IsOn() || child != kScriptProcess) {
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
