// Reads a zip or tar archive (also compressed) member by member. Where members go is not decided here.
#ifndef REFHOST_COMMON_ARCHIVE_READER_H
#define REFHOST_COMMON_ARCHIVE_READER_H

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "posix/file_descriptor.h"
#include "refhost/staged_package.h"

struct archive;

namespace refhost {

// What is wrong with an archive, as a sentence without its full stop.
class ArchiveError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What is wrong with the place where it is unpacked, such as a full disk, and not with the archive.
class PlaceError : public ArchiveError {
 public:
  using ArchiveError::ArchiveError;
};

// Throws what errno says as `what: TEXT`: a PlaceError unless a member's name or kind alone brings such an error.
[[noreturn]] void ThrowLastError(const std::string& what);

// Opens a file for reading; a pipe or a folder is an ArchiveError.
[[nodiscard]] posix::FileDescriptor OpenPlainFile(const std::string& path);

// The same of an archive's file, which must not be empty.
[[nodiscard]] posix::FileDescriptor OpenArchiveFile(const std::string& path);

struct ArchiveMember {
  enum class Kind { kFile, kFolder, kSymlink, kHardLink, kSpecial };
  Kind kind = Kind::kFile;
  std::string name;
  std::string linkTarget;  // of a symbolic or hard link
  mode_t permissions = 0;
  std::uintmax_t size = 0;  // that its data is said to have; 0 when nothing is said
};

class ArchiveReader {
 public:
  using Take = std::function<void(const char* bytes, std::size_t size)>;

  // Opens the archive at `path`. Like every operation here it throws ArchiveError.
  explicit ArchiveReader(const std::string& path);

  // Goes to the next member, whose data is then to be read once; false behind the last one.
  [[nodiscard]] bool Next(ArchiveMember* member);

  // Hands the member's data to `take` in pieces and checks it against the archive's own checksums.
  void ReadData(const Take& take);

 private:
  [[noreturn]] void Fail(const std::string& fallback) const;
  void CheckStream() const;
  void LimitBytes(std::uintmax_t more) const;
  [[nodiscard]] bool LacksTarEnd(long long dataEnd) const;

  posix::FileDescriptor file_;
  std::unique_ptr<archive, int (*)(archive*)> archive_;
  std::uintmax_t bytesRead_ = 0;
  std::size_t members_ = 0;
};

}  // namespace refhost

#endif  // REFHOST_COMMON_ARCHIVE_READER_H
