// Replaces a file as a whole: readers see the old content or the new one, also after a power loss.
#ifndef REFHOST_COMMON_REPLACE_FILE_H
#define REFHOST_COMMON_REPLACE_FILE_H

#include <string>
#include <string_view>

#include "refhost/export.h"

namespace refhost {

// Writes `content` to a temporary file beside `path`, brings it to the disk and renames it. False, with the reason in
// `*error` and the old file untouched, when any of that fails.
[[nodiscard]] REFHOST_EXPORT bool ReplaceFile(const std::string& path, std::string_view content, std::string* error);

}  // namespace refhost

#endif  // REFHOST_COMMON_REPLACE_FILE_H
