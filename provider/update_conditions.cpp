#include "provider/update_conditions.h"

#include <string_view>

#include "firmware/operating_version.h"
#include "host/Results.h"
#include "ipmi/tool_selection.h"
#include "ipmi/trace.h"
#include "report/dmi_property.h"

namespace kestrel {

namespace {

constexpr std::string_view kBmcPrefix = "BMC:";
constexpr std::size_t kModelPosition = 13;
constexpr std::size_t kDrivePosition = 16;

bool ModelDoesNotFit(const std::string& operatingVersion, const CManageRepositoryInfo& repository) {
  // A serial number that cannot be read stays empty, which is too short.
  std::string serialNumber;
  ReadDmiProperty(kSerialNumberCommand, kSerialNumberLabel, &serialNumber);
  if (serialNumber.size() <= kModelPosition) {
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to get serial number [%s]", serialNumber.c_str());
    return true;
  }
  const std::string model = ModelOfMachine(serialNumber);
  const bool differs = CStringUtil::StringToLowerCase(repository.model) != model;
  CTraceUtility::WriteDebug(kChannel, kInfo, "Ver[%s],Serial[%s],Model[%s],Rep[%s],iRet[%d]", operatingVersion.c_str(),
                            serialNumber.c_str(), model.c_str(), repository.model.c_str(), differs ? 1 : 0);
  return differs;
}

bool VersionDoesNotFit(const std::string& operatingVersion, const std::string& updateVersion) {
  if (operatingVersion.substr(0, 2) == updateVersion.substr(0, 2)) {
    return false;
  }
  CTraceUtility::WriteDebug(kChannel, kInfo, "OperatingVersion:%s,UpdateVersion:%s", operatingVersion.c_str(),
                            updateVersion.c_str());
  return true;
}

void AppendMissing(const char* name, std::list<CNecessaryComponentInfo>* missing) {
  CNecessaryComponentInfo component;
  component.name = name;
  missing->push_back(component);
}

}  // namespace

std::string ModelOfMachine(const std::string& serialNumber) {
  constexpr std::string_view kLongModels = "BEFGHJKL";
  const bool isLong = kLongModels.find(serialNumber.at(kModelPosition)) != std::string_view::npos;
  const bool hasSsd = serialNumber.size() > kDrivePosition && serialNumber[kDrivePosition] == 'S';
  return isLong || hasSsd ? "long/ssd" : "";
}

bool PackageDoesNotFit(CFirmware& firmware, const CManageRepositoryInfo* repository) {
  const OperationTrace trace("CBMC_KESTREL_Vendor::CheckUpdateConditionByDevicevendor() [START]",
                             "CBMC_KESTREL_Vendor::CheckUpdateConditionByDevicevendor() [END]");
  const std::string operatingVersion = firmware.GetOperatingVersion();
  if (operatingVersion == host::kAbnormalVersion) {
    constexpr const char* kText =
        "CBMC_KESTREL_Vendor::CheckUpdateConditionByDevicevendor() Failed to get Operating Version";
    CTraceUtility::WriteDebug(kChannel, kError, "%s", kText);
    return true;
  }
  // The prefix alone carries no version and is compared as if it were one.
  if (operatingVersion.size() > kBmcPrefix.size() && operatingVersion.starts_with(kBmcPrefix)) {
    return ModelDoesNotFit(operatingVersion, *repository);
  }
  return VersionDoesNotFit(operatingVersion, repository->moduleVersion);
}

void AppendMissingPrerequisites(std::list<CNecessaryComponentInfo>& missing) {
  const OperationTrace trace("CBMC_KESTREL_Vendor::GetShortageOfNecessaryApplicationInfo() [START]",
                             "CBMC_KESTREL_Vendor::GetShortageOfNecessaryApplicationInfo() [END]");
  std::string errorCode;
  const std::string toolPath = SelectIpmiTool(&errorCode);
  if (toolPath.empty()) {
    AppendMissing("IPMI tool", &missing);
  } else if (toolPath == kIpmitool && CCommon_Information::GetIpmiServiceState(kChannel) != 0) {
    AppendMissing("IPMI service", &missing);
  }
}

}  // namespace kestrel
