#include "report/web_console_section.h"

#include <string>

#include "host/Results.h"
#include "ipmi/tool_selection.h"
#include "ipmi/trace.h"
#include "report/lan_queries.h"
#include "report/lan_settings.h"
#include "report/report_item.h"

namespace kestrel {

int FillWebConsoleSection(COrvXmlNode* section) {
  const OperationTrace trace("CBMC_KESTREL_Vendor::CreateWebConsoleSettingNode() [START]",
                             "CBMC_KESTREL_Vendor::CreateWebConsoleSettingNode() [END]");
  std::string errorCode;
  const std::string toolPath = SelectIpmiTool(&errorCode);
  std::string macAddress;
  if (!QueryMacAddress(toolPath, &macAddress)) {
    return host::kFailure;
  }
  CTraceUtility::WriteDebug(kChannel, kInfo, "MAC Address [%s]", macAddress.c_str());
  std::string digits;
  if (!QueryTcpipInfo(toolPath, &digits)) {
    return host::kFailure;
  }
  const LanSettings settings = ParseTcpipInfo(digits);
  if (settings.dhcpFlag != "00" && settings.dhcpFlag != "01") {
    CTraceUtility::WriteDebug(kChannel, kError, "DHCP [%s]", settings.dhcpFlag.c_str());
    return host::kFailure;
  }
  const std::string dhcp = settings.dhcpFlag == "01" ? "Enabled" : "Disabled";
  CTraceUtility::WriteDebug(kChannel, kInfo, "DHCP [%s]", dhcp.c_str());
  CTraceUtility::WriteDebug(kChannel, kInfo, "IPAddress [%s]", settings.address.c_str());
  CTraceUtility::WriteDebug(kChannel, kInfo, "Subnemask [%s]", settings.netmask.c_str());
  CTraceUtility::WriteDebug(kChannel, kInfo, "GateWay [%s]", settings.gateway.c_str());
  AddItem("mac_address", macAddress, section);
  AddItem("ip_address", settings.address, section);
  AddItem("netmask", settings.netmask, section);
  AddItem("default_gate_way", settings.gateway, section);
  AddItem("dhcp", dhcp, section);
  return host::kSuccess;
}

}  // namespace kestrel
