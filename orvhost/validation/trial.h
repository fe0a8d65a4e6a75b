// A plug-in on trial: loaded under an install path that is an empty folder, with a host that refuses to run commands
// and makes no pauses, and remembers what it was asked for. For the process of one check, which ends afterwards.
#ifndef ORVHOST_VALIDATION_TRIAL_H
#define ORVHOST_VALIDATION_TRIAL_H

#include <string>
#include <vector>

#include "orvhost/plugin/plugin.h"
#include "orvhost/validation/validation.h"

namespace orvhost {

// Configures this process for a trial in the folder of `candidate`: install path kInstallFolder below it, and "work" as
// the current, home and temporary folder.
inline constexpr const char* kInstallFolder = "/install";
void PrepareTrial(const Candidate& candidate);

// The commands that were refused in this process.
[[nodiscard]] const std::vector<std::string>& RefusedCommands();

// The pauses that were asked for in this process, in milliseconds; none of them was made.
[[nodiscard]] unsigned long PausesAskedFor();

// Prepares a trial, loads the plug-in, and returns what `judge(plugin)` finds; a failure when it cannot be loaded.
template <typename Judge>
[[nodiscard]] CheckResult WithPlugin(const Candidate& candidate, Judge judge) {
  PrepareTrial(candidate);
  std::string error;
  const std::unique_ptr<Plugin> plugin = Plugin::Load(candidate.path, &error);
  return plugin ? judge(*plugin) : CheckResult::Fail(error);
}

// The same with a vendor object, which is released afterwards: `judge(vendor)`.
template <typename Judge>
[[nodiscard]] CheckResult WithVendor(const Candidate& candidate, Judge judge) {
  return WithPlugin(candidate, [&candidate, &judge](const Plugin& plugin) {
    CVendor* vendor = plugin.Create(candidate.className.c_str(), kProvider);
    if (vendor == nullptr) {
      return CheckResult::Fail("there is no object of the class " + candidate.className);
    }
    CheckResult result = judge(*vendor);
    plugin.Release(vendor);
    return result;
  });
}

}  // namespace orvhost

#endif  // ORVHOST_VALIDATION_TRIAL_H
