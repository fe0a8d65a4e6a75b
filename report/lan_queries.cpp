#include "report/lan_queries.h"

#include "ipmi/retry.h"
#include "ipmi/trace.h"
#include "report/lan_settings.h"
#include "report/requests.h"

namespace kestrel {

bool QueryMacAddress(const std::string& toolPath, std::string* macAddress) {
  IpmiReply reply;
  std::string text;
  const bool answered = Retry(
      kBmcRetry,
      [&] {
        reply = Exchange(toolPath, GetMacAddressRequest());
        return reply.Succeeded() && JoinMacAddress(reply, &text);
      },
      [&](CTraceUtility::TRACE_DBG_LEVEL level) { WriteMacAddressFailure(level, reply); });
  if (answered) {
    *macAddress = CStringUtil::StringToUpperCase(text);
  }
  return answered;
}

bool QueryTcpipInfo(const std::string& toolPath, std::string* digits) {
  IpmiReply reply;
  std::string text;
  const bool answered = Retry(
      kBmcRetry,
      [&] {
        reply = Exchange(toolPath, GetTcpipInfoRequest());
        return reply.Succeeded() && JoinTcpipInfo(reply, &text);
      },
      [&](CTraceUtility::TRACE_DBG_LEVEL level) { WriteTcpipInfoFailure(level, reply); });
  if (answered) {
    *digits = text;
  }
  return answered;
}

void WriteMacAddressFailure(CTraceUtility::TRACE_DBG_LEVEL level, const IpmiReply& reply) {
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

void WriteTcpipInfoFailure(CTraceUtility::TRACE_DBG_LEVEL level, const IpmiReply& reply) {
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
