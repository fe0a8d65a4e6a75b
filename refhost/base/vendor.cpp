// CVendor: hands what is asked about a kind of module on to the firmware handler. This host knows one kind, "firmware";
// for any other, and before LinkDevice made the handler, operations fail or answer "".
#include <algorithm>
#include <utility>

#include "host/Results.h"
#include "refhost/base/object_count.h"
#include "refhost/contract.h"
#include "refhost/module_state.h"

namespace {

// The handler when it answers for that kind of module, otherwise null.
CFirmware* HandlerFor(CFirmware* handler, const std::string& moduleKind) {
  return moduleKind == host::kFirmwareKind ? handler : nullptr;
}

}  // namespace

CVendor::CVendor(std::string providerText) : provider(std::move(providerText)) {
  refhost::CountVendors(1);
}

CVendor::~CVendor() {
  delete firmwareHandler;
  refhost::CountVendors(-1);
}

std::string CVendor::GetVendorClassName() {
  return vendorClassName;
}

CFirmware* CVendor::GetFirmwareHandler() const {
  return firmwareHandler;
}

// Nothing is linked to a device in this host.
void CVendor::GetLinkApplicationInfo(std::list<CLinkApplicationInfo>* /*applications*/) {}

std::list<std::string> CVendor::GetUpdateOrderModuleKind(UPDATE_ORDER /*order*/, bool /*reverse*/) {
  return {host::kFirmwareKind};
}

int CVendor::CheckUpdateModuleRegistration(CManageModuleInfo module) {
  CFirmware* handler = HandlerFor(firmwareHandler, module.moduleKind);
  return handler != nullptr ? handler->CheckRegisterUpdateModule(module.update) : host::kFailure;
}

int CVendor::ConfirmUpdateModuleRegistration(std::string moduleKind, std::string moduleId, std::string packagePath) {
  CFirmware* handler = HandlerFor(firmwareHandler, moduleKind);
  return handler != nullptr ? handler->RegistUpdateModule(moduleId, packagePath) : host::kFailure;
}

int CVendor::ExecuteUpdateBackup(std::string moduleKind, std::string backupPath, bool useOldModule) {
  CFirmware* handler = HandlerFor(firmwareHandler, moduleKind);
  return handler != nullptr ? handler->ExecuteUpdateBackup(backupPath, useOldModule) : host::kFailure;
}

int CVendor::ExecutePreUpdate(std::string moduleKind, bool useOldModule) {
  CFirmware* handler = HandlerFor(firmwareHandler, moduleKind);
  return handler != nullptr ? handler->ExecutePreUpdate(useOldModule) : host::kFailure;
}

int CVendor::ExecuteUpdate(std::string moduleKind, bool useOldModule) {
  CFirmware* handler = HandlerFor(firmwareHandler, moduleKind);
  return handler != nullptr ? handler->ExecuteUpdate(useOldModule) : host::kFailure;
}

int CVendor::ExecuteUpdateRestore(std::string moduleKind, std::string backupPath) {
  CFirmware* handler = HandlerFor(firmwareHandler, moduleKind);
  return handler != nullptr ? handler->ExecuteUpdateRestore(backupPath) : host::kFailure;
}

int CVendor::ExecuteUpdateApplyCheck(std::string moduleKind) {
  CFirmware* handler = HandlerFor(firmwareHandler, moduleKind);
  return handler != nullptr ? handler->ExecuteUpdateApplyCheck() : host::kFailure;
}

int CVendor::CheckDependentInfo(CDependencyInfo dependency, bool useUpdateModule, bool allowEqual) {
  return firmwareHandler != nullptr ? firmwareHandler->CheckDependentInfo(dependency, useUpdateModule, allowEqual)
                                    : host::kFailure;
}

// The modules of this host name no dependencies, so every condition of a known kind is satisfied.
int CVendor::CheckUpdateCondition(std::string moduleKind, bool /*useUpdateModule*/, bool /*allowEqual*/) {
  return HandlerFor(firmwareHandler, moduleKind) != nullptr ? host::kSuccess : host::kFailure;
}

CManageModuleInfo CVendor::GetDeviceInfo() {
  CManageModuleInfo info;
  if (firmwareHandler != nullptr) {
    info = firmwareHandler->GetManageModuleInfo();
  }
  info.vendorClassName = vendorClassName;
  info.operating.deviceName = deviceName;
  info.update.deviceName = deviceName;
  return info;
}

void CVendor::SetUpdatePriority(int priority, std::string moduleKind) {
  if (CFirmware* handler = HandlerFor(firmwareHandler, moduleKind)) {
    handler->SetUpdatePriority(priority);
  }
}

// This host has one provider and no management service, so there is nothing to choose between.
void CVendor::SetOwnerProvider(std::string /*moduleKind*/, std::string /*owner*/) {}

void CVendor::SetIWbemServices(IWbemServices* /*services*/) {}

std::string CVendor::GetHardwareVersionCache() {
  if (hardwareVersionCache.empty()) {
    hardwareVersionCache = GetHardwareVersion();
  }
  return hardwareVersionCache;
}

bool CVendor::IsUpdateFailure() {
  return firmwareHandler != nullptr && firmwareHandler->GetUpdateStatus() == refhost::kUpdateFailed;
}

std::string CVendor::GetLatestUpdateDate(std::string moduleKind) {
  CFirmware* handler = HandlerFor(firmwareHandler, moduleKind);
  return handler != nullptr ? handler->GetLatestUpdateDate() : "";
}

std::string CVendor::GetPrevVendorVersion(std::string moduleKind) {
  CFirmware* handler = HandlerFor(firmwareHandler, moduleKind);
  return handler != nullptr ? handler->GetPrevVendorVersion() : "";
}

void CVendor::SetDependencyInfo(CManageModuleInfo module) {
  if (CFirmware* handler = HandlerFor(firmwareHandler, module.moduleKind)) {
    handler->SetDependencyInfo(module.update);
  }
}

void CVendor::SetLatestUpdateDate(std::string moduleKind, std::string date) {
  if (CFirmware* handler = HandlerFor(firmwareHandler, moduleKind)) {
    handler->SetLatestUpdateDate(date);
  }
}

void CVendor::SetPrevVendorVersion(std::string moduleKind, std::string version) {
  if (CFirmware* handler = HandlerFor(firmwareHandler, moduleKind)) {
    handler->SetPrevVendorVersion(version);
  }
}

void CVendor::ClearUpdateStatus(std::string moduleKind, bool keepFailure) {
  CFirmware* handler = HandlerFor(firmwareHandler, moduleKind);
  if (handler == nullptr || (keepFailure && IsUpdateFailure())) {
    return;
  }
  handler->SetUpdateStatus(refhost::kNoUpdate);
}

bool CVendor::CheckUpdateConditionByModule(std::string /*moduleKind*/, CModuleManager* module, std::string version,
                                           bool useUpdateModule, bool allowEqual) {
  return module == nullptr || module->CheckDependentInfo({"", version}, useUpdateModule, allowEqual) != host::kSuccess;
}
