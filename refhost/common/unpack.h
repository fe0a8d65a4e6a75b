// Unpacks an archive into a folder. What an archive may hold is decided here; nothing is ever written outside the
// folder.
#ifndef REFHOST_COMMON_UNPACK_H
#define REFHOST_COMMON_UNPACK_H

#include <cstdint>
#include <set>
#include <string>

#include "refhost/common/archive_reader.h"

namespace refhost {

// Unpacks the members named in `wanted`, all when there are none, into the existing folder. Reads the archive as a
// whole first, so that one that is damaged or refused leaves nothing in place. Throws ArchiveError.
void UnpackChecked(const std::string& archive, const std::set<std::string>& wanted, const std::string& folder);

// Unpacks everything in one pass; with an error, which is thrown as above, a part may be unpacked. Files of more than
// `room` bytes together are a PlaceError.
void UnpackAtOnce(const std::string& archive, const std::string& folder, std::uintmax_t room);

}  // namespace refhost

#endif  // REFHOST_COMMON_UNPACK_H
