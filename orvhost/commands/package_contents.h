// Whether a package holds what its way of updating needs: one image, or a script with its answers. Reads a folder in
// which the package lies unpacked.
#ifndef ORVHOST_COMMANDS_PACKAGE_CONTENTS_H
#define ORVHOST_COMMANDS_PACKAGE_CONTENTS_H

#include <cstdint>
#include <string>

namespace orvhost {

// About a package without a list of its files.
inline constexpr const char* kListsNoFiles =
    "The package is an older one, whose description lists no checksums of its files.";

enum class UpdateMethod { kFlashTool, kScript };

// How the plug-in updates a server of that type.
[[nodiscard]] UpdateMethod MethodFor(const std::string& serverType);

// What is wrong with the unpacked package, a clause about "it"; "" for nothing.
[[nodiscard]] std::string ContentsComplaint(UpdateMethod method, const std::string& folder);

// Bytes of all files below the folder.
[[nodiscard]] std::uintmax_t UnpackedBytes(const std::string& folder);

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_PACKAGE_CONTENTS_H
