#include "firmware/operating_version.h"

#include "firmware/requests.h"
#include "firmware/sdr_version.h"
#include "firmware/version_text.h"
#include "host/Results.h"
#include "ipmi/retried_exchange.h"
#include "ipmi/trace.h"

namespace kestrel {

namespace {

// These families count their major versions in decimal ("mx400" is part of "mx4000").
std::string MajorText(const std::string& revision, const std::string& serverType) {
  if (revision.empty() || !Contains(serverType, "mx400")) {
    return revision;
  }
  const std::string decimal = CStringUtil::xatoa(revision);
  return decimal.size() == 1 ? "0" + decimal : decimal;
}

// The BMC's version as "MM-mm", and the server type, which is asked for anew. False when the reply does not hold both
// numbers.
bool ReadDeviceId(const IpmiReply& reply, std::string* version, std::string* serverType) {
  *serverType = CCommon_Information::GetServerType(kChannel);
  const std::string major = MajorText(reply.Element(3), *serverType);
  const std::string minor = reply.Element(4);
  *version = major + "-" + minor;
  return reply.Succeeded() && !major.empty() && !minor.empty();
}

}  // namespace

std::string ReadOperatingVersion(const std::string& toolPath) {
  OperationTrace trace("CBMC_KESTREL_Firmware::GetOperatingVersion() [START]",
                       "CBMC_KESTREL_Firmware::GetOperatingVersion() [END]");
  if (toolPath.empty()) {
    CTraceUtility::WriteDebug(kChannel, kRetry, "No IPMI tool");
    return host::kAbnormalVersion;
  }
  std::string version;
  std::string serverType;
  const auto accepts = [&](const IpmiReply& reply) { return ReadDeviceId(reply, &version, &serverType); };
  const auto report = [](Level level, const IpmiReply& reply) {
    CTraceUtility::WriteDebug(kChannel, level, "Failed to execute ipmi command(GetDeviceID) CompletionCode:%s",
                              reply.CompletionCode().c_str());
  };
  if (!RetryExchange(kBmcRetry, toolPath, GetDeviceIdRequest(), accepts, report)) {
    return host::kAbnormalVersion;
  }
  CTraceUtility::WriteDebug(kChannel, kFlow, "[%s][%s]", version.c_str(), serverType.c_str());
  if (Contains(serverType, "kv6000rt")) {
    version = "BMC:" + version + "," + "SDR:" + ReadSdrVersion(toolPath);
  }
  // The end line of a version that could be read carries it; readers of the trace match on it.
  trace.NoEnd();
  CTraceUtility::WriteDebug(kChannel, kFlow, "CBMC_KESTREL_Firmware::GetOperatingVersion() [%s] [END]",
                            version.c_str());
  return version;
}

}  // namespace kestrel
