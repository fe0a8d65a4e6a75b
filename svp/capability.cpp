#include "svp/capability.h"

#include "ipmi/byte_text.h"
#include "ipmi/ipmi_exchange.h"
#include "svp/requests.h"

namespace kestrel {

namespace {

constexpr int kFlagsElement = 17;

}  // namespace

std::optional<int> ReadSupportFlags(const std::string& toolPath,
                                    const std::function<void(CTraceUtility::TRACE_DBG_LEVEL level)>& reportFailure) {
  IpmiReply reply;
  const auto ask = [&] {
    reply = Exchange(toolPath, GetCapabilityRequest());
    return reply.Ran();
  };
  if (!Retry(kCapabilityRetry, ask, reportFailure)) {
    return std::nullopt;
  }
  int index = 0;
  for (const std::string& element : reply.Elements()) {
    CTraceUtility::WriteDebug(kChannel, kFlow, "%d:%s", index, element.c_str());
    if (index == kFlagsElement) {
      CTraceUtility::WriteDebug(kChannel, kFlow, "%d:%s SendInfoToSVP Support info", index, element.c_str());
    }
    ++index;
  }
  return ByteValue(reply.Element(kFlagsElement));
}

}  // namespace kestrel
