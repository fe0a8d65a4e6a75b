#include "report/version_section.h"

#include "firmware/operating_version.h"
#include "firmware/version_text.h"
#include "host/Results.h"
#include "ipmi/trace.h"
#include "report/dmi_property.h"
#include "report/report_item.h"

namespace kestrel {

FirmwareVersions SplitOperatingVersion(const std::string& operatingVersion) {
  if (operatingVersion.find("BMC:") == std::string::npos) {
    return {operatingVersion, ""};
  }
  const CombinedVersion parts = ParseCombinedVersion(operatingVersion);
  return {parts.bmc, parts.sdr};
}

int FillVersionSection(CFirmware& firmware, COrvXmlNode* section) {
  OperationTrace trace("CBMC_KESTREL_Vendor::CreateVersionInfoNode() [START]",
                       "CBMC_KESTREL_Vendor::CreateVersionInfoNode() [END]");
  const std::string operatingVersion = firmware.GetOperatingVersion();
  if (operatingVersion == host::kAbnormalVersion) {
    return host::kFailure;
  }
  const FirmwareVersions versions = SplitOperatingVersion(operatingVersion);
  std::string biosVersion;
  // The second blank before the pipe belongs to the command as readers of the trace know it.
  if (!ReadDmiProperty("/usr/sbin/dmidecode --type bios  | grep \"Version\"", "Version:", &biosVersion)) {
    // A section without its DMI value is left by this line; readers of the trace match on it.
    trace.EndAs("[LEAVE] int CBMC_KESTREL_Vendor::CreateVersionInfoNode(COrvXmlNode*)");
    return host::kFailure;
  }
  CTraceUtility::WriteDebug(kChannel, kInfo, "BMC Version [%s]", versions.bmc.c_str());
  CTraceUtility::WriteDebug(kChannel, kInfo, "BIOS Version [%s]", biosVersion.c_str());
  AddItem("BMC Version", versions.bmc, section);
  if (!versions.sdr.empty()) {
    CTraceUtility::WriteDebug(kChannel, kInfo, "SDR Version [%s]", versions.sdr.c_str());
    AddItem("SDR Version", versions.sdr, section);
  }
  AddItem("BIOS Version", biosVersion, section);
  return host::kSuccess;
}

}  // namespace kestrel
