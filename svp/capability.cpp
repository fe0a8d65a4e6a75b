#include "svp/capability.h"

#include "ipmi/byte_text.h"
#include "ipmi/retried_exchange.h"
#include "svp/requests.h"

namespace kestrel {

namespace {

constexpr int kFlagsElement = 17;

}  // namespace

std::optional<int> ReadSupportFlags(const std::string& toolPath,
                                    const std::function<void(Level level)>& reportFailure) {
  const auto accepts = [](const IpmiReply& reply) { return reply.Ran(); };
  const auto report = [&](Level level, const IpmiReply& /*reply*/) { reportFailure(level); };
  const std::optional<IpmiReply> reply =
      RetryExchange(kCapabilityRetry, toolPath, GetCapabilityRequest(), accepts, report);
  if (!reply) {
    return std::nullopt;
  }
  int index = 0;
  for (const std::string& element : reply->Elements()) {
    CTraceUtility::WriteDebug(kChannel, kFlow, "%d:%s", index, element.c_str());
    if (index == kFlagsElement) {
      CTraceUtility::WriteDebug(kChannel, kFlow, "%d:%s SendInfoToSVP Support info", index, element.c_str());
    }
    ++index;
  }
  return ByteValue(reply->Element(kFlagsElement));
}

}  // namespace kestrel
