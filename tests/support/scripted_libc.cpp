// The libc calls of the plug-in that reach outside, answered by the scripted host. The linker puts __wrap_X in the
// place of every call of X (see tests/CMakeLists.txt); what is not the plug-in's business goes on to the real call.
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <locale>
#include <new>
#include <stdexcept>
#include <string>

#include "tests/support/scripted_host.h"

namespace {

bool IsScripted(const std::string& path) {
  const ScriptedHost* host = ScriptedHost::Current();
  return host != nullptr && (path.starts_with("/usr/bin/") || path.starts_with("/opt/kestrel/") ||
                             path.starts_with(host->InstallPath().string()));
}

// Position in the scripted folder; its address is the DIR* that the plug-in sees.
struct ScriptedFolder {
  std::size_t next = 0;
  dirent entry{};
};

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier): the linker makes up these names.
extern "C" {

std::FILE* __real_fopen(const char* path, const char* mode);
std::FILE* __wrap_fopen(const char* path, const char* mode) {
  if (!IsScripted(path)) {
    return __real_fopen(path, mode);
  }
  ScriptedHost& host = *ScriptedHost::Current();
  host.Note(std::string("probe ") + path);
  EXPECT_STREQ(mode, "r");
  return host.readableFiles.contains(host.Shorten(path)) ? __real_fopen("/dev/null", mode) : nullptr;
}

int __real_system(const char* command);
int __wrap_system(const char* command) {
  ScriptedHost& host = *ScriptedHost::Current();
  host.Note(std::string("system ") + command);
  return host.systemIsReal ? __real_system(command) : host.RunSystem(command);
}

DIR* __real_opendir(const char* path);
DIR* __wrap_opendir(const char* path) {
  if (!IsScripted(path)) {
    return __real_opendir(path);
  }
  ScriptedHost& host = *ScriptedHost::Current();
  host.Note(std::string("list folder ") + path);
  return host.folderCanBeListed ? reinterpret_cast<DIR*>(new ScriptedFolder) : nullptr;
}

dirent* __wrap_readdir(DIR* folder) {
  auto* scripted = reinterpret_cast<ScriptedFolder*>(folder);
  const std::vector<std::string>& entries = ScriptedHost::Current()->workFolderEntries;
  if (scripted->next == entries.size()) {
    return nullptr;
  }
  std::strncpy(scripted->entry.d_name, entries[scripted->next].c_str(), sizeof(scripted->entry.d_name) - 1);
  ++scripted->next;
  return &scripted->entry;
}

int __wrap_closedir(DIR* folder) {
  delete reinterpret_cast<ScriptedFolder*>(folder);
  return 0;
}

int __wrap_gethostname(char* name, std::size_t size) {
  ScriptedHost& host = *ScriptedHost::Current();
  host.Note("ask host name");
  if (!host.gethostnameResults.empty()) {
    const int result = host.gethostnameResults.front();
    host.gethostnameResults.pop_front();
    if (result != 0) {
      return result;
    }
  }
  std::strncpy(name, host.hostName.c_str(), size);
  return 0;
}

pid_t __real_fork();
pid_t __wrap_fork() {
  ScriptedHost& host = *ScriptedHost::Current();
  if (host.forkFails) {
    return -1;
  }
  std::fflush(nullptr);  // a child that ends by exit() would write what is buffered once more
  const pid_t child = __real_fork();
  if (child > 0) {
    host.lastChild = child;
  } else if (child == 0) {
    host.BecomeChild();
  }
  return child;
}

pid_t __real_waitpid(pid_t child, int* status, int options);
pid_t __wrap_waitpid(pid_t child, int* status, int options) {
  ScriptedHost* host = ScriptedHost::Current();
  if (host == nullptr || child != host->lastChild) {
    return __real_waitpid(child, status, options);
  }
  host->waitOptions = options;
  if (host->waitFails) {
    int ignored = 0;
    __real_waitpid(child, &ignored, 0);
    return -1;
  }
  if ((options & WNOHANG) != 0 && host->pollsWhileRunning > 0) {
    --host->pollsWhileRunning;
    return 0;
  }
  return __real_waitpid(child, status, options & ~WNOHANG);
}

int __real_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...) {
  mode_t mode = 0;
  if ((flags & O_CREAT) != 0) {
    std::va_list arguments;
    va_start(arguments, flags);
    mode = va_arg(arguments, mode_t);
    va_end(arguments);
  }
  ScriptedHost* host = ScriptedHost::Current();
  if (host == nullptr || std::strcmp(path, "/dev/console") != 0) {
    return __real_open(path, flags, mode);
  }
  if (!host->consoleOpens.empty()) {
    const bool opens = host->consoleOpens.front();
    host->consoleOpens.pop_front();
    if (!opens) {
      return -1;
    }
  }
  EXPECT_EQ(flags, O_WRONLY);
  return __real_open((host->InstallPath() / "console").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
}

ssize_t __real_read(int descriptor, void* buffer, std::size_t size);
ssize_t __wrap_read(int descriptor, void* buffer, std::size_t size) {
  const ScriptedHost* host = ScriptedHost::Current();
  if (const int error = host != nullptr && host->atRead ? host->atRead(descriptor) : 0; error != 0) {
    errno = error;
    return -1;
  }
  return __real_read(descriptor, buffer, size);
}

void* __real_dlopen(const char* path, int mode);
void* __wrap_dlopen(const char* path, int mode) {
  ScriptedHost* host = ScriptedHost::Current();
  if (host == nullptr || path == nullptr || !std::string(path).starts_with(host->InstallPath().string())) {
    return __real_dlopen(path, mode);
  }
  host->Note(std::string("open library ") + path);
  EXPECT_EQ(mode, RTLD_LAZY);
  void* library = __real_dlopen(path, mode);
  if (library != nullptr) {
    host->openLibraries.insert(library);
    if (void* play = dlsym(library, "PlayScript"); play != nullptr) {
      reinterpret_cast<void (*)(ScriptedManagementLibrary*)>(play)(&host->managementLibrary);
    } else {
      dlerror();  // the plug-in does not see this look-up
    }
  }
  return library;
}

int __real_dlclose(void* library);
int __wrap_dlclose(void* library) {
  if (ScriptedHost::Current() == nullptr || !ScriptedHost::Current()->openLibraries.contains(library)) {
    return __real_dlclose(library);
  }
  ScriptedHost& host = *ScriptedHost::Current();
  host.openLibraries.extract(library);
  host.Note("close library");
  const int result = __real_dlclose(library);
  if (host.closeLibraryError) {
    errno = *host.closeLibraryError;
    return -1;
  }
  return result;
}

void* __real__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag);
void* __wrap__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag) {
  ScriptedHost* host = ScriptedHost::Current();
  if (host != nullptr && !host->memoryForNextNothrowNew) {
    host->memoryForNextNothrowNew = true;
    return nullptr;
  }
  return __real__ZnwmRKSt9nothrow_t(size, tag);
}

// std::locale::locale(const char*)
void __real__ZNSt6localeC1EPKc(std::locale* locale, const char* name);
void __wrap__ZNSt6localeC1EPKc(std::locale* locale, const char* name) {
  if (ScriptedHost* host = ScriptedHost::Current(); host != nullptr) {
    host->localesAskedFor.emplace_back(name);
    if (const auto scripted = host->locales.find(name); scripted != host->locales.end()) {
      if (!scripted->second) {
        throw std::runtime_error("no such locale");  // as the real one does
      }
      name = "C.UTF-8";  // any that is not the classic one
    }
  }
  __real__ZNSt6localeC1EPKc(locale, name);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
