// Chooses the command-line tool through which the plug-in talks to the BMC, and tells its form.
#ifndef IPMI_TOOL_SELECTION_H
#define IPMI_TOOL_SELECTION_H

#include <string>

namespace kestrel {

inline constexpr const char* kMakersTool = "/opt/kestrel/node_keeper/ipmi_tools/ipmicmd";
inline constexpr const char* kIpmitool = "/usr/bin/ipmitool";

// Path of the tool to use: the maker's own wins whenever both are there. "" when neither can be opened for reading;
// then "23" stands in front of `*errorCode`.
[[nodiscard]] std::string SelectIpmiTool(std::string* errorCode);

// True when `toolPath` names the maker's tool, which reads its request from standard input; every other path is driven
// as ipmitool. Throws std::out_of_range for a path of fewer than seven characters.
[[nodiscard]] bool IsMakersTool(const std::string& toolPath);

}  // namespace kestrel

#endif  // IPMI_TOOL_SELECTION_H
