#include "svp/os_information.h"

#include <unistd.h>

#include <array>

#include "ipmi/byte_text.h"
#include "ipmi/trace.h"
#include "svp/capability.h"
#include "svp/config_file_transfer.h"

namespace kestrel {

namespace {

constexpr int kHeaderSize = 16;

void AppendItem(const std::string& text, int lengthBytes, std::list<std::string>* body) {
  std::list<std::string> bytes;
  AppendText(text, &bytes);
  AppendNumber(static_cast<int>(bytes.size()), lengthBytes, body);
  body->splice(body->end(), bytes);
}

bool IsSupported(const std::string& toolPath) {
  const auto report = [](Level /*level*/) {
    // The last attempt is reported at the level of the others.
    CTraceUtility::WriteDebug(kChannel, kRetry, "Get Capability Failed");
  };
  const int flags = ReadSupportFlags(toolPath, report).value_or(0);
  return (flags & kOsInformationFile.supportBit) != 0;
}

std::string TrimBlanks(const std::string& text) {
  const std::size_t first = text.find_first_not_of(' ');
  return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string ReadOsName() {
  std::string name = TrimBlanks(CCommon_Information::GetResultLine("cat /etc/redhat-release"));
  CTraceUtility::WriteDebug(kChannel, kInfo, "osname=[%s]", name.c_str());
  return name;
}

bool ReadHostName(std::string* name) {
  std::array<char, 256> buffer{};
  if (gethostname(buffer.data(), buffer.size()) != 0) {
    CTraceUtility::WriteDebug(kChannel, kError, "Feiled to get hostname");
    return false;
  }
  buffer.back() = 0;  // a name that was cut need not end with a zero
  *name = buffer.data();
  CTraceUtility::WriteDebug(kChannel, kInfo, "hostname=[%s]", name->c_str());
  return true;
}

}  // namespace

std::list<std::string> BuildOsInformationRecord(const std::string& osName, const std::string& hostName) {
  std::list<std::string> body;
  AppendItem("OS", 1, &body);
  AppendItem(osName, 2, &body);
  AppendItem("Hostname", 1, &body);
  AppendItem(hostName, 2, &body);
  std::list<std::string> record(8, "00");
  AppendNumber(kHeaderSize + static_cast<int>(body.size()), 4, &record);
  record.insert(record.end(), 4, "00");
  record.splice(record.end(), body);
  return record;
}

int SendOsInformation(const std::string& toolPath, std::string* detail) {
  detail->clear();
  // The end line has another name than the start line; readers of the trace match on both.
  OperationTrace trace("CBMC_KESTREL_Firmware::ExecSendOSInfo [START]",
                       "CBMC_KESTREL_Firmware::ExecSendInfoToSVP [END]");
  if (!IsSupported(toolPath)) {
    CTraceUtility::WriteDebug(kChannel, kInfo, "Send OS Information not supported");
    // Only this exit ends under the name that it started with.
    trace.EndAs("CBMC_KESTREL_Firmware::ExecSendOSInfo [END]");
    return kNotSupported;
  }
  const std::string osName = ReadOsName();
  std::string hostName;
  if (!ReadHostName(&hostName)) {
    trace.End();  // before the record
    detail->insert(0, "26");
    CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0022_F", detail->c_str());
    return kSendFailed;
  }
  ConfigFileTransfer transfer(toolPath, kOsInformationFile, FinalFailure::kMessageAndEnd, &trace, detail);
  return transfer.Run(BuildOsInformationRecord(osName, hostName));
}

}  // namespace kestrel
