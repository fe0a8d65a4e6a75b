// The folders in which a library's own run path has the dynamic loader look for what it needs. Who may put a file into
// one of them has his code loaded by everybody who loads the library.
#ifndef ORVHOST_VALIDATION_RUN_PATH_H
#define ORVHOST_VALIDATION_RUN_PATH_H

#include <string>
#include <vector>

namespace orvhost {

// Those of the folders in `runPath`, separated by colons, into which everybody may put a file, or that everybody may
// make or replace; a relative one counts, since it begins at the current folder. `origin` is the library's own folder,
// for which "$ORIGIN" stands. As they are written, but "." for an empty one.
[[nodiscard]] std::vector<std::string> OpenFolders(const std::string& runPath, const std::string& origin);

}  // namespace orvhost

#endif  // ORVHOST_VALIDATION_RUN_PATH_H
