// A library to preload: it lets one system call fail that concerns the state file, the folder it lies in or
// the whole file system. Works for
// root too, whom no permission stops.
//
//   TEST_FAILING_CALL    rename, fsync, syncfs, fchmod or read
//   TEST_FAILING_NUMBER  which of its calls fails, from 1
//   TEST_FAILING_MARK    file that is made when it does
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

std::string Text(const char* name) {
  const char* text = getenv(name);
  return text != nullptr ? text : "";
}

bool IsOfTheRecords(std::string_view path) {
  return path.find("/repository") != std::string_view::npos;
}

std::string PathOf(int descriptor) {
  std::array<char, 4096> path{};
  const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
  const ssize_t size = readlink(link.c_str(), path.data(), path.size());
  return {path.data(), size > 0 ? static_cast<std::size_t>(size) : 0};
}

bool MustFail(std::string_view call, std::string_view path) {
  static int count = 0;
  if (Text("TEST_FAILING_CALL") != call || (call != "syncfs" && !IsOfTheRecords(path)) ||
      std::to_string(++count) != Text("TEST_FAILING_NUMBER")) {
    return false;
  }
  close(open(Text("TEST_FAILING_MARK").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  errno = EIO;
  return true;
}

template <typename Function>
Function* Real(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) int rename(const char* from, const char* to) noexcept {
  return MustFail("rename", to) ? -1 : Real<int(const char*, const char*)>("rename")(from, to);
}

__attribute__((visibility("default"))) int fsync(int descriptor) {
  return MustFail("fsync", PathOf(descriptor)) ? -1 : Real<int(int)>("fsync")(descriptor);
}

__attribute__((visibility("default"))) int syncfs(int descriptor) noexcept {
  return MustFail("syncfs", PathOf(descriptor)) ? -1 : Real<int(int)>("syncfs")(descriptor);
}

__attribute__((visibility("default"))) int fchmod(int descriptor, mode_t mode) noexcept {
  return MustFail("fchmod", PathOf(descriptor)) ? -1 : Real<int(int, mode_t)>("fchmod")(descriptor, mode);
}

__attribute__((visibility("default"))) ssize_t read(int descriptor, void* buffer, std::size_t size) {
  return MustFail("read", PathOf(descriptor))
             ? -1
             : Real<ssize_t(int, void*, std::size_t)>("read")(descriptor, buffer, size);
}

}  // extern "C"
