#include "posix/regular_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "posix/file_descriptor.h"

namespace posix {

namespace {

// Opening some devices has consequences, so what stands there is looked at before, and again behind a race.
FileDescriptor OpenRegularFile(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    return {};
  }
  FileDescriptor file;
  if (S_ISREG(status.st_mode)) {
    file = FileDescriptor(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0) {
      return {};
    }
  }
  if (!S_ISREG(status.st_mode)) {
    errno = EINVAL;
    return {};
  }
  return file;
}

// Up to `most` bytes.
std::optional<std::string> Read(const std::string& path, std::size_t most) {
  const FileDescriptor file = OpenRegularFile(path);
  if (!file.IsOpen()) {
    return {};
  }
  std::string content;
  std::array<char, 65536> buffer;
  while (content.size() < most) {
    const ssize_t size = read(file.Get(), buffer.data(), std::min(buffer.size(), most - content.size()));
    if (size == 0) {
      break;
    }
    if (size < 0 && errno != EINTR) {
      return {};
    }
    content.append(buffer.data(), static_cast<std::size_t>(size < 0 ? 0 : size));
  }
  return content;
}

}  // namespace

std::optional<std::string> ReadRegularFile(const std::string& path, std::size_t limit) {
  std::optional<std::string> content = Read(path, limit + 1);
  if (content && content->size() > limit) {
    errno = EFBIG;
    return {};
  }
  return content;
}

std::optional<std::string> ReadStartOfRegularFile(const std::string& path, std::size_t limit) {
  return Read(path, limit);
}

}  // namespace posix
