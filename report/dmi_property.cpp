#include "report/dmi_property.h"

#include "ipmi/trace.h"

namespace kestrel {

namespace {

constexpr int kRuns = 3;

// Nothing printed counts as a failed run. Other than with a request to the BMC, the line comes after the pause; readers
// of the trace match on the order.
bool RunCommand(const std::string& command, std::string* line) {
  for (int run = 1;; ++run) {
    *line = CCommon_Information::GetResultLine(command);
    if (!line->empty()) {
      return true;
    }
    if (run == kRuns) {
      CTraceUtility::WriteDebug(kChannel, kError, "Failed to execute command [%s]", command.c_str());
      return false;
    }
    Sleep(1000);
    CTraceUtility::WriteDebug(kChannel, kRetry, "Failed to execute command [%s]", command.c_str());
  }
}

}  // namespace

std::optional<std::string> DmiValue(const std::string& line, const std::string& property) {
  const std::size_t label = line.find(property);
  if (label == std::string::npos) {
    return std::nullopt;
  }
  const std::string rest = line.substr(label + property.size());
  const std::size_t first = rest.find_first_not_of(' ');
  if (first == std::string::npos) {
    return "";
  }
  return rest.substr(first, rest.find_last_not_of(' ') - first + 1);
}

bool ReadDmiProperty(const std::string& command, const std::string& property, std::string* value) {
  const OperationTrace trace("CBMC_KESTREL_Vendor::GetDmiDecodeInfo() [START]",
                             "CBMC_KESTREL_Vendor::GetDmiDecodeInfo() [END]");
  if (command.empty()) {
    CTraceUtility::WriteDebug(kChannel, kError, "Command is empty");
    return false;
  }
  if (property.empty()) {
    CTraceUtility::WriteDebug(kChannel, kError, "Property is empty");
    return false;
  }
  std::string line;
  if (!RunCommand(command, &line)) {
    return false;
  }
  const std::optional<std::string> found = DmiValue(line, property);
  if (!found) {
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to get property. command:[%s] value:[%s]", command.c_str(),
                              line.c_str());
    return false;
  }
  *value = *found;
  return true;
}

}  // namespace kestrel
