// The folder into which an archive is unpacked. Every path is walked from the folder's own descriptor, component by
// component and never through a symbolic link, so nothing outside can be written by an archive, nor by what somebody
// else puts into the folder meanwhile.
#ifndef REFHOST_COMMON_UNPACK_FOLDER_H
#define REFHOST_COMMON_UNPACK_FOLDER_H

#include <sys/types.h>

#include <string>

#include "posix/file_descriptor.h"
#include "refhost/common/member_path.h"

namespace refhost {

class UnpackFolder {
 public:
  // Opens the existing folder `path`. Like every operation here it throws ArchiveError.
  explicit UnpackFolder(const std::string& path);

  // Each makes the missing folders above it. A file or link that is there already is replaced.
  void MakeFolder(const MemberPath& path);
  [[nodiscard]] posix::FileDescriptor CreateFile(const MemberPath& path, mode_t permissions);
  void MakeSymlink(const MemberPath& path, const std::string& target);

  // Another name for the file `target`, which must be in the folder already.
  void MakeHardLink(const MemberPath& path, const MemberPath& target);

 private:
  posix::FileDescriptor OpenFolder(MemberPath::const_iterator first, MemberPath::const_iterator last, bool create);
  [[nodiscard]] posix::FileDescriptor OpenParent(const MemberPath& path, bool create);
  [[nodiscard]] posix::FileDescriptor PrepareParent(const MemberPath& path);

  posix::FileDescriptor folder_;
};

}  // namespace refhost

#endif  // REFHOST_COMMON_UNPACK_FOLDER_H
