// The tool's descriptors of the simulated machine's files: numbers that no real descriptor has, so that a call which
// the simulation does not know fails at once.
#ifndef EXPLORE_DESCRIPTORS_H
#define EXPLORE_DESCRIPTORS_H

#include <array>
#include <memory>
#include <string>

#include "explore/files.h"

namespace explore {

// What open() made; a descriptor is one of its names.
class OpenFile {
 public:
  OpenFile(FilePointer opened, int how, std::string path)
      : file(std::move(opened)), flags(how), name(std::move(path)) {}
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile() { Unlock(); }

  bool Lock();  // false when another has it
  void Unlock();

  const FilePointer file;
  const int flags;
  const std::string name;  // as it was opened
  std::size_t at = 0;
  bool failsNext = false;  // the disk is full for the next write
};

class Descriptors {
 public:
  static constexpr int kFirst = 1000;
  static constexpr std::size_t kMost = 96;  // more than a run ever has

  // A new descriptor, or -1 with errno when there are too many.
  int Add(const std::shared_ptr<OpenFile>& open);

  // Null for a number that is none of them.
  [[nodiscard]] const std::shared_ptr<OpenFile>& Get(int descriptor) const;
  [[nodiscard]] OpenFile* operator[](int descriptor) const { return Get(descriptor).get(); }

  bool Close(int descriptor);
  int CloseAll();  // how many there were

 private:
  std::array<std::shared_ptr<OpenFile>, kMost> open_;
};

// A descriptor of a file: as open(), read(), write(), lseek() do it, without an event.
[[nodiscard]] std::shared_ptr<OpenFile> OpenIn(Files& files, const FilePointer& from, const char* path, int flags,
                                               mode_t mode);
[[nodiscard]] ssize_t ReadFrom(OpenFile& open, void* buffer, std::size_t size);
[[nodiscard]] ssize_t WriteTo(OpenFile& open, const void* bytes, std::size_t size, std::int64_t now);
[[nodiscard]] off_t Seek(OpenFile& open, off_t offset, int whence);

}  // namespace explore

#endif  // EXPLORE_DESCRIPTORS_H
