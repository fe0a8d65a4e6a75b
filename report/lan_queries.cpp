#include "report/lan_queries.h"

#include "ipmi/retried_exchange.h"
#include "report/lan_settings.h"
#include "report/requests.h"

namespace kestrel {

bool QueryMacAddress(const std::string& toolPath, std::string* macAddress) {
  std::string text;
  const auto accepts = [&](const IpmiReply& reply) { return reply.Succeeded() && JoinMacAddress(reply, &text); };
  if (!RetryExchange(kBmcRetry, toolPath, GetMacAddressRequest(), accepts, WriteMacAddressFailure)) {
    return false;
  }
  *macAddress = CStringUtil::StringToUpperCase(text);
  return true;
}

bool QueryTcpipInfo(const std::string& toolPath, std::string* digits) {
  std::string text;
  const auto accepts = [&](const IpmiReply& reply) { return reply.Succeeded() && JoinTcpipInfo(reply, &text); };
  if (!RetryExchange(kBmcRetry, toolPath, GetTcpipInfoRequest(), accepts, WriteTcpipInfoFailure)) {
    return false;
  }
  *digits = text;
  return true;
}

void WriteMacAddressFailure(Level level, const IpmiReply& reply) {
  if (!reply.Ran()) {
    CTraceUtility::WriteDebug(kChannel, level, "Failed to execute IPMI Command (Get MAC Address) ");
  } else if (reply.Elements().empty()) {
    CTraceUtility::WriteDebug(kChannel, level, "Failed to execute IPMI Command (Get MAC Address) no return code");
  } else if (!reply.Succeeded()) {
    CTraceUtility::WriteDebug(kChannel, level, "Failed to execute IPMI Command (Get MAC Address) return:[%s]",
                              reply.CompletionCode().c_str());
  } else {
    std::string text;
    JoinMacAddress(reply, &text);
    CTraceUtility::WriteDebug(kChannel, level, "Failed to execute IPMI Command (Get MAC Address). MacAddrss:[%s]",
                              text.c_str());
  }
}

void WriteTcpipInfoFailure(Level level, const IpmiReply& reply) {
  const bool isLast = level == kError;
  if (!reply.Ran()) {
    CTraceUtility::WriteDebug(kChannel, level, "Failed to execute IPMI Command (Get Tcpip Info) ");
  } else if (reply.Elements().empty()) {
    CTraceUtility::WriteDebug(kChannel, level, "Failed to execute IPMI Command (Get Tcpip Info) no return code");
  } else if (!reply.Succeeded() && isLast) {
    // The blank more tells the final failure from the attempts before it; here and below.
    CTraceUtility::WriteDebug(kChannel, level, "Failed to execute IPMI Command (Get Tcpip Info ) return:[%s]",
                              reply.CompletionCode().c_str());
  } else if (!reply.Succeeded()) {
    CTraceUtility::WriteDebug(kChannel, level, "Failed to execute IPMI Command (Get Tcpip Info) return:[%s]",
                              reply.CompletionCode().c_str());
  } else {
    std::string digits;
    JoinTcpipInfo(reply, &digits);
    CTraceUtility::WriteDebug(kChannel, level, "Failed to execute IPMI Command (Get Tcpip Info)");
    CTraceUtility::WriteDebug(kChannel, level, isLast ? "Response Data  [%s]" : "Response Data [%s]", digits.c_str());
  }
}

}  // namespace kestrel
