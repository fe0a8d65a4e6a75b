// Reads a zip or tar archive (also compressed) member by member. Where members go is not decided here.
#ifndef REFHOST_COMMON_ARCHIVE_READER_H
#define REFHOST_COMMON_ARCHIVE_READER_H

#include <sys/types.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "posix/file_descriptor.h"

struct archive;

namespace refhost {

// What is wrong with an archive, or with the place where it is unpacked, as a sentence without its full stop.
class ArchiveError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct ArchiveMember {
  enum class Kind { kFile, kFolder, kSymlink, kHardLink, kSpecial };
  Kind kind = Kind::kFile;
  std::string name;
  std::string linkTarget;  // of a symbolic or hard link
  mode_t permissions = 0;
};

class ArchiveReader {
 public:
  using Take = std::function<void(const char* bytes, std::size_t size)>;

  // Opens the archive at `path`. Like every operation here it throws ArchiveError.
  explicit ArchiveReader(const std::string& path);

  // Goes to the next member, whose data is then to be read once; false behind the last one.
  [[nodiscard]] bool Next(ArchiveMember* member);

  // Hands the member's data to `take` in pieces and checks it against the archive's own checksums. All members together
  // may hold 1 GiB: a few bytes can stand for more than any disk holds.
  void ReadData(const Take& take);

 private:
  void Fail(const std::string& fallback) const;
  [[nodiscard]] bool LacksTarEnd(long long dataEnd) const;

  posix::FileDescriptor file_;
  std::unique_ptr<archive, int (*)(archive*)> archive_;
  std::size_t bytesRead_ = 0;
};

}  // namespace refhost

#endif  // REFHOST_COMMON_ARCHIVE_READER_H
