// A file that a subcommand writes where the operator says.
#ifndef ORVHOST_COMMANDS_OUTPUT_FILE_H
#define ORVHOST_COMMANDS_OUTPUT_FILE_H

#include <string>
#include <string_view>

#include "orvhost/run/run.h"

namespace orvhost {

enum class OutputFile { kMustBeNew, kMayBeReplaced };

// Writes the file as a whole: nobody sees a part of it. False, with the failure in `*outcome` and nothing changed, when
// the path cannot be used or the file not be written; `option` is the option that gave the path.
[[nodiscard]] bool WriteOutputFile(const Run& run, const std::string& option, const std::string& path,
                                   std::string_view content, OutputFile kind, Outcome* outcome);

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_OUTPUT_FILE_H
