#include "firmware/update_command.h"

#include "host/DllCommon.h"
#include "ipmi/command_runner.h"

namespace kestrel {

CommandOutcome RunByHost(const std::string& command, unsigned long timeoutMs) {
  unsigned long exitCode = 0;
  const int result = CCommon_Information::ExecForeignModule(command, "", "", &exitCode, timeoutMs);
  return {result, static_cast<int>(exitCode)};
}

CommandOutcome RunOnConsole(const std::string& command, const std::string& workDir, unsigned long timeoutMs) {
  unsigned long exitCode = 0;
  const int result = RunToConsole(command, "", workDir, &exitCode, timeoutMs);
  return {result, static_cast<int>(exitCode)};
}

}  // namespace kestrel
