// Writes a zip archive that is the same bytes whenever and wherever it is written: files are stored in the order of
// their names, without compression, times and owners.
#ifndef ORVHOST_MAKER_ZIP_ARCHIVE_H
#define ORVHOST_MAKER_ZIP_ARCHIVE_H

#include <map>
#include <string>

namespace orvhost {

// Writes the archive `path`, which must not be there yet: first a file `firstName` with that content, then those in
// `files` (name in the archive, and where the file is). One that its owner may execute, everybody may in the archive.
// False, with the reason in `*error`, when something cannot be read or written; a part may then stand there.
[[nodiscard]] bool WriteZipArchive(const std::string& path, const std::string& firstName,
                                   const std::string& firstContent, const std::map<std::string, std::string>& files,
                                   std::string* error);

}  // namespace orvhost

#endif  // ORVHOST_MAKER_ZIP_ARCHIVE_H
