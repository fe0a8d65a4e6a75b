#include "provider/kestrel_vendor.h"

#include <cstdlib>
#include <utility>

#include "host/Results.h"
#include "ipmi/scratch_directory.h"
#include "ipmi/trace.h"
#include "provider/extended_information.h"
#include "provider/kestrel_firmware.h"
#include "provider/update_conditions.h"
#include "report/device_report.h"
#include "report/dmi_property.h"
#include "report/general_section.h"
#include "report/version_section.h"
#include "report/web_console_section.h"
#include "svp/config_file_transfer.h"

using kestrel::kChannel;
using kestrel::kError;
using kestrel::kFlow;
using kestrel::kInfo;

namespace {

// The quotes keep the shell from expanding the asterisk, so this removes nothing but a file of that very name.
void DeleteStaleResultFiles() {
  const std::string pattern = kestrel::ScratchDirectory() + "/" + "IPMIResult" + "*";
  if (std::system(("rm -f \"" + pattern + "\"").c_str()) != 0) {
    CTraceUtility::WriteDebug(kChannel, kInfo, "Failed to delete files [%s]", pattern.c_str());
  }
}

}  // namespace

// NOLINTBEGIN(performance-unnecessary-value-param): texts come by value, as the host passes them.

const std::string CBMC_KESTREL_Vendor::className = "CBMC_KESTREL_Vendor";

CBMC_KESTREL_Vendor::CBMC_KESTREL_Vendor(std::string providerText) : CVendor(std::move(providerText)) {
  // The end line lacks an underscore; readers of the trace match on it.
  const kestrel::OperationTrace trace("CBMC_KESTREL_Vendor::CBMC_KESTREL_Vendor() [START]",
                                      "CBMC_KESTREL_Vendor::CBMCKESTREL_Vendor() [END]");
  ShowMessage(L"CBMC_KESTREL_Vendor::CBMC_KESTREL_Vendor()", L"CBMC_KESTREL_Vendor::CBMC_KESTREL_Vendor - Debug");
  vendorId = "kestrel";
  deviceName = "KV6KBmc";
  vendorClassName = className;
  DeleteStaleResultFiles();
  ShowMessage(L"CBMC_KESTREL_Vendor() end", L"CBMC_KESTREL_Vendor::CBMC_KESTREL_Vendor - Debug");
}

CBMC_KESTREL_Vendor::~CBMC_KESTREL_Vendor() {
  const kestrel::OperationTrace trace("CBMC_KESTREL_Vendor::~CBMC_KESTREL_Vendor() [START]",
                                      "CBMC_KESTREL_Vendor::~CBMC_KESTREL_Vendor() [END]");
}

std::string CBMC_KESTREL_Vendor::GetHardwareVersion() {
  const kestrel::OperationTrace trace("CBMC_KESTREL_Vendor::GetHardwareVersion() [START]",
                                      "CBMC_KESTREL_Vendor::GetHardwareVersion() [END]");
  return "";
}

int CBMC_KESTREL_Vendor::CheckHardwareVersion(std::string, std::string) {
  const kestrel::OperationTrace trace("CBMC_KESTREL_Vendor::CheckHardwareVersion() [START]",
                                      "CBMC_KESTREL_Vendor::CheckHardwareVersion() [END]");
  return host::kSuccess;
}

void CBMC_KESTREL_Vendor::LinkDevice() {
  const kestrel::OperationTrace trace("CBMC_KESTREL_Vendor::LinkDevice() [START]",
                                      "CBMC_KESTREL_Vendor::LinkDevice() [END]");
  ShowMessage(L"CBMC_KESTREL_Vendor::LinkDevice()", L"CBMC_KESTREL_Vendor::LinkDevice - Debug");
  kestrel::MakeScratchDirectory();
  try {
    firmwareHandler = new CBMC_KESTREL_Firmware(provider);
  } catch (...) {
    CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0002_F", "08");
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to create CBMC_KESTREL_Firmware Instance");
    // A second end line follows on return; readers of the trace match on both.
    CTraceUtility::WriteDebug(kChannel, kFlow, "CBMC_KESTREL_Vendor::LinkDevice() [END]");
  }
  ShowMessage(L"LinkDevice() end", L"CBMC_KESTREL_Vendor::LinkDevice - Debug");
}

long CBMC_KESTREL_Vendor::ExecVendorMethod(std::string name, ...) {
  const kestrel::OperationTrace trace("CBMC_KESTREL_Vendor::ExecVendorMethod() [START]",
                                      "CBMC_KESTREL_Vendor::ExecVendorMethod() [END]");
  if (name == "Reboot") {
    if (firmwareHandler->UpdateApply() != host::kNotApplied) {
      return host::kSuccess;
    }
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to apply update");
    return host::kMethodFailed;
  }
  if (name == "SendInfoToSVP") {
    std::string detail;
    const int result = static_cast<CBMC_KESTREL_Firmware*>(firmwareHandler)->SendInfoToSVP(&detail);
    return kestrel::IsNoFailure(result) ? host::kSuccess : host::kMethodFailed;
  }
  CTraceUtility::WriteDebug(kChannel, kError, "Invalid function name");
  return host::kMethodFailed;
}

void CBMC_KESTREL_Vendor::GetExtendedInfo(std::list<std::pair<std::string, std::string>>* info) {
  kestrel::ReadExtendedInformation(info);
}

void CBMC_KESTREL_Vendor::GetShortageOfNecessaryApplicationInfo(std::list<CNecessaryComponentInfo>& missing) {
  kestrel::AppendMissingPrerequisites(missing);
}

bool CBMC_KESTREL_Vendor::CheckUpdateConditionByDevicevendor(std::string, CManageRepositoryInfo* repository) {
  return kestrel::PackageDoesNotFit(*firmwareHandler, repository);
}

int CBMC_KESTREL_Vendor::StartOutputDeviceConfigInfo(std::string, void*) {
  return kestrel::CheckReportPossible(firmwareHandler);
}

int CBMC_KESTREL_Vendor::ExecOutputDeviceConfigInfo(std::string savePath, void*) {
  return kestrel::WriteDeviceReport(firmwareHandler, savePath);
}

int CBMC_KESTREL_Vendor::EndOutputDeviceConfigInfo(std::string, void*) {
  const kestrel::OperationTrace trace("CBMC_KESTREL_Vendor::EndOutputDeviceConfigInfo() [START]",
                                      "CBMC_KESTREL_Vendor::EndOutputDeviceConfigInfo() [END]");
  return host::kSuccess;
}

bool CBMC_KESTREL_Vendor::GetDmiDecodeInfo(std::string command, std::string property, std::string* value) {
  return kestrel::ReadDmiProperty(command, property, value);
}

int CBMC_KESTREL_Vendor::CreateGeneralInfoNode(COrvXmlNode* section) {
  return kestrel::FillGeneralSection(section);
}

int CBMC_KESTREL_Vendor::CreateVersionInfoNode(COrvXmlNode* section) {
  return kestrel::FillVersionSection(*firmwareHandler, section);
}

int CBMC_KESTREL_Vendor::CreateWebConsoleSettingNode(COrvXmlNode* section) {
  return kestrel::FillWebConsoleSection(section);
}

// NOLINTEND(performance-unnecessary-value-param)
