// What an update package is made of: the files of a folder, or an image alone.
#ifndef ORVHOST_MAKER_PACKAGE_SOURCE_H
#define ORVHOST_MAKER_PACKAGE_SOURCE_H

#include <map>
#include <string>

#include "refhost/package.h"

namespace orvhost {

struct PackageSource {
  std::map<std::string, std::string> files;  // name in the package, and where the file is
  std::string description;                   // where a module.json is that the package can take over; "" for nowhere
};

// Finds what belongs into the package: a file by itself, of a folder everything below it. False, with the reason, a
// clause about `path`, in `*error`, when there is a link, a device or the like, nothing at all, or more than a package
// may hold (1 GiB, 10,000 files with the description).
[[nodiscard]] bool FindSource(const std::string& path, PackageSource* source, std::string* error);

// Puts size and digest of each file into `manifest->files`. False, with the reason in `*error`, when one cannot be
// read.
[[nodiscard]] bool ListFiles(const PackageSource& source, refhost::PackageManifest* manifest, std::string* error);

// The text of a module.json that says what `manifest` holds.
[[nodiscard]] std::string DescriptionText(const refhost::PackageManifest& manifest);

}  // namespace orvhost

#endif  // ORVHOST_MAKER_PACKAGE_SOURCE_H
