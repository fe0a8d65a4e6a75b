#include "ipmi/tool_selection.h"

#include <cstdio>
#include <string_view>

#include "ipmi/trace.h"

namespace kestrel {

namespace {

// Readable is all that is asked: whether the tool runs is seen at its first request.
bool CanBeRead(const char* path) {
  std::FILE* file = std::fopen(path, "r");
  if (file == nullptr) {
    return false;
  }
  std::fclose(file);
  return true;
}

}  // namespace

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
  constexpr std::string_view tail = "ipmicmd";
  return toolPath.substr(toolPath.size() - tail.size()) == tail;
}

}  // namespace kestrel
