// The forms that versions have on a server of a type. Which of two versions is newer is the plug-in's to say. Pure.
#ifndef ORVHOST_COMMANDS_VERSION_FORM_H
#define ORVHOST_COMMANDS_VERSION_FORM_H

#include <string>
#include <string_view>

namespace orvhost {

// What is wrong with the version of a package for a server of that type, a clause; "" for nothing.
[[nodiscard]] std::string VersionComplaint(std::string_view version, std::string_view serverType);

// Whether the version that the plug-in gave for what runs has the parts that it has on such a server. Where it has not,
// the plug-in could not read the server type when it asked.
[[nodiscard]] bool IsOfServerType(std::string_view running, std::string_view serverType);

// What is to be doubted about the version that the plug-in gave for what such a server runs, a sentence; "" for
// nothing.
[[nodiscard]] std::string VersionDoubt(std::string_view running, std::string_view serverType);

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_VERSION_FORM_H
