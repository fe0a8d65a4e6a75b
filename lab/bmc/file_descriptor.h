// Owner of one file descriptor; closes it when it goes.
#ifndef LAB_BMC_FILE_DESCRIPTOR_H
#define LAB_BMC_FILE_DESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace kv6000 {

class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int fd) : fd_(fd) {}
  FileDescriptor(FileDescriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
      Reset();
      fd_ = std::exchange(other.fd_, -1);
    }
    return *this;
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() { Reset(); }

  void Reset() {
    if (fd_ >= 0) {
      ::close(std::exchange(fd_, -1));
    }
  }

  [[nodiscard]] int get() const { return fd_; }
  [[nodiscard]] bool valid() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

}  // namespace kv6000

#endif  // LAB_BMC_FILE_DESCRIPTOR_H
