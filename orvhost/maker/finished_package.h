// Looks at a package as those will who get it.
#ifndef ORVHOST_MAKER_FINISHED_PACKAGE_H
#define ORVHOST_MAKER_FINISHED_PACKAGE_H

#include <string>

#include "refhost/package.h"

namespace orvhost {

// Unpacks the package at `path` into the new folder `folder` by the rules of an update, and reads its description into
// `*manifest`. What is wrong with it, a clause about "it"; "" for nothing.
[[nodiscard]] std::string UnpackFinished(const std::string& path, const std::string& folder,
                                         refhost::PackageManifest* manifest);

// Gives the finished file `made` the name `name` on the same file system, which nothing may have yet. False, with the
// reason in `*error`, when that cannot be.
[[nodiscard]] bool Publish(const std::string& made, const std::string& name, std::string* error);

}  // namespace orvhost

#endif  // ORVHOST_MAKER_FINISHED_PACKAGE_H
