#include "posix/start_of_program.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace posix {

namespace {

constexpr mode_t kWritableByOthers = 022;

// Reading fails on what is open for writing only, and the other way round.
bool OpenStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    const bool isClosed = fcntl(descriptor, F_GETFD) < 0 && errno == EBADF;
    const int flags = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    if (isClosed && open("/dev/null", flags) != descriptor) {
      return false;
    }
  }
  return true;
}

bool KeepDescriptorsFromPrograms() {
  namespace fs = std::filesystem;
  std::error_code failure;
  for (fs::directory_iterator entry("/proc/self/fd", failure); !failure && entry != fs::directory_iterator();
       entry.increment(failure)) {
    const int descriptor = std::atoi(entry->path().filename().c_str());
    if (descriptor > STDERR_FILENO) {
      fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    }
  }
  return !failure;
}

}  // namespace

bool SettleInheritance() {
  umask(umask(kWritableByOthers) | kWritableByOthers);
  return OpenStandardDescriptors() && KeepDescriptorsFromPrograms();
}

}  // namespace posix
