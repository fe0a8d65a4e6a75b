// The update package of a run. Whoever owns the file that an operator names can replace it at any moment, so it is
// copied once into a folder that nobody else can reach, and unpacked there by a process with limits, before anything
// is done with it. Between the two a signature of the copy can be looked at. What is judged, registered and written is
// this copy; its original's path is only for people.
#ifndef REFHOST_STAGED_PACKAGE_H
#define REFHOST_STAGED_PACKAGE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "refhost/export.h"

namespace refhost {

// Why a package could not be staged, a clause without its full stop.
struct StagingFailure {
  enum class Fault { kPackage, kPlace };
  Fault fault = Fault::kPackage;  // kPlace: the package is not judged, because the folder takes no files
  std::string reason;
};

// The reason for a file that is no archive at all.
inline constexpr const char* kNoArchive = "it is neither a zip nor a tar archive";

// An archive that holds more is refused: a few bytes can stand for more than any disk holds, or for millions of names.
inline constexpr std::uintmax_t kMostUnpackedBytes = 1024UL * 1024UL * 1024UL;
inline constexpr std::size_t kMostMembers = 10000;

class REFHOST_EXPORT StagedPackage {
 public:
  // Copies the file `original` below the install path, whose only user this process must be: what a killed run left
  // there is removed first. Null, with `*failure`, when that fails; nothing is left behind then. There is one staged
  // package at most.
  [[nodiscard]] static std::unique_ptr<StagedPackage> Stage(const std::string& original, StagingFailure* failure);

  // Unpacks the copy, once. False, with `*failure`, when that fails.
  [[nodiscard]] bool Unpack(StagingFailure* failure) const;

  // True for a file in the folder that a run has for its package, and empties.
  [[nodiscard]] static bool IsInItsFolder(const std::string& path);

  // Removes what is left of a run that was killed. Also for a run that stages nothing.
  static void RemoveLeftovers();

  // The one that there is, null for none. The host's services take it where they are given its original or its copy.
  [[nodiscard]] static StagedPackage* Current();

  StagedPackage(const StagedPackage&) = delete;
  StagedPackage& operator=(const StagedPackage&) = delete;
  ~StagedPackage();  // removes everything

  [[nodiscard]] const std::string& Original() const { return original_; }
  [[nodiscard]] const std::string& Folder() const { return folder_; }  // for what else belongs to the package
  [[nodiscard]] std::string CopyPath() const;
  [[nodiscard]] std::string FilesFolder() const;  // where it lies once it is unpacked, until it is moved
  [[nodiscard]] const std::string& Sha256() const { return sha256_; }
  [[nodiscard]] std::uintmax_t Size() const { return size_; }

  // Gives the unpacked files away: they become the content of `folder`, which must exist and be empty. False, and
  // nothing is changed, when that cannot be, as on another file system or a second time.
  [[nodiscard]] bool MoveFilesTo(const std::string& folder);

 private:
  StagedPackage(std::string folder, std::string original);

  [[nodiscard]] bool Copy(StagingFailure* failure);

  const std::string folder_;
  const std::string original_;
  std::string sha256_;
  std::uintmax_t size_ = 0;
};

// Unpacks an archive into `folder`, which must exist and be empty, by a process with limits; at most `room` bytes.
// False, with `*failure`, when that fails; a part may then be unpacked.
[[nodiscard]] REFHOST_EXPORT bool UnpackPackage(const std::string& archive, const std::string& folder,
                                                std::uintmax_t room, StagingFailure* failure);

// SHA-256 of a regular file's content as StagedPackage::Sha256 has it; "" with the reason in `*error` when it cannot be
// read.
[[nodiscard]] REFHOST_EXPORT std::string Sha256OfFile(const std::string& path, std::string* error);

// Bytes that a user without privileges could still write to the file system of `path`, or of the nearest folder above
// it that exists; the number in `*free`. False when the system does not tell.
[[nodiscard]] REFHOST_EXPORT bool FreeBytes(const std::string& path, std::uintmax_t* free);

// Left free when a package is staged: for the records, the journal and what else the machine does.
inline constexpr std::uintmax_t kRoomLeftFree = 8UL * 1024UL * 1024UL;

}  // namespace refhost

#endif  // REFHOST_STAGED_PACKAGE_H
