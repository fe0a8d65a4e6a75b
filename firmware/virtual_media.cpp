#include "firmware/virtual_media.h"

#include <utility>

#include "firmware/requests.h"
#include "ipmi/retried_exchange.h"
#include "ipmi/trace.h"

namespace kestrel {

VirtualMedia::VirtualMedia(std::string toolPath, std::string* detail)
    : toolPath_(std::move(toolPath)), detail_(detail) {}

bool VirtualMedia::Connect() {
  const RetryPolicy left{kBmcRetry.attempts - connectFailures_, kBmcRetry.pause, kBmcRetry.pauseStep};
  const auto settle = [] {
    CTraceUtility::WriteDebug(kChannel, kInfo, "Sleep start");
    Sleep(10000);
    CTraceUtility::WriteDebug(kChannel, kInfo, "Sleep end");
  };
  const auto report = [this](Level level, const IpmiReply& connect, const IpmiReply& check) {
    ++connectFailures_;
    if (level == kError) {
      *detail_ = "14";
      CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0012_F", detail_->c_str());
    }
    if (connect.Succeeded()) {
      CTraceUtility::WriteDebug(
          kChannel, level,
          "Failed to execute IPMI command(Check Connect Virtual Device) ResponseData1:%s  ResponseData2:%s",
          check.Element(0).c_str(), check.Element(1).c_str());
      return;
    }
    CTraceUtility::WriteDebug(kChannel, level,
                              "Failed to execute ipmi command (Connect to virtual media) CompletionCode:%s",
                              connect.CompletionCode().c_str());
    if (level == kRetry) {
      // An end line although the update goes on; readers of the trace match on it.
      CTraceUtility::WriteDebug(kChannel, kFlow, "CBMC_KESTREL_Firmware::Update() [END]");
    }
  };
  return RetrySetting(left, toolPath_, ConnectedVirtualMedia(), settle, report);
}

bool VirtualMedia::DisableWait() {
  const auto report = [this](Level level, const IpmiReply& disable, const IpmiReply& check) {
    if (level == kError) {
      *detail_ = "1F";
      CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0012_F", detail_->c_str());
    }
    if (disable.Succeeded()) {
      CTraceUtility::WriteDebug(kChannel, level,
                                "Failed to execute IPMI command(Check Wait Disable) ResponseData1:%s  ResponseData2:%s",
                                check.Element(0).c_str(), check.Element(1).c_str());
      return;
    }
    // The last failure stands at the level of values, not of errors; readers of the trace match on it.
    CTraceUtility::WriteDebug(kChannel, level == kError ? kInfo : level,
                              "Failed to execute command(Wait Disabled) CompletionCode:%s",
                              disable.CompletionCode().c_str());
  };
  return RetrySetting(kBmcRetry, toolPath_, DisabledWait(), report);
}

bool VirtualMedia::Disconnect() {
  const IpmiReply reply = Exchange(toolPath_, DisconnectVirtualMediaRequest());
  if (reply.Succeeded()) {
    return true;
  }
  CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0012_F", detail_->c_str());
  CTraceUtility::WriteDebug(kChannel, kError, "Failed to disconnect virtual device. CompletionCode %s",
                            reply.CompletionCode().c_str());
  return false;
}

}  // namespace kestrel
