// Turns the command line into a command and its options.
#ifndef REFHOST_DRIVER_COMMAND_LINE_H
#define REFHOST_DRIVER_COMMAND_LINE_H

#include <optional>

#include "refhost/driver/commands.h"

namespace refhost {

struct ParsedCommandLine {
  const Command* command = nullptr;  // null when there is nothing to run
  Options options;
  Outcome outcome;  // without a command: the refusal, or a success when help or version was asked for and printed
};

ParsedCommandLine ParseCommandLine(int argc, const char* const* argv);

}  // namespace refhost

#endif  // REFHOST_DRIVER_COMMAND_LINE_H
