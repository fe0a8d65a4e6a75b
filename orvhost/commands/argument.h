// What a subcommand takes on its command line, as a value: how it is parsed and described is the command line's.
#ifndef ORVHOST_COMMANDS_ARGUMENT_H
#define ORVHOST_COMMANDS_ARGUMENT_H

#include <string>
#include <variant>
#include <vector>

#include "orvhost/interface/options.h"

namespace orvhost {

struct Argument {
  const char* name;  // "--out", or "package" for one that has no name on the command line
  std::variant<bool Options::*, std::string Options::*, std::vector<std::string> Options::*, double Options::*> value;
  const char* description;
  const char* typeName = "";  // what stands for the value in the help; none for a flag
  bool isRequired = false;
  bool showsDefault = false;                                    // in the help
  std::string (*complaint)(const std::string& text) = nullptr;  // "" about a good value; null when all are good
};

// Those that several subcommands take.
inline constexpr Argument kPackageArgument{"package", &Options::packagePath, "Update package: a zip or tar archive",
                                           "FILE", true};
inline constexpr Argument kAllowOlderFlag{"--allow-older", &Options::allowOlder,
                                          "Write a version older than the running one too"};
inline constexpr Argument kAllowReinstallFlag{"--allow-reinstall", &Options::allowReinstall,
                                              "Write a version again that runs or waits"};
inline constexpr Argument kDryRunFlag{"--dry-run", &Options::dryRun, "Say what would be done and change nothing"};

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_ARGUMENT_H
