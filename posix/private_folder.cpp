#include "posix/private_folder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>
#include <system_error>

#include "posix/file_descriptor.h"
#include "posix/last_error.h"

namespace posix {

namespace {

constexpr mode_t kMode = 0700;
constexpr mode_t kPermissions = 07777;

}  // namespace

bool MakePrivateFolder(const std::string& path, std::string* error) {
  std::error_code failure;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), failure);
  if (failure || (mkdir(path.c_str(), kMode) != 0 && errno != EEXIST)) {
    *error = "the folder " + path + " cannot be made: " + (failure ? failure.message() : LastError());
    return false;
  }
  const FileDescriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat status {};
  if (!folder.IsOpen() || fstat(folder.Get(), &status) != 0) {
    *error = "the folder " + path + " cannot be used: " + LastError();
    return false;
  }
  if (status.st_uid != geteuid()) {
    *error = "the folder " + path + " belongs to another user (number " + std::to_string(status.st_uid) + ")";
    return false;
  }
  if ((status.st_mode & kPermissions) != kMode && fchmod(folder.Get(), kMode) != 0) {
    *error = "the folder " + path + " cannot be kept from others: " + LastError();
    return false;
  }
  return true;
}

}  // namespace posix
