#include "firmware/update.h"

#include "firmware/flash_tool_method.h"
#include "firmware/operating_version.h"
#include "firmware/script_method.h"
#include "host/Results.h"
#include "ipmi/scratch_directory.h"
#include "ipmi/trace.h"

namespace kestrel {

namespace {

// The running version comes from the BMC itself, not from the firmware handler's virtual operation, which a derived
// class may replace.
bool RunsAlready(CFirmware& firmware, const std::string& toolPath, bool useOldModule) {
  CTraceUtility::WriteDebug(kChannel, kInfo, "Compare Version");
  const std::string running = ReadOperatingVersion(toolPath);
  const CManageRepositoryInfo module =
      useOldModule ? firmware.GetOldOperatingModuleInfo() : firmware.GetUpdateModuleInfo();
  if (module.moduleVersion != running) {
    return false;
  }
  CTraceUtility::WriteDebug(kChannel, kInfo, "Already Updated");
  return true;
}

bool UnpackInto(const std::string& workFolder, const std::string& packagePath, std::list<std::string>* fileList) {
  if (!CUnzip_Utility::DeleteFolder(workFolder, kChannel)) {
    CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0009_F", "0F");
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to delete temporary folder before updating");
    return false;
  }
  _mkdir(workFolder.c_str());
  std::string message;
  if (!CUnzip_Utility::UpdateModuleUnzip(packagePath, fileList, workFolder, &message, kChannel)) {
    CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0009_F", "10");
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to Unzip");
    return false;
  }
  return true;
}

}  // namespace

int RunUpdate(CFirmware& firmware, const std::string& toolPath, const std::string& packagePath,
              std::list<std::string>* fileList, bool useOldModule) {
  OperationTrace trace("CBMC_KESTREL_Firmware::Update() [START]", "CBMC_KESTREL_Firmware::Update() [END]");
  const std::string serverType = CCommon_Information::GetServerType(kChannel);
  if (serverType.empty()) {
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to get server type");
    trace.NoEnd();  // readers of the trace match on it
    return host::kFailure;
  }
  const bool byScript = serverType.find("kv6000rt") != std::string::npos;
  if (!byScript && RunsAlready(firmware, toolPath, useOldModule)) {
    return host::kSuccess;
  }
  const std::string workFolder = ScratchDirectory() + "/" + "BMC_FW";
  if (packagePath.empty() || !UnpackInto(workFolder, packagePath, fileList)) {
    return host::kFailure;
  }
  const int result =
      byScript ? ScriptMethod(workFolder, trace).Run() : FlashToolMethod(firmware, toolPath, workFolder).Run();
  if (result != host::kFailure) {
    trace.End();  // before the message
    ShowMessage(L"CBMC_KESTREL_Firmware::Update()", L"CBMC_KESTREL_Firmware::Update - Debug");
  }
  return result;
}

}  // namespace kestrel
