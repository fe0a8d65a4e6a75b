// Turns the command line into a command and its options.
#ifndef ORVHOST_COMMAND_LINE_H
#define ORVHOST_COMMAND_LINE_H

#include <optional>

#include "orvhost/commands/commands.h"

namespace orvhost {

struct ParsedCommandLine {
  const Command* command = nullptr;  // null when there is nothing to run
  Options options;
  Outcome outcome;     // without a command: the refusal, or a success when help or version was asked for
  std::string answer;  // the help or the version
};

[[nodiscard]] ParsedCommandLine ParseCommandLine(int argc, const char* const* argv);

}  // namespace orvhost

#endif  // ORVHOST_COMMAND_LINE_H
