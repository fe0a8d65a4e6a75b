// What the plug-in demands of a package and of the machine when it writes a firmware: the one place of the tool that
// knows it. Each text stands in the plug-in's sources; a test looks for all of them.
#ifndef ORVHOST_COMMANDS_PLUGIN_DEMANDS_H
#define ORVHOST_COMMANDS_PLUGIN_DEMANDS_H

#include <array>
#include <string_view>

#include "orvhost/trace/plugin_lines.h"

namespace orvhost::plugin_demands {

// A server whose type holds this is updated by the script that its packages bring, every other by the flash tool.
inline constexpr std::string_view kScriptServers = "kv6000rt";

// The flash tool, below the install path. It comes from the server's maker.
inline constexpr std::string_view kFlashTool = "/KV6KBMC/Yafuflash";

// At a package's top: a name that holds this is an image's. With several, the plug-in takes the one that comes last.
inline constexpr std::string_view kImage = ".ima";

// At the top of a package with a script: the script, and the answers that it reads.
inline constexpr std::string_view kScript = plugin_lines::commands::kScript.substr(1);
inline constexpr std::string_view kScriptAnswers = "Yes";

// The folder below the install path, and the one in that, in which the plug-in unpacks a package.
inline constexpr std::string_view kScratchParent = "tmp";
inline constexpr std::string_view kScratchFolder = "KV6KBMC";

// Firmware whose version begins so refuses an update without the write-mode phrase, and the text that stands in its
// place in a plug-in that was built without one.
inline constexpr auto kFirmwareWithPhrase = std::to_array<std::string_view>({"06", "16"});
inline constexpr std::string_view kPhrasePlaceholder = "SET-WRITE-MODE-PHRASE!";

// What stands before the two versions of a server with a script, "BMC:01-24,SDR:A2".
inline constexpr std::string_view kBmcVersion = "BMC:";
inline constexpr std::string_view kSdrVersion = "SDR:";

}  // namespace orvhost::plugin_demands

#endif  // ORVHOST_COMMANDS_PLUGIN_DEMANDS_H
