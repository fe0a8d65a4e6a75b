// liborv_ProviderBase as the scripted host plays it: the module records are the script's, everything else is trivial.
#include <utility>

#include "host/ProviderBase.h"
#include "tests/support/scripted_host.h"

// NOLINTBEGIN(performance-unnecessary-value-param): texts come by value, as the host's contract has them.

CModuleManager::CModuleManager(std::string text) : provider(std::move(text)) {}
CModuleManager::~CModuleManager() = default;

CManageRepositoryInfo CModuleManager::GetOldOperatingModuleInfo() {
  ScriptedHost::Current()->Note("ask old module");
  return ScriptedHost::Current()->oldModule;
}

CManageRepositoryInfo CModuleManager::GetOperatingModuleInfo() {
  ScriptedHost::Current()->Note("ask operating module");
  return ScriptedHost::Current()->operatingModule;
}

CManageRepositoryInfo CModuleManager::GetUpdateModuleInfo() {
  ScriptedHost::Current()->Note("ask update module");
  return ScriptedHost::Current()->updateModule;
}

int CModuleManager::CheckRegisterUpdateModule(CManageRepositoryInfo) {
  return 0;
}
int CModuleManager::RegistUpdateModule(std::string, std::string) {
  return 0;
}
CManageModuleInfo CModuleManager::GetManageModuleInfo() {
  return {};
}
int CModuleManager::GetUpdatePriority() {
  return 0;
}
void CModuleManager::SetUpdatePriority(int) {}
int CModuleManager::InitializeOperatingModuleInfo(std::string) {
  return 0;
}
int CModuleManager::CheckDependentInfo(CDependencyInfo, bool, bool) {
  return 0;
}
int CModuleManager::ApplyUpdatesRepository() {
  return 0;
}
int CModuleManager::RollbackRepository() {
  return 0;
}
int CModuleManager::GetUpdateStatus() {
  return 0;
}
int CModuleManager::GetUpdateProgress() {
  return 0;
}
std::string CModuleManager::GetLatestUpdateDate() {
  return "";
}
std::string CModuleManager::GetPrevVendorVersion() {
  return "";
}
int CModuleManager::ExecuteUpdateBackup(std::string, bool) {
  return 0;
}
int CModuleManager::ExecutePreUpdate(bool) {
  return 0;
}
int CModuleManager::ExecuteUpdate(bool) {
  return 0;
}
int CModuleManager::ExecuteUpdateRestore(std::string) {
  return 0;
}
int CModuleManager::ExecuteUpdateApplyCheck() {
  return 0;
}
void CModuleManager::SetUpdateStatus(int) {}
void CModuleManager::SetUpdateProgress(int) {}
void CModuleManager::SetLatestUpdateDate(std::string) {}
void CModuleManager::SetPrevVendorVersion(std::string) {}
int CModuleManager::LoadRepository(std::string) {
  return 0;
}
std::string CModuleManager::GetOperatingVersionCache() {
  return "";
}
void CModuleManager::SetDependencyInfo(CManageRepositoryInfo) {}
int CModuleManager::UpdateBackup(std::string, bool) {
  return 0;
}

CFirmware::CFirmware(std::string text) : CModuleManager(std::move(text)) {
  if (!ScriptedHost::Current()->firmwareCanBeMade) {
    throw "the scripted host makes no firmware handler";  // no std::exception, which a host need not throw
  }
}
CFirmware::~CFirmware() = default;

CVendor::CVendor(std::string text) : provider(std::move(text)) {}
CVendor::~CVendor() {
  delete firmwareHandler;
}
std::string CVendor::GetVendorClassName() {
  return vendorClassName;
}
CFirmware* CVendor::GetFirmwareHandler() const {
  return firmwareHandler;
}
void CVendor::GetLinkApplicationInfo(std::list<CLinkApplicationInfo>*) {}
std::list<std::string> CVendor::GetUpdateOrderModuleKind(UPDATE_ORDER, bool) {
  return {};
}
int CVendor::CheckUpdateModuleRegistration(CManageModuleInfo) {
  return 0;
}
int CVendor::ConfirmUpdateModuleRegistration(std::string, std::string, std::string) {
  return 0;
}
int CVendor::ExecuteUpdateBackup(std::string, std::string, bool) {
  return 0;
}
int CVendor::ExecutePreUpdate(std::string, bool) {
  return 0;
}
int CVendor::ExecuteUpdate(std::string, bool) {
  return 0;
}
int CVendor::ExecuteUpdateRestore(std::string, std::string) {
  return 0;
}
int CVendor::ExecuteUpdateApplyCheck(std::string) {
  return 0;
}
int CVendor::CheckDependentInfo(CDependencyInfo, bool, bool) {
  return 0;
}
int CVendor::CheckUpdateCondition(std::string, bool, bool) {
  return 0;
}
CManageModuleInfo CVendor::GetDeviceInfo() {
  return {};
}
void CVendor::SetUpdatePriority(int, std::string) {}
void CVendor::SetOwnerProvider(std::string, std::string) {}
void CVendor::SetIWbemServices(IWbemServices*) {}
std::string CVendor::GetHardwareVersionCache() {
  return "";
}
bool CVendor::IsUpdateFailure() {
  return false;
}
std::string CVendor::GetLatestUpdateDate(std::string) {
  return "";
}
std::string CVendor::GetPrevVendorVersion(std::string) {
  return "";
}
void CVendor::SetDependencyInfo(CManageModuleInfo) {}
void CVendor::SetLatestUpdateDate(std::string, std::string) {}
void CVendor::SetPrevVendorVersion(std::string, std::string) {}
void CVendor::ClearUpdateStatus(std::string, bool) {}
bool CVendor::CheckUpdateConditionByModule(std::string, CModuleManager*, std::string, bool, bool) {
  return false;
}

// NOLINTEND(performance-unnecessary-value-param)
