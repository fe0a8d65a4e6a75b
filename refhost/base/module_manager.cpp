// CModuleManager and CFirmware: the records of one module, kept in the state file, and the stages of its update. Every
// operation reads the file anew, so that what another run of the host recorded is seen.
#include <chrono>
#include <functional>
#include <utility>

#include "host/Results.h"
#include "refhost/base/object_count.h"
#include "refhost/contract.h"
#include "refhost/machine.h"
#include "refhost/module_state.h"
#include "refhost/package.h"
#include "refhost/settings.h"
#include "refhost/staged_package.h"

namespace {

using refhost::ModuleState;

void Trace(const std::string& text) {
  CTraceUtility::WriteDebug("host", CTraceUtility::TRACE_DBG_ERROR, "%s", text.c_str());
}

// False when there are records that cannot be used; they must not be replaced then.
bool Load(ModuleState* state) {
  std::string error;
  if (refhost::LoadModuleState(refhost::ModuleStateFolder(), state, &error)) {
    return true;
  }
  Trace(error);
  return false;
}

// For who only asks.
ModuleState Load() {
  ModuleState state;
  (void)Load(&state);
  return state;
}

int Save(const ModuleState& state) {
  std::string error;
  if (refhost::SaveModuleState(refhost::ModuleStateFolder(), state, &error)) {
    return host::kSuccess;
  }
  Trace(error);
  return host::kFailure;
}

int Change(const std::function<void(ModuleState*)>& change) {
  ModuleState state;
  if (!Load(&state)) {
    return host::kFailure;
  }
  change(&state);
  return Save(state);
}

std::string Today() {
  const auto now = std::chrono::floor<std::chrono::seconds>(refhost::CurrentMachine().Now());
  const auto day = std::chrono::floor<std::chrono::days>(now);
  const std::chrono::year_month_day date{day};
  const std::chrono::hh_mm_ss time{now - day};
  std::string text(sizeof "2000-01-01T00:00:00Z", '\0');
  const int length = snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02ld:%02ld:%02ldZ",
                              static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                              static_cast<unsigned>(date.day()), static_cast<long>(time.hours().count()),
                              static_cast<long>(time.minutes().count()), static_cast<long>(time.seconds().count()));
  text.resize(static_cast<std::size_t>(length));
  return text;
}

const refhost::ModuleRecord& Selected(const ModuleState& state, bool useOldModule) {
  return useOldModule ? state.previous : state.update;
}

// Reads what the package at `path` says about itself into `*record`, from the staged copy where it is the package's.
bool ReadPackage(const std::string& path, refhost::PackageManifest* manifest, refhost::ModuleRecord* record,
                 std::string* error) {
  record->packagePath = path;
  const refhost::StagedPackage* staged = refhost::StagedPackage::Current();
  if (staged == nullptr || staged->Original() != path) {
    return refhost::ReadPackageManifest(path, manifest, error);
  }
  record->packageSha256 = staged->Sha256();
  return refhost::ReadUnpackedManifest(staged->FilesFolder(), manifest, error);
}

// The file that a plug-in is to read. The record's path is no key to it: a path that is not UTF-8 is not kept as it is.
std::string FileOf(const refhost::ModuleRecord& record) {
  const refhost::StagedPackage* staged = refhost::StagedPackage::Current();
  return staged != nullptr && staged->Sha256() == record.packageSha256 ? staged->CopyPath() : record.packagePath;
}

}  // namespace

CModuleManager::CModuleManager(std::string providerText) : provider(std::move(providerText)) {
  refhost::CountModules(1);
}

CModuleManager::~CModuleManager() {
  refhost::CountModules(-1);
}

int CModuleManager::CheckRegisterUpdateModule(CManageRepositoryInfo package) {
  return package.moduleVersion.empty() ? host::kFailure : host::kSuccess;
}

int CModuleManager::RegistUpdateModule(std::string moduleId, std::string packagePath) {
  refhost::PackageManifest manifest;
  refhost::ModuleRecord record;
  std::string error;
  if (!ReadPackage(packagePath, &manifest, &record, &error)) {
    Trace("Cannot register [" + packagePath + "]: " + error);
    return host::kFailure;
  }
  record.info = {moduleId, manifest.name, host::kFirmwareKind, "", manifest.version, manifest.model};
  if (CheckRegisterUpdateModule(record.info) != host::kSuccess) {
    return host::kFailure;
  }
  return Change([&record](ModuleState* state) {
    if (state->updateStatus != refhost::kUpdateRegistered) {
      // A version that was not recorded as the installed one cannot be put into operation.
      const bool isIncomplete = state->updateStatus == refhost::kUpdateWritten && !refhost::IsWritten(*state);
      state->statusBefore = isIncomplete ? refhost::kUpdateFailed : state->updateStatus;
    }
    state->update = record;
    state->updateStatus = refhost::kUpdateRegistered;
    state->updateProgress = 0;
  });
}

CManageModuleInfo CModuleManager::GetManageModuleInfo() {
  return {"", host::kFirmwareKind, GetOperatingModuleInfo(), GetUpdateModuleInfo()};
}

CManageRepositoryInfo CModuleManager::GetOldOperatingModuleInfo() {
  return Load().previous.info;
}

CManageRepositoryInfo CModuleManager::GetOperatingModuleInfo() {
  return Load().operating.info;
}

CManageRepositoryInfo CModuleManager::GetUpdateModuleInfo() {
  CManageRepositoryInfo info = Load().update.info;
  // A plug-in that reads the running version here has nothing to do; without a version it writes the package.
  if (refhost::CurrentSettings().writesAgain) {
    info.moduleVersion.clear();
  }
  return info;
}

int CModuleManager::GetUpdatePriority() {
  return Load().updatePriority;
}

void CModuleManager::SetUpdatePriority(int priority) {
  Change([priority](ModuleState* state) { state->updatePriority = priority; });
}

int CModuleManager::InitializeOperatingModuleInfo(std::string version) {
  ModuleState state;
  if (!Load(&state)) {
    return host::kFailure;
  }
  if (!state.operating.info.moduleVersion.empty()) {
    return host::kSuccess;
  }
  state.operating.info.moduleKind = host::kFirmwareKind;
  state.operating.info.moduleVersion = std::move(version);
  return Save(state);
}

int CModuleManager::CheckDependentInfo(CDependencyInfo dependency, bool useUpdateModule, bool allowEqual) {
  const CManageRepositoryInfo record = useUpdateModule ? GetUpdateModuleInfo() : GetOperatingModuleInfo();
  if (!dependency.moduleId.empty() && dependency.moduleId != record.moduleId) {
    return host::kFailure;
  }
  if (dependency.version.empty()) {
    return host::kSuccess;
  }
  if (dependency.version == record.moduleVersion) {
    return allowEqual ? host::kSuccess : host::kFailure;
  }
  return CheckVendorVersion(dependency.version, record.moduleVersion) == 1 ? host::kSuccess : host::kFailure;
}

int CModuleManager::ApplyUpdatesRepository() {
  return Change([](ModuleState* state) {
    // Of a version that is written again, the one before both stays the previous one.
    if (state->operating.info.moduleVersion != state->update.info.moduleVersion) {
      state->previous = state->operating;
    }
    state->operating = state->update;
  });
}

int CModuleManager::RollbackRepository() {
  return Change([](ModuleState* state) { state->operating = std::exchange(state->previous, {}); });
}

int CModuleManager::GetUpdateStatus() {
  return Load().updateStatus;
}

int CModuleManager::GetUpdateProgress() {
  return Load().updateProgress;
}

std::string CModuleManager::GetLatestUpdateDate() {
  return Load().latestUpdateDate;
}

std::string CModuleManager::GetPrevVendorVersion() {
  return Load().previousVersion;
}

int CModuleManager::ExecuteUpdateBackup(std::string backupPath, bool useOldModule) {
  return UpdateBackup(backupPath, useOldModule);
}

int CModuleManager::ExecutePreUpdate(bool useOldModule) {
  auto* firmware = dynamic_cast<CFirmware*>(this);
  ModuleState state;
  if (firmware == nullptr || !Load(&state)) {
    return host::kFailure;
  }
  const refhost::ModuleRecord& module = Selected(state, useOldModule);
  std::list<std::string> everything;
  return firmware->PreUpdate(module.info.moduleId, FileOf(module), &everything, useOldModule);
}

int CModuleManager::ExecuteUpdate(bool useOldModule) {
  auto* firmware = dynamic_cast<CFirmware*>(this);
  ModuleState state;
  if (firmware == nullptr || !Load(&state)) {
    return host::kFailure;
  }
  const refhost::ModuleRecord module = Selected(state, useOldModule);
  state.updateStatus = refhost::kUpdateRunning;
  state.statusBefore = refhost::kNoUpdate;
  state.updateProgress = 0;
  state.previousVersion = operatingVersionCache;
  // A device is not written to when the host could not remember it afterwards.
  if (Save(state) != host::kSuccess) {
    return host::kFailure;
  }
  std::list<std::string> everything;
  const int result = firmware->Update(module.info.moduleId, FileOf(module), &everything, useOldModule);
  const bool done = result == host::kSuccess || result == host::kUpdateTimedOut;
  Change([done](ModuleState* after) {
    after->updateStatus = done ? refhost::kUpdateWritten : refhost::kUpdateFailed;
    if (!done) {
      return;
    }
    after->updateProgress = 100;
    after->latestUpdateDate = Today();
  });
  return result;
}

int CModuleManager::ExecuteUpdateRestore(std::string backupPath) {
  auto* firmware = dynamic_cast<CFirmware*>(this);
  return firmware != nullptr ? firmware->UpdateRestore(backupPath) : host::kFailure;
}

int CModuleManager::ExecuteUpdateApplyCheck() {
  auto* firmware = dynamic_cast<CFirmware*>(this);
  if (firmware == nullptr) {
    return host::kFailure;
  }
  const int result = firmware->UpdateApplyCheck(GetOperatingModuleInfo().moduleId);
  if (result == host::kSuccess) {
    // That it runs what it ran before says nothing of an update that failed or was cut off.
    Change([](ModuleState* state) {
      if (!refhost::IsUnfinished(*state)) {
        state->updateStatus = refhost::kUpdateVerified;
      }
    });
  }
  return result;
}

void CModuleManager::SetUpdateStatus(int status) {
  Change([status](ModuleState* state) { state->updateStatus = status; });
}

void CModuleManager::SetUpdateProgress(int progress) {
  Change([progress](ModuleState* state) { state->updateProgress = progress; });
}

void CModuleManager::SetLatestUpdateDate(std::string date) {
  Change([&date](ModuleState* state) { state->latestUpdateDate = date; });
}

void CModuleManager::SetPrevVendorVersion(std::string version) {
  Change([&version](ModuleState* state) { state->previousVersion = version; });
}

int CModuleManager::LoadRepository(std::string path) {
  ModuleState state;
  std::string error;
  if (!refhost::LoadModuleState(path, &state, &error)) {
    Trace(error);
    return host::kFailure;
  }
  return path == refhost::ModuleStateFolder() ? host::kSuccess : Save(state);
}

std::string CModuleManager::GetOperatingVersionCache() {
  if (operatingVersionCache.empty()) {
    operatingVersionCache = GetOperatingVersion();
  }
  return operatingVersionCache;
}

// The records of this host name no dependencies.
void CModuleManager::SetDependencyInfo(CManageRepositoryInfo /*package*/) {
  dependencies.clear();
}

// A device's firmware cannot be read back, so the host's own records are what a backup holds.
int CModuleManager::UpdateBackup(std::string backupPath, bool /*useOldModule*/) {
  ModuleState state;
  std::string error;
  if (!Load(&state)) {
    return host::kFailure;
  }
  if (refhost::SaveModuleState(backupPath, state, &error)) {
    return host::kSuccess;
  }
  Trace(error);
  return host::kFailure;
}

CFirmware::CFirmware(std::string providerText) : CModuleManager(std::move(providerText)) {}

CFirmware::~CFirmware() = default;
