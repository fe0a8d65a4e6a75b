// Reads what an update package says about itself: the file module.json at the archive's top.
#ifndef REFHOST_PACKAGE_H
#define REFHOST_PACKAGE_H

#include <string>
#include <vector>

#include "refhost/export.h"
#include "refhost/staged_package.h"

namespace refhost {

struct PackageManifest {
  std::string name;                      // shown to operators
  std::string version;                   // in the device's own grammar
  std::string model;                     // hardware variant; "" for the ordinary one
  std::vector<std::string> serverTypes;  // server types that the package is made for, lower case
};

// Reads the content of a module.json. False, with the reason in `*error`, when it is not valid. Pure.
[[nodiscard]] REFHOST_EXPORT bool ParsePackageManifest(const std::string& text, PackageManifest* manifest,
                                                       std::string* error);

// False, with the reason in `*error`, when the archive is unusable or its module.json is missing or not valid.
[[nodiscard]] REFHOST_EXPORT bool ReadPackageManifest(const std::string& packagePath, PackageManifest* manifest,
                                                      std::string* error);

// The same of a staged package, which was unpacked already.
[[nodiscard]] REFHOST_EXPORT bool ReadPackageManifest(const StagedPackage& package, PackageManifest* manifest,
                                                      std::string* error);

// True when the package is made for a server of that type: the type is listed, or a listed type is followed in it by
// a character that is neither a letter nor a digit ("kv6000-2" for "kv6000", but not "kv6000rt").
[[nodiscard]] REFHOST_EXPORT bool IsMadeFor(const PackageManifest& manifest, const std::string& serverType);

}  // namespace refhost

#endif  // REFHOST_PACKAGE_H
