// The configuration file: what holds where neither the command line nor the environment says otherwise.
#ifndef ORVHOST_INTERFACE_CONFIGURATION_H
#define ORVHOST_INTERFACE_CONFIGURATION_H

#include <map>
#include <string>
#include <string_view>

namespace orvhost {

inline constexpr const char* kConfigurationFile = "/etc/orvhost.conf";
inline constexpr const char* kInstallPathVariable = "ORVHOST_INSTALL_PATH";

// By its key.
using Configuration = std::map<std::string, std::string>;

// Reads lines of the form "key = value"; what begins with "#" and empty lines say nothing. False, with the line and
// what is wrong with it in `*error`, at the first that is none, has an unknown key or one that stood there before, or a
// value of the wrong type. Pure.
[[nodiscard]] bool ParseConfiguration(std::string_view text, Configuration* configuration, std::string* error);

// The same of a file, where a missing one is an empty one. False also for one that cannot be read, is no regular file,
// or could be written by others than its owner, who must be root or the user of this process.
[[nodiscard]] bool ReadConfiguration(const std::string& path, Configuration* configuration, std::string* error);

}  // namespace orvhost

#endif  // ORVHOST_INTERFACE_CONFIGURATION_H
