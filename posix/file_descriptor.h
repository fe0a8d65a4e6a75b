// Owns a file descriptor, and writes to one without stopping halfway.
#ifndef POSIX_FILE_DESCRIPTOR_H
#define POSIX_FILE_DESCRIPTOR_H

#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <utility>

namespace posix {

class FileDescriptor {
 public:
  FileDescriptor() = default;
  // Owns `descriptor` from here on; a negative one is none.
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() { Close(); }

  // Also of none.
  void Close() {
    if (descriptor_ >= 0) {
      close(std::exchange(descriptor_, -1));
    }
  }

  [[nodiscard]] bool IsOpen() const { return descriptor_ >= 0; }
  [[nodiscard]] int Get() const { return descriptor_; }

 private:
  int descriptor_ = -1;
};

// Writes all of `size` bytes, however often write(2) is interrupted or takes a part. False, with errno set, when that
// fails; a part may then have been written.
[[nodiscard]] inline bool WriteAll(int descriptor, const char* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t written = write(descriptor, bytes, size);
    if (written < 0) {
      if (errno == EINTR) {
        continue;
      }
      return false;
    }
    bytes += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

}  // namespace posix

#endif  // POSIX_FILE_DESCRIPTOR_H
