#include "provider/kestrel_firmware.h"

#include <cstdarg>
#include <cstring>
#include <utility>

#include "firmware/apply.h"
#include "firmware/operating_version.h"
#include "firmware/sdr_version.h"
#include "firmware/update.h"
#include "firmware/version_comparison.h"
#include "host/Results.h"
#include "ipmi/byte_text.h"
#include "ipmi/command_runner.h"
#include "ipmi/raw_command.h"
#include "ipmi/tool_selection.h"
#include "ipmi/trace.h"
#include "svp/config_file_transfer.h"
#include "svp/disk_information.h"
#include "svp/notification.h"
#include "svp/os_information.h"

using kestrel::kChannel;
using kestrel::kError;

// NOLINTBEGIN(performance-unnecessary-value-param): texts come by value, as the host passes them.

CBMC_KESTREL_Firmware::CBMC_KESTREL_Firmware(std::string providerText) : CFirmware(std::move(providerText)) {
  kestrel::OperationTrace trace("CBMC_KESTREL_Firmware::CBMC_KESTREL_Firmware() [START]",
                                "CBMC_KESTREL_Firmware::CBMC_KESTREL_Firmware() [END]");
  std::string errorCode;
  ipmiToolPath_ = GetIPMItool(&errorCode);
  if (ipmiToolPath_.empty()) {
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to get IPMI tool path");
    errorCode.insert(0, "0B");
    CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0001_F", errorCode.c_str());
  }
  trace.End();
  ShowMessage(L"CBMC_KESTREL_Firmware::CBMC_KESTREL_Firmware()",
              L"CBMC_KESTREL_Firmware::CBMC_KESTREL_Firmware - Debug");
}

CBMC_KESTREL_Firmware::~CBMC_KESTREL_Firmware() {
  const kestrel::OperationTrace trace("CBMC_KESTREL_Firmware::~CBMC_KESTREL_Firmware() [START]",
                                      "CBMC_KESTREL_Firmware::~CBMC_KESTREL_Firmware() [END]");
}

std::string CBMC_KESTREL_Firmware::GetOperatingVersion() {
  return kestrel::ReadOperatingVersion(ipmiToolPath_);
}

std::string CBMC_KESTREL_Firmware::GetSDRVersion() {
  return kestrel::ReadSdrVersion(ipmiToolPath_);
}

int CBMC_KESTREL_Firmware::CheckVendorVersion(std::string first, std::string second) {
  return kestrel::CompareVersions(first, second);
}

bool CBMC_KESTREL_Firmware::CheckBMCVersion(std::string first, std::string second, int* result) {
  return kestrel::CompareBmcVersions(first, second, result);
}

bool CBMC_KESTREL_Firmware::CheckSDRVersion(std::string first, std::string second, int* result) {
  return kestrel::CompareSdrVersions(first, second, result);
}

int CBMC_KESTREL_Firmware::PreUpdate(std::string, std::string, std::list<std::string>*, bool) {
  kestrel::OperationTrace trace("CBMC_KESTREL_Firmware::PreUpdate() [START]",
                                "CBMC_KESTREL_Firmware::PreUpdate() [END]");
  if (ipmiToolPath_.empty()) {
    CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0016_F", "0B");
    CTraceUtility::WriteDebug(kChannel, kError, "No IPMI tool");
    return host::kFailure;
  }
  trace.End();
  ShowMessage(L"CBMC_KESTREL_Firmware::PreUpdate()", L"CBMC_KESTREL_Firmware::PreUpdate - Debug");
  return host::kSuccess;
}

int CBMC_KESTREL_Firmware::Update(std::string, std::string packagePath, std::list<std::string>* fileList,
                                  bool useOldModule) {
  return kestrel::RunUpdate(*this, ipmiToolPath_, packagePath, fileList, useOldModule);
}

int CBMC_KESTREL_Firmware::UpdateRestore(std::string) {
  kestrel::OperationTrace trace("CBMC_KESTREL_Firmware::UpdateRestore() [START]",
                                "CBMC_KESTREL_Firmware::UpdateRestore() [END]");
  trace.End();
  ShowMessage(L"CBMC_KESTREL_Firmware::UpdateRestore()", L"CBMC_KESTREL_Firmware::UpdateRestore - Debug");
  return host::kSuccess;
}

int CBMC_KESTREL_Firmware::UpdateApplyCheck(std::string) {
  return kestrel::CheckApplied(*this);
}

int CBMC_KESTREL_Firmware::UpdateApply() {
  return kestrel::ApplyUpdate(ipmiToolPath_);
}

int CBMC_KESTREL_Firmware::SendInfoToSVP(std::string* detail) {
  return kestrel::SendNotification(ipmiToolPath_, detail);
}

int CBMC_KESTREL_Firmware::ExecSendOSInfo(std::string* detail) {
  return kestrel::SendOsInformation(ipmiToolPath_, detail);
}

int CBMC_KESTREL_Firmware::ExecSendHddInfo(std::string* detail) {
  return kestrel::SendDiskInformation(ipmiToolPath_, detail);
}

int CBMC_KESTREL_Firmware::UnlockConfFile(std::string fileId) {
  return kestrel::UnlockConfigFile(ipmiToolPath_, fileId);
}

std::string CBMC_KESTREL_Firmware::GetIPMItool(std::string* errorCode) {
  return kestrel::SelectIpmiTool(errorCode);
}

bool CBMC_KESTREL_Firmware::ExecIPMICommand(std::string toolPath, std::list<std::string>* response, int count, ...) {
  std::list<std::string> request;
  std::va_list bytes;
  va_start(bytes, count);
  for (int i = 0; i < count; ++i) {
    const char* byte = va_arg(bytes, const char*);
    request.emplace_back(byte, strnlen(byte, 2));
  }
  va_end(bytes);
  return kestrel::ExecuteIpmiCommand(toolPath, response, request);
}

bool CBMC_KESTREL_Firmware::ExecIPMICommand_list(std::string toolPath, std::list<std::string>* response,
                                                 std::list<std::string> request) {
  return kestrel::ExecuteIpmiCommandList(toolPath, response, request);
}

int CBMC_KESTREL_Firmware::ExecForeignModuleStdout(const std::string& command, const std::string& outputFile,
                                                   const std::string& workDir, unsigned long* exitCode,
                                                   unsigned long timeoutMs) {
  return kestrel::RunToConsole(command, outputFile, workDir, exitCode, timeoutMs);
}

int CBMC_KESTREL_Firmware::hexstoi(std::string text) {
  return kestrel::ByteValue(text);
}

void CBMC_KESTREL_Firmware::num_to_list(int value, std::list<std::string>* out, int bytes) {
  kestrel::AppendNumber(value, bytes, out);
}

void CBMC_KESTREL_Firmware::get_charcodelist(std::string text, std::list<std::string>* out) {
  kestrel::AppendText(text, out);
}

// NOLINTEND(performance-unnecessary-value-param)
