// The subcommands of orvhost, one source file each. A new one is a new file and a new line in the table.
#ifndef ORVHOST_COMMANDS_COMMANDS_H
#define ORVHOST_COMMANDS_COMMANDS_H

#include <array>
#include <optional>
#include <vector>

#include "orvhost/commands/argument.h"
#include "orvhost/run/run.h"

namespace orvhost {

struct Command {
  const char* name;
  const char* description;  // one line
  const char* help;         // what stands below the options in its help: what it does and changes, examples, results
  std::vector<Argument> arguments;  // of its own, in the order of its help
  Outcome (*run)(const Run& run);
  // The phases of its road, in their order. Such a run loads a plug-in and has the install path to itself; one of a
  // command without phases reads the host's own files only.
  std::vector<const char*> phases = {};
  std::optional<Outcome> (*answerAtOnce)(const Options& options) = nullptr;  // where no run is needed: no lock, journal

  [[nodiscard]] bool LoadsPlugin() const { return !phases.empty(); }
};

extern const Command kIdentifyCommand;
extern const Command kCheckCommand;
extern const Command kUpdateCommand;
extern const Command kApplyCommand;
extern const Command kVerifyCommand;
extern const Command kRollbackCommand;
extern const Command kReportCommand;
extern const Command kNotifyCommand;
extern const Command kMethodsCommand;
extern const Command kHistoryCommand;
extern const Command kShowCommand;
extern const Command kDiagnoseCommand;
extern const Command kMetricsCommand;
extern const Command kConfigCommand;
extern const Command kExplainCommand;
extern const Command kValidateCommand;
extern const Command kMakePackageCommand;
extern const Command kSignPackageCommand;

// In the order of the road of an update, then what helps beside it, then what makers of packages need.
[[nodiscard]] inline std::array<const Command*, 18> AllCommands() {
  return {&kIdentifyCommand, &kCheckCommand,       &kUpdateCommand,     &kApplyCommand,   &kVerifyCommand,
          &kRollbackCommand, &kReportCommand,      &kNotifyCommand,     &kMethodsCommand, &kHistoryCommand,
          &kShowCommand,     &kDiagnoseCommand,    &kMetricsCommand,    &kConfigCommand,  &kExplainCommand,
          &kValidateCommand, &kMakePackageCommand, &kSignPackageCommand};
}

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_COMMANDS_H
