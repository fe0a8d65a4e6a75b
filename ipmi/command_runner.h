// The plug-in's own runner for a shell command whose output must go to the system console or to a file. Everything else
// is run by the host's CCommon_Information::ExecForeignModule, whose parameters and results this one shares.
#ifndef IPMI_COMMAND_RUNNER_H
#define IPMI_COMMAND_RUNNER_H

#include <string>

namespace kestrel {

// Runs `command` by the shell in `workDir` ("" for the current folder), its standard output in `outputFile` ("" for the
// system console), its standard error on the system console. `timeoutMs` is in milliseconds, or
// host::kNoTimeLimit.
//
// host::kCommandRan: the command ran to its end and `*exitCode` is its exit status, which is 1 also when its output
// could not be opened. host::kCommandNotRun: it could not be run, or a signal ended or stopped it.
// host::kCommandTimedOut: the limit passed; the command is left running, since ending a flash half-way is worse than
// losing sight of it. `*exitCode` is 255 with the latter two.
[[nodiscard]] int RunToConsole(const std::string& command, const std::string& outputFile, const std::string& workDir,
                               unsigned long* exitCode, unsigned long timeoutMs);

}  // namespace kestrel

#endif  // IPMI_COMMAND_RUNNER_H
