// Reads what an update package says about itself: the file module.json at the archive's top.
#ifndef REFHOST_PACKAGE_H
#define REFHOST_PACKAGE_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "refhost/export.h"

namespace refhost {

// What a description states of a file in its package.
struct StatedFile {
  std::string sha256;  // lower case
  std::uintmax_t size = 0;
};

struct PackageManifest {
  std::string name;                         // shown to operators
  std::string version;                      // in the device's own grammar
  std::string model;                        // hardware variant; "" for the ordinary one
  std::vector<std::string> serverTypes;     // server types that the package is made for, lower case
  bool listsFiles = false;                  // older packages do not
  std::map<std::string, StatedFile> files;  // by their path in the package; without the description itself
};

// The name of the description, at the package's top.
inline constexpr const char* kManifestName = "module.json";

// Reads the content of a module.json. False, with the reason in `*error`, when it is not valid. Pure.
[[nodiscard]] REFHOST_EXPORT bool ParsePackageManifest(const std::string& text, PackageManifest* manifest,
                                                       std::string* error);

// False, with the reason in `*error`, when the archive is unusable or its module.json is missing or not valid.
[[nodiscard]] REFHOST_EXPORT bool ReadPackageManifest(const std::string& packagePath, PackageManifest* manifest,
                                                      std::string* error);

// The same of a package that lies unpacked in `folder`.
[[nodiscard]] REFHOST_EXPORT bool ReadUnpackedManifest(const std::string& folder, PackageManifest* manifest,
                                                       std::string* error);

// How the files in `folder`, where the package lies unpacked, differ from those that its description lists, a clause;
// "" when they do not, and for a description without a list. What is not listed is a difference too.
[[nodiscard]] REFHOST_EXPORT std::string DifferenceFromList(const PackageManifest& manifest, const std::string& folder);

// True when the package is made for a server of that type: the type is listed, or a listed type is followed in it by
// a character that is neither a letter nor a digit ("kv6000-2" for "kv6000", but not "kv6000rt").
[[nodiscard]] REFHOST_EXPORT bool IsMadeFor(const PackageManifest& manifest, const std::string& serverType);

}  // namespace refhost

#endif  // REFHOST_PACKAGE_H
