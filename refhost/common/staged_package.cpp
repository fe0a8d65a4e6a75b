#include "refhost/staged_package.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string_view>
#include <system_error>

#include "posix/file_descriptor.h"
#include "posix/last_error.h"
#include "posix/private_folder.h"
#include "refhost/common/archive_reader.h"
#include "refhost/common/interrupt_source.h"
#include "refhost/common/limited_process.h"
#include "refhost/common/sha256.h"
#include "refhost/common/unpack.h"
#include "refhost/settings.h"

namespace refhost {

namespace {

namespace fs = std::filesystem;
using Fault = StagingFailure::Fault;

constexpr mode_t kFileMode = 0400;
constexpr std::uintmax_t kMiB = 1024UL * 1024UL;

constexpr const char* kChanged = "the file was changed while it was copied";

// What the work of unpacking tells of its end.
constexpr char kUnpacked = 'u';
constexpr char kBadPackage = 'b';
constexpr char kBadPlace = 'p';

StagedPackage* current = nullptr;

std::string StagingFolder() {
  return CurrentSettings().installPath + "/.orvhost-package";
}

void Remove(const std::string& folder) {
  std::error_code ignored;
  fs::remove_all(folder, ignored);  // of a link in its place only the link
}

std::uintmax_t Room(const std::string& folder) {
  std::uintmax_t free = 0;
  if (!FreeBytes(folder, &free)) {
    return kMostUnpackedBytes;
  }
  return free > kRoomLeftFree ? free - kRoomLeftFree : 0;
}

bool IsUnchanged(const struct stat& before, const struct stat& after) {
  return before.st_size == after.st_size && before.st_mtim.tv_sec == after.st_mtim.tv_sec &&
         before.st_mtim.tv_nsec == after.st_mtim.tv_nsec;
}

// Reads `source` to its end and returns its digest; each block goes to `take`. Throws ArchiveError.
std::string DigestOf(const posix::FileDescriptor& source, const std::function<void(std::string_view)>& take) {
  Sha256 digest;
  std::array<char, 65536> block{};
  for (;;) {
    const ssize_t taken = read(source.Get(), block.data(), block.size());
    if (taken < 0 && errno == EINTR) {
      continue;
    }
    if (taken < 0) {
      throw ArchiveError("it cannot be read: " + posix::LastError());
    }
    if (taken == 0) {
      return digest.TakeDigest();
    }
    const auto bytes = static_cast<std::size_t>(taken);
    digest.Add(block.data(), bytes);
    take({block.data(), bytes});
  }
}

// Copies `source`, which has `most` bytes, and returns its digest; the number of copied bytes in `*size`. Throws
// ArchiveError.
std::string CopyBytes(const posix::FileDescriptor& source, const posix::FileDescriptor& target, std::uintmax_t most,
                      std::uintmax_t* size) {
  return DigestOf(source, [&target, most, size](std::string_view block) {
    if (MustGiveUp()) {
      throw PlaceError("the run was asked to end");
    }
    *size += block.size();
    if (*size > most) {
      throw ArchiveError(kChanged);
    }
    if (!posix::WriteAll(target.Get(), block.data(), block.size())) {
      throw PlaceError("its copy cannot be written: " + posix::LastError());
    }
  });
}

}  // namespace

std::string Sha256OfFile(const std::string& path, std::string* error) {
  try {
    return DigestOf(OpenPlainFile(path), [](std::string_view) {});
  } catch (const std::exception& failure) {
    *error = failure.what();
    return "";
  }
}

StagedPackage::StagedPackage(std::string folder, std::string original)
    : folder_(std::move(folder)), original_(std::move(original)) {
  current = this;
}

StagedPackage::~StagedPackage() {
  current = nullptr;
  Remove(folder_);
}

std::unique_ptr<StagedPackage> StagedPackage::Stage(const std::string& original, StagingFailure* failure) {
  const std::string folder = StagingFolder();
  Remove(folder);
  failure->fault = Fault::kPlace;
  if (!posix::MakePrivateFolder(folder, &failure->reason)) {
    return nullptr;
  }
  std::unique_ptr<StagedPackage> package(new StagedPackage(folder, original));
  return package->Copy(failure) ? std::move(package) : nullptr;
}

bool StagedPackage::IsInItsFolder(const std::string& path) {
  std::error_code ignored;
  const fs::path folder = fs::weakly_canonical(StagingFolder(), ignored);
  const fs::path file = fs::weakly_canonical(path, ignored);
  return !folder.empty() && std::ranges::mismatch(folder, file).in1 == folder.end();
}

void StagedPackage::RemoveLeftovers() {
  Remove(StagingFolder());
}

StagedPackage* StagedPackage::Current() {
  return current;
}

std::string StagedPackage::CopyPath() const {
  return folder_ + "/package";
}

std::string StagedPackage::FilesFolder() const {
  return folder_ + "/files";
}

bool StagedPackage::MoveFilesTo(const std::string& folder) {
  std::error_code ignored;
  return fs::is_directory(fs::symlink_status(folder, ignored)) && rename(FilesFolder().c_str(), folder.c_str()) == 0;
}

bool StagedPackage::Copy(StagingFailure* failure) {
  try {
    const posix::FileDescriptor source = OpenArchiveFile(original_);
    struct stat before {};
    struct stat after {};
    fstat(source.Get(), &before);
    const auto said = static_cast<std::uintmax_t>(before.st_size);
    if (said > kMostUnpackedBytes) {
      throw ArchiveError("the file holds more than 1 GiB");
    }
    if (said > Room(folder_)) {
      throw PlaceError("the disk is too full for a copy of its " + std::to_string(said / kMiB + 1) + " MiB");
    }
    const posix::FileDescriptor target(
        open(CopyPath().c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kFileMode));
    if (!target.IsOpen()) {
      throw PlaceError("its copy cannot be made: " + posix::LastError());
    }
    sha256_ = CopyBytes(source, target, said, &size_);
    if (fstat(source.Get(), &after) != 0 || !IsUnchanged(before, after) || size_ != said) {
      throw ArchiveError(kChanged);
    }
    return true;
  } catch (const PlaceError& error) {
    *failure = {Fault::kPlace, error.what()};
  } catch (const ArchiveError& error) {
    *failure = {Fault::kPackage, error.what()};
  }
  return false;
}

bool StagedPackage::Unpack(StagingFailure* failure) const {
  failure->fault = Fault::kPlace;
  if (!posix::MakePrivateFolder(FilesFolder(), &failure->reason)) {
    return false;
  }
  return UnpackPackage(CopyPath(), FilesFolder(), Room(folder_), failure);
}

bool UnpackPackage(const std::string& archive, const std::string& folder, std::uintmax_t room,
                   StagingFailure* failure) {
  const auto unpack = [&]() -> WorkResult {
    try {
      UnpackAtOnce(archive, folder, room);
      return {kUnpacked, ""};
    } catch (const PlaceError& error) {
      return {kBadPlace, error.what()};
    } catch (const ArchiveError& error) {
      return {kBadPackage, error.what()};
    }
  };
  const WorkResult result = CurrentMachine().RunApart(unpack, {}, InterruptSource().fd);
  if (result.kind == kUnpacked) {
    return true;
  }
  if (result.kind == kWorkGivenUp) {
    GiveUp();
  }
  const bool isOfThePlace = result.kind == kBadPlace || result.kind == kWorkNotStarted || result.kind == kWorkGivenUp;
  *failure = {isOfThePlace ? Fault::kPlace : Fault::kPackage, result.text};
  return false;
}

bool FreeBytes(const std::string& path, std::uintmax_t* free) {
  fs::path folder = path;
  struct statvfs status {};
  while (statvfs(folder.c_str(), &status) != 0) {
    if (errno != ENOENT || folder == folder.parent_path()) {
      return false;
    }
    folder = folder.parent_path();
  }
  *free = static_cast<std::uintmax_t>(status.f_bavail) * status.f_frsize;
  return status.f_blocks != 0;  // a file system that counts nothing
}

}  // namespace refhost
