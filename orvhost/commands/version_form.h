// The forms that a package's version may have. Which of two versions is newer is the plug-in's to say. Pure.
#ifndef ORVHOST_COMMANDS_VERSION_FORM_H
#define ORVHOST_COMMANDS_VERSION_FORM_H

#include <string>
#include <string_view>

namespace orvhost {

// What is wrong with the version of a package for a server of that type, a clause; "" for nothing.
[[nodiscard]] std::string VersionComplaint(std::string_view version, std::string_view serverType);

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_VERSION_FORM_H
