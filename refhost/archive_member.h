// Reads a single small member of an update package without unpacking the package.
#ifndef REFHOST_ARCHIVE_MEMBER_H
#define REFHOST_ARCHIVE_MEMBER_H

#include <string>

#include "refhost/export.h"

namespace refhost {

// Stores the member `name` of the archive at `path` in `*content`. The whole archive is read and checked. False, with
// the reason in `*error`, when the archive is unusable or holds no such file, or one of more than 1 MiB.
[[nodiscard]] REFHOST_EXPORT bool ReadArchiveMember(const std::string& path, const std::string& name,
                                                    std::string* content, std::string* error);

}  // namespace refhost

#endif  // REFHOST_ARCHIVE_MEMBER_H
