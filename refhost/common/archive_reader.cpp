#include "refhost/common/archive_reader.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

#include "posix/last_error.h"
#include "refhost/common/gzip_check.h"

namespace refhost {

namespace {

constexpr std::size_t kBlockSize = 65536;
constexpr long long kTarRecord = 512;
constexpr std::uintmax_t kMostStreamBytes = 2 * kMostUnpackedBytes;  // with what stands between the members
constexpr const char* kTooLarge = "it unpacks to more than 1 GiB";

std::string TextOrEmpty(const char* text) {
  return text != nullptr ? text : "";
}

ArchiveMember::Kind KindOf(archive_entry* entry) {
  if (archive_entry_hardlink(entry) != nullptr) {
    return ArchiveMember::Kind::kHardLink;
  }
  switch (archive_entry_filetype(entry)) {
    case AE_IFREG:
      return ArchiveMember::Kind::kFile;
    case AE_IFDIR:
      return ArchiveMember::Kind::kFolder;
    case AE_IFLNK:
      return ArchiveMember::Kind::kSymlink;
    default:
      return ArchiveMember::Kind::kSpecial;
  }
}

ArchiveMember Describe(archive_entry* entry) {
  ArchiveMember member;
  member.kind = KindOf(entry);
  member.name = TextOrEmpty(archive_entry_pathname(entry));
  if (member.name.empty()) {
    member.name = TextOrEmpty(archive_entry_pathname_utf8(entry));
  }
  if (member.kind == ArchiveMember::Kind::kHardLink) {
    member.linkTarget = TextOrEmpty(archive_entry_hardlink(entry));
  }
  if (member.kind == ArchiveMember::Kind::kSymlink) {
    member.linkTarget = TextOrEmpty(archive_entry_symlink(entry));
  }
  member.permissions = archive_entry_perm(entry);
  member.size = static_cast<std::uintmax_t>(std::max<la_int64_t>(archive_entry_size(entry), 0));
  return member;
}

// Of a member's own making: its name, or that it stands in the way of another one.
bool IsOfTheArchive(int number) {
  constexpr std::array kErrors = {ENAMETOOLONG, ENOTDIR, EISDIR, EEXIST, ENOTEMPTY, ELOOP, EMLINK, EILSEQ, EINVAL};
  return std::ranges::find(kErrors, number) != kErrors.end();
}

// The library's texts are for its developers, so only what they say of the file is taken from them.
std::string InOurWords(const std::string& reason, const std::string& fallback, bool beginsAsZip) {
  const auto says = [&reason](const char* words) { return reason.find(words) != std::string::npos; };
  const bool isUnknown = says("Unrecognized archive format");
  // What makes a zip archive one stands at its end.
  if (says("runcated") || says("unexpected end") || says("premature") || (isUnknown && beginsAsZip)) {
    return "the archive ends too early, as after an incomplete download";
  }
  if (isUnknown) {
    return kNoArchive;
  }
  if (says("CRC") || says("checksum")) {
    return "the archive is damaged, because a checksum (CRC) in it does not match";
  }
  return reason.empty() ? fallback : "the archive is damaged, because " + fallback;
}

}  // namespace

void ThrowLastError(const std::string& what) {
  const int number = errno;
  const std::string sentence = what + ": " + posix::ErrorText(number);
  if (IsOfTheArchive(number)) {
    throw ArchiveError(sentence);
  }
  throw PlaceError(sentence);
}

posix::FileDescriptor OpenPlainFile(const std::string& path) {
  posix::FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!file.IsOpen() || fstat(file.Get(), &status) != 0) {
    throw ArchiveError(posix::LastError());
  }
  if (!S_ISREG(status.st_mode)) {
    throw ArchiveError("it is not a file");
  }
  return file;
}

posix::FileDescriptor OpenArchiveFile(const std::string& path) {
  posix::FileDescriptor file = OpenPlainFile(path);
  struct stat status {};
  if (fstat(file.Get(), &status) == 0 && status.st_size == 0) {
    throw ArchiveError("the file is empty");
  }
  return file;
}

ArchiveReader::ArchiveReader(const std::string& path)
    : file_(OpenArchiveFile(path)), archive_(archive_read_new(), archive_read_free) {
  // Not the reader that does without the directory at a zip archive's end: it takes one that is cut off for whole.
  archive_read_support_format_zip_seekable(archive_.get());
  archive_read_support_format_tar(archive_.get());
  archive_read_support_filter_gzip(archive_.get());
  archive_read_support_filter_bzip2(archive_.get());
  archive_read_support_filter_xz(archive_.get());
  archive_read_support_filter_zstd(archive_.get());
  if (archive_read_open_fd(archive_.get(), file_.Get(), kBlockSize) != ARCHIVE_OK) {
    Fail("it is not an archive");
  }
  if (archive_filter_code(archive_.get(), 0) == ARCHIVE_FILTER_GZIP) {
    CheckStream();
  }
}

void ArchiveReader::CheckStream() const {
  switch (CheckGzip(file_.Get(), kMostStreamBytes)) {
    case GzipState::kWhole:
      return;
    case GzipState::kDamaged:
      throw ArchiveError("the archive is damaged or cut off");
    case GzipState::kTooLarge:
      throw ArchiveError(kTooLarge);
  }
}

bool ArchiveReader::Next(ArchiveMember* member) {
  const long long dataEnd = archive_filter_bytes(archive_.get(), 0);
  archive_entry* entry = nullptr;
  const int result = archive_read_next_header(archive_.get(), &entry);
  if (result == ARCHIVE_EOF) {
    if (LacksTarEnd(dataEnd)) {
      throw ArchiveError("the archive is cut off");
    }
    return false;
  }
  if (result != ARCHIVE_OK && result != ARCHIVE_WARN) {
    Fail("it is not an archive");
  }
  if (++members_ > kMostMembers) {
    throw ArchiveError("it holds more than " + std::to_string(kMostMembers) + " members");
  }
  *member = Describe(entry);
  LimitBytes(member->size);
  return true;
}

void ArchiveReader::ReadData(const Take& take) {
  std::array<char, kBlockSize> block{};
  for (;;) {
    const la_ssize_t size = archive_read_data(archive_.get(), block.data(), block.size());
    if (size == 0) {
      return;
    }
    if (size < 0) {
      Fail("a member cannot be read");
    }
    LimitBytes(static_cast<std::uintmax_t>(size));
    bytesRead_ += static_cast<std::uintmax_t>(size);
    take(block.data(), static_cast<std::size_t>(size));
  }
}

// What stands between the members counts too: the headers of a tar archive are compressed like everything else.
void ArchiveReader::LimitBytes(std::uintmax_t more) const {
  const auto taken = static_cast<std::uintmax_t>(std::max<la_int64_t>(archive_filter_bytes(archive_.get(), 0), 0));
  if (more > kMostUnpackedBytes || bytesRead_ + more > kMostUnpackedBytes || taken > kMostStreamBytes) {
    throw ArchiveError(kTooLarge);
  }
}

void ArchiveReader::Fail(const std::string& fallback) const {
  if (archive_errno(archive_.get()) == ENOMEM) {
    throw ArchiveError("it takes too much memory");
  }
  std::array<char, 4> start{};
  const bool beginsAsZip = pread(file_.Get(), start.data(), start.size(), 0) == static_cast<ssize_t>(start.size()) &&
                           std::string_view(start.data(), start.size()) == "PK\x03\x04";
  throw ArchiveError(InOurWords(TextOrEmpty(archive_error_string(archive_.get())), fallback, beginsAsZip));
}

// A tar archive ends with records of zeros. The reader takes a file that was cut off between two members for whole.
bool ArchiveReader::LacksTarEnd(long long dataEnd) const {
  if ((archive_format(archive_.get()) & ARCHIVE_FORMAT_BASE_MASK) != ARCHIVE_FORMAT_TAR) {
    return false;
  }
  const long long membersEnd = (dataEnd + kTarRecord - 1) / kTarRecord * kTarRecord;
  return archive_filter_bytes(archive_.get(), 0) < membersEnd + kTarRecord;
}

}  // namespace refhost
