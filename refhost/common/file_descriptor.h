// Owns a file descriptor.
#ifndef REFHOST_COMMON_FILE_DESCRIPTOR_H
#define REFHOST_COMMON_FILE_DESCRIPTOR_H

#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <utility>

namespace refhost {

class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() { Close(); }

  void Close() {
    if (descriptor_ >= 0) close(std::exchange(descriptor_, -1));
  }

  bool IsOpen() const { return descriptor_ >= 0; }
  int Get() const { return descriptor_; }

 private:
  int descriptor_ = -1;
};

// Writes all of `size` bytes; false, with errno set, when that fails.
inline bool WriteAll(int descriptor, const char* bytes, size_t size) {
  while (size > 0) {
    const ssize_t written = write(descriptor, bytes, size);
    if (written < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    bytes += written;
    size -= static_cast<size_t>(written);
  }
  return true;
}

}  // namespace refhost

#endif  // REFHOST_COMMON_FILE_DESCRIPTOR_H
