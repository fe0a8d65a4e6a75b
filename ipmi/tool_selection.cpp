#include "ipmi/tool_selection.h"

#include <string_view>

#include "ipmi/file_probe.h"
#include "ipmi/trace.h"

namespace kestrel {

std::string SelectIpmiTool(std::string* errorCode) {
  if (CanBeRead(kMakersTool)) {
    return kMakersTool;
  }
  CTraceUtility::WriteDebug(kChannel, kInfo, "ipmicmd is nothing");
  if (CanBeRead(kIpmitool)) {
    return kIpmitool;
  }
  errorCode->insert(0, "23");
  CTraceUtility::WriteDebug(kChannel, kInfo, "ipmitool is nothing");
  return "";
}

bool IsMakersTool(const std::string& toolPath) {
  constexpr std::string_view kTail = "ipmicmd";
  // Of a shorter path the position runs over, and substr throws; callers of the host know that exception.
  return toolPath.substr(toolPath.size() - kTail.size()) == kTail;
}

}  // namespace kestrel
