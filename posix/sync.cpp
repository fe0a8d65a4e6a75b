#include "posix/sync.h"

#include <fcntl.h>
#include <unistd.h>

#include "posix/file_descriptor.h"

namespace posix {

namespace {

FileDescriptor OpenFolder(const std::string& folder) {
  return FileDescriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

}  // namespace

bool SyncFolder(const std::string& folder) {
  const FileDescriptor descriptor = OpenFolder(folder);
  return descriptor.IsOpen() && fsync(descriptor.Get()) == 0;
}

bool SyncFileSystem(const std::string& folder) {
  const FileDescriptor descriptor = OpenFolder(folder);
  return descriptor.IsOpen() && syncfs(descriptor.Get()) == 0;
}

}  // namespace posix
