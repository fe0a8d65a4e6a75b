#include "report/device_report.h"

#include "firmware/operating_version.h"
#include "host/DllCommon.h"
#include "host/Results.h"
#include "ipmi/trace.h"
#include "report/general_section.h"
#include "report/version_section.h"
#include "report/web_console_section.h"

namespace kestrel {

namespace {

void RecordFailure(const char* detail) {
  CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0018_F", detail);
}

}  // namespace

int CheckReportPossible(CFirmware* firmware) {
  const OperationTrace trace("CBMC_KESTREL_Vendor::StartOutputDeviceConfigInfo() [START]",
                             "CBMC_KESTREL_Vendor::StartOutputDeviceConfigInfo() [END]");
  if (firmware->GetOperatingVersion() == host::kAbnormalVersion) {
    CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0019_F", "1C");
    return host::kFailure;
  }
  return host::kSuccess;
}

int WriteDeviceReport(CFirmware* firmware, const std::string& savePath) {
  const OperationTrace trace("CBMC_KESTREL_Vendor::ExecOutputDeviceConfigInfo() [START]",
                             "CBMC_KESTREL_Vendor::ExecOutputDeviceConfigInfo() [END]");
  if (savePath.empty()) {
    RecordFailure("26");
    CTraceUtility::WriteDebug(kChannel, kError, "Save path is empty");
    return host::kFailure;
  }
  const std::string serverType = CCommon_Information::GetServerType(kChannel);
  if (serverType.empty()) {
    RecordFailure("26");
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to get Server Type");
    return host::kFailure;
  }
  CTraceUtility::WriteDebug(kChannel, kFlow, "ServerType:[%s]", serverType.c_str());
  if (!serverType.starts_with("kv6000")) {
    CTraceUtility::WriteDebug(kChannel, kInfo, "Unsupported ServerType");
    return host::kNoReport;
  }
  const bool hasWebConsole = !serverType.starts_with("kv6000rt");

  COrvXmlNode general("general-inf");
  COrvXmlNode versions("version-inf");
  COrvXmlNode webConsole("web-cosole-setting");  // readers of the file match on this spelling
  if (FillGeneralSection(&general) != host::kSuccess || FillVersionSection(*firmware, &versions) != host::kSuccess ||
      (hasWebConsole && FillWebConsoleSection(&webConsole) != host::kSuccess)) {
    RecordFailure("26");
    return host::kFailure;
  }
  COrvXmlNode root("data");
  root.addChildNode(general);
  root.addChildNode(versions);
  if (hasWebConsole) {
    root.addChildNode(webConsole);
  }

  const std::string file = savePath + "Kestrel_BmcConfigInfo.xml";
  if (!COrvXmlWrite().writeXML(file, root)) {
    RecordFailure("27");
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to write file [%s]", file.c_str());
    return host::kFailure;
  }
  return host::kSuccess;
}

}  // namespace kestrel
