// Brings to the disk what would otherwise be lost with the power.
#ifndef POSIX_SYNC_H
#define POSIX_SYNC_H

#include <string>

namespace posix {

// The entries of the folder itself: what was made, renamed or removed there. False with errno.
[[nodiscard]] bool SyncFolder(const std::string& folder);

// All that anybody wrote to the file system of this folder, other programs too. False with errno.
[[nodiscard]] bool SyncFileSystem(const std::string& folder);

}  // namespace posix

#endif  // POSIX_SYNC_H
