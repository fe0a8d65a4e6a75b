#include "refhost/common/replace_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>

#include "posix/file_descriptor.h"
#include "posix/last_error.h"

namespace refhost {

namespace {

constexpr mode_t kFileMode = 0644;

bool SyncFolderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  const posix::FileDescriptor descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return descriptor.IsOpen() && fsync(descriptor.Get()) == 0;
}

}  // namespace

bool ReplaceFile(const std::string& path, std::string_view content, std::string* error) {
  std::string temporary = path + ".XXXXXX";
  posix::FileDescriptor descriptor(mkostemp(temporary.data(), O_CLOEXEC));
  if (!descriptor.IsOpen()) {
    *error = "cannot create a file beside " + path + ": " + posix::LastError();
    return false;
  }
  const bool complete = fchmod(descriptor.Get(), kFileMode) == 0 &&
                        posix::WriteAll(descriptor.Get(), content.data(), content.size()) &&
                        fsync(descriptor.Get()) == 0 && rename(temporary.c_str(), path.c_str()) == 0;
  if (!complete) {
    *error = "cannot write " + path + ": " + posix::LastError();
    unlink(temporary.c_str());
    return false;
  }
  if (!SyncFolderOf(path)) {
    *error = "cannot bring " + path + " to the disk: " + posix::LastError();
    return false;
  }
  return true;
}

}  // namespace refhost
