#include "posix/regular_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>

#include "posix/file_descriptor.h"

namespace posix {

std::optional<std::string> ReadRegularFile(const std::string& path, std::size_t limit) {
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat status {};
  if (!file.IsOpen() || fstat(file.Get(), &status) != 0) {
    return {};
  }
  if (!S_ISREG(status.st_mode)) {
    errno = EINVAL;
    return {};
  }
  std::string content;
  std::array<char, 4096> buffer;
  for (;;) {
    const ssize_t size = read(file.Get(), buffer.data(), buffer.size());
    if (size == 0) {
      return content;
    }
    if (size < 0 && errno != EINTR) {
      return {};
    }
    content.append(buffer.data(), static_cast<std::size_t>(size < 0 ? 0 : size));
    if (content.size() > limit) {
      errno = EFBIG;
      return {};
    }
  }
}

}  // namespace posix
