// What the program that uses the host libraries decides before it loads a plug-in. Not part of the plug-in contract.
#ifndef REFHOST_SETTINGS_H
#define REFHOST_SETTINGS_H

#include <string>

#include "refhost/export.h"

namespace refhost {

struct Settings {
  std::string installPath = "/opt/orv";  // absolute; a trailing separator is dropped
  std::string serverType;                // "" for the type that the DMI product name gives
  std::string systemRoot;                // folder that stands for "/" where DMI texts and device nodes are looked up
  bool writesAgain = false;  // a plug-in is not to see that the registered package is the running version already
};

// Replaces the settings of this process. Call it before a plug-in is loaded, not beside running services.
REFHOST_EXPORT void Configure(Settings settings);

[[nodiscard]] REFHOST_EXPORT const Settings& CurrentSettings();

// Milliseconds as this process is to wait for them: scaled by the factor in the environment variable
// ORVHOST_LAB_SLEEP_SCALE, unscaled without one. A factor that is not a number above 0 is ignored. Laboratory use only.
[[nodiscard]] REFHOST_EXPORT unsigned long ScaledMilliseconds(unsigned long milliseconds);

}  // namespace refhost

#endif  // REFHOST_SETTINGS_H
