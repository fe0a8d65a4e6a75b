// Looks at a package as those will who get it.
#ifndef ORVHOST_MAKER_FINISHED_PACKAGE_H
#define ORVHOST_MAKER_FINISHED_PACKAGE_H

#include <string>

#include "refhost/package.h"
#include "refhost/staged_package.h"

namespace orvhost {

// Unpacks the package at `path` into the new folder `folder` by the rules of an update, and reads its description into
// `*manifest`. False, with the reason in `*failure`, when that fails.
[[nodiscard]] bool UnpackFinished(const std::string& path, const std::string& folder,
                                  refhost::PackageManifest* manifest, refhost::StagingFailure* failure);

// Gives the finished file `made` the name `name` on the same file system, which nothing may have yet. False, with the
// reason in `*error`, when that cannot be.
[[nodiscard]] bool Publish(const std::string& made, const std::string& name, std::string* error);

}  // namespace orvhost

#endif  // ORVHOST_MAKER_FINISHED_PACKAGE_H
