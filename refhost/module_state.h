// What the host remembers about the module between its runs, kept as a small JSON file under the install path.
#ifndef REFHOST_MODULE_STATE_H
#define REFHOST_MODULE_STATE_H

#include <string>

#include "host/Records.h"
#include "refhost/export.h"

namespace refhost {

// Values of CModuleManager::GetUpdateStatus.
enum UpdateStatus : int {
  kNoUpdate = 0,
  kUpdateRegistered = 1,
  kUpdateRunning = 2,  // found after a restart: the update was cut off
  kUpdateWritten = 3,  // waits for being applied and verified
  kUpdateFailed = 4,
  kUpdateVerified = 5,
};

struct ModuleRecord {
  CManageRepositoryInfo info;
  std::string packagePath;    // as the operator named it; what was read may not be there any more
  std::string packageSha256;  // of what was read; "" when that is not known
};

struct ModuleState {
  ModuleRecord operating;
  ModuleRecord update;
  ModuleRecord previous;
  int updateStatus = kNoUpdate;
  int statusBefore = kNoUpdate;  // that the last update left, while another package is registered and not begun
  int updateProgress = 0;
  int updatePriority = 0;
  std::string latestUpdateDate;
  std::string previousVersion;
};

// What the last update that was begun left on the device: registering a package changes nothing there.
[[nodiscard]] inline int StatusOfDevice(const ModuleState& state) {
  return state.updateStatus == kUpdateRegistered && state.statusBefore != kNoUpdate ? state.statusBefore
                                                                                    : state.updateStatus;
}

// Whether the last update that was begun was cut off or failed, so that the device may have a part of it.
[[nodiscard]] inline bool IsUnfinished(const ModuleState& state) {
  return StatusOfDevice(state) == kUpdateRunning || StatusOfDevice(state) == kUpdateFailed;
}

// Whether `state` has all of an update that was written: its status, and its version as the installed one. An update
// keeps them in two writes, each of which can fail.
[[nodiscard]] inline bool IsWritten(const ModuleState& state) {
  return state.updateStatus == kUpdateWritten ? state.operating.info.moduleVersion == state.update.info.moduleVersion
                                              : StatusOfDevice(state) == kUpdateWritten;
}

// Whether `state` has neither an update nor an installed version: nothing was kept, or what was is gone.
[[nodiscard]] inline bool NamesNoUpdate(const ModuleState& state) {
  return state.updateStatus == kNoUpdate && state.operating.info.moduleVersion.empty();
}

// Folder of the state file: "repository" under the install path.
[[nodiscard]] REFHOST_EXPORT std::string ModuleStateFolder();

// Reads the state file in `folder`; an empty state when there is none. False, with the reason in `*error` and an empty
// state, when there is one that cannot be used. Changes nothing.
[[nodiscard]] REFHOST_EXPORT bool ReadModuleState(const std::string& folder, ModuleState* state, std::string* error);

// The same, but a file that can be read and not understood is kept beside under another name, which the reason tells.
[[nodiscard]] REFHOST_EXPORT bool LoadModuleState(const std::string& folder, ModuleState* state, std::string* error);

// Replaces the state file in `folder`, which is made when it is missing. False with the reason in `*error`.
[[nodiscard]] REFHOST_EXPORT bool SaveModuleState(const std::string& folder, const ModuleState& state,
                                                  std::string* error);

// Removes what a run that was killed while it replaced the state file left in `folder`. Only for a run that has the
// install path to itself.
REFHOST_EXPORT void TidyModuleState(const std::string& folder);

}  // namespace refhost

#endif  // REFHOST_MODULE_STATE_H
