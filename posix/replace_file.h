// Replaces a file as a whole: readers see the old content or the new one, also after a power loss.
#ifndef POSIX_REPLACE_FILE_H
#define POSIX_REPLACE_FILE_H

#include <sys/types.h>

#include <string>
#include <string_view>

namespace posix {

// Writes `content` to a temporary file beside `path`, gives it the permissions `mode`, brings it to the disk and
// renames it. False, with the reason in `*error` and the old file untouched, when any of that fails.
[[nodiscard]] bool ReplaceFile(const std::string& path, std::string_view content, mode_t mode, std::string* error);

// Removes the temporary files that a ReplaceFile of `path` left when its process was killed. Only for who knows that
// none is at work.
void RemoveUnfinished(const std::string& path);

}  // namespace posix

#endif  // POSIX_REPLACE_FILE_H
