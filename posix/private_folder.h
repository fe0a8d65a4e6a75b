// A folder that nobody but the user of this process (and root) can look into or change.
#ifndef POSIX_PRIVATE_FOLDER_H
#define POSIX_PRIVATE_FOLDER_H

#include <string>

namespace posix {

// Makes the folder `path` with the mode 0700, and its parents when they are missing. One that is there is taken when it
// belongs to this process' user, and its mode set. False, with the reason without a full stop in `*error`, when it
// cannot be made or used, belongs to somebody else or is something else; a link is not followed.
[[nodiscard]] bool MakePrivateFolder(const std::string& path, std::string* error);

}  // namespace posix

#endif  // POSIX_PRIVATE_FOLDER_H
