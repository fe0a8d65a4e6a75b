#include "refhost/common/unpack_folder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "refhost/common/archive_reader.h"

namespace refhost {

namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t kFolderMode = 0755;
constexpr mode_t kAllowedPermissions = 0755;  // nobody else may write, and no set-id bits

}  // namespace

UnpackFolder::UnpackFolder(const std::string& path) : folder_(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
  if (!folder_.IsOpen()) {
    ThrowLastError("the folder " + path + " cannot be opened");
  }
}

void UnpackFolder::MakeFolder(const MemberPath& path) {
  OpenFolder(path.begin(), path.end(), true);
}

posix::FileDescriptor UnpackFolder::CreateFile(const MemberPath& path, mode_t permissions) {
  const posix::FileDescriptor parent = PrepareParent(path);
  posix::FileDescriptor file(openat(parent.Get(), path.back().c_str(),
                                    O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                    (permissions & kAllowedPermissions) | S_IRUSR | S_IWUSR));
  if (!file.IsOpen()) {
    ThrowLastError("cannot create the file");
  }
  return file;
}

void UnpackFolder::MakeSymlink(const MemberPath& path, const std::string& target) {
  const posix::FileDescriptor parent = PrepareParent(path);
  if (symlinkat(target.c_str(), parent.Get(), path.back().c_str()) != 0) {
    ThrowLastError("cannot make the link");
  }
}

void UnpackFolder::MakeHardLink(const MemberPath& path, const MemberPath& target) {
  const posix::FileDescriptor targetParent = OpenParent(target, false);
  // A second name for a symbolic link would change what a relative target means.
  struct stat status {};
  if (fstatat(targetParent.Get(), target.back().c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
      !S_ISREG(status.st_mode)) {
    throw ArchiveError("the file that it is another name for is not there");
  }
  if (path == target) {
    return;
  }
  const posix::FileDescriptor parent = PrepareParent(path);
  if (linkat(targetParent.Get(), target.back().c_str(), parent.Get(), path.back().c_str(), 0) != 0) {
    ThrowLastError("cannot make the link");
  }
}

posix::FileDescriptor UnpackFolder::OpenFolder(MemberPath::const_iterator first, MemberPath::const_iterator last,
                                               bool create) {
  posix::FileDescriptor folder(openat(folder_.Get(), ".", kFolderFlags));
  for (auto component = first; component != last; ++component) {
    if (create && mkdirat(folder.Get(), component->c_str(), kFolderMode) != 0 && errno != EEXIST) {
      ThrowLastError("cannot make the folder " + *component);
    }
    folder = posix::FileDescriptor(openat(folder.Get(), component->c_str(), kFolderFlags));
    if (!folder.IsOpen()) {
      ThrowLastError(*component + " is not a folder that can be used");
    }
  }
  return folder;
}

posix::FileDescriptor UnpackFolder::OpenParent(const MemberPath& path, bool create) {
  if (path.empty()) {
    throw ArchiveError("the name stands for the folder itself");
  }
  return OpenFolder(path.begin(), path.end() - 1, create);
}

posix::FileDescriptor UnpackFolder::PrepareParent(const MemberPath& path) {
  posix::FileDescriptor parent = OpenParent(path, true);
  if (unlinkat(parent.Get(), path.back().c_str(), 0) != 0 && errno != ENOENT) {
    ThrowLastError("cannot replace what is there");
  }
  return parent;
}

}  // namespace refhost
