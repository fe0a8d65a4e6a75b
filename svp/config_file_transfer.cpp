#include "svp/config_file_transfer.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "ipmi/byte_text.h"
#include "ipmi/retried_exchange.h"
#include "svp/requests.h"

namespace kestrel {

namespace {

constexpr int kPieceSize = 32;  // data bytes of one write

// 01 is good for the lock alone.
bool IsLocked(const IpmiReply& reply) {
  return reply.Succeeded() || (reply.Ran() && reply.CompletionCode() == "01");
}

}  // namespace

ConfigFileTransfer::ConfigFileTransfer(std::string toolPath, const ConfigFile& file, FinalFailure finalFailure,
                                       OperationTrace* trace, std::string* detail)
    : toolPath_(std::move(toolPath)), file_(file), finalFailure_(finalFailure), trace_(*trace), detail_(*detail) {}

int ConfigFileTransfer::Run(std::list<std::string> record) {
  if (!Lock()) {
    return FailStep();
  }
  if (!Write(std::move(record)) || !WriteSignature()) {
    const int result = FailStep();
    UnlockConfigFile(toolPath_, file_.id);
    return result;
  }
  if (UnlockConfigFile(toolPath_, file_.id) != 0) {
    trace_.NoEnd();  // of either sender; readers of the trace match on it
    return Fail();
  }
  return Notify() ? kSent : FailStep();
}

bool ConfigFileTransfer::Lock() {
  const auto report = [this](Level level, const IpmiReply& reply) {
    if (Tells(level)) {
      CTraceUtility::WriteDebug(kChannel, level,
                                "Failed to execute IPMI command(OEM Lock Server Config File) CompletionCode:%s",
                                reply.CompletionCode().c_str());
    }
  };
  return RetryExchange(kBmcRetry, toolPath_, LockRequest(file_.id), IsLocked, report).has_value();
}

bool ConfigFileTransfer::Write(std::list<std::string> record) {
  for (int offset = 0; !record.empty(); offset += kPieceSize) {
    IpmiRequest request = WriteRequestHead(file_.id);
    AppendNumber(offset, 4, &request);
    const auto size = std::min<std::ptrdiff_t>(kPieceSize, std::ssize(record));
    request.splice(request.end(), record, record.begin(), std::next(record.begin(), size));
    if (!WritePiece(request)) {
      return false;
    }
  }
  return true;
}

bool ConfigFileTransfer::WritePiece(const IpmiRequest& request) {
  const auto report = [this](Level level, const IpmiReply& reply) {
    if (Tells(level)) {
      CTraceUtility::WriteDebug(kChannel, level,
                                "Failed to execute IPMI command(OEM Write Server Config File) CompletionCode:%s",
                                reply.CompletionCode().c_str());
    }
  };
  return RetryExchange(kBmcRetry, toolPath_, request, report).has_value();
}

bool ConfigFileTransfer::WriteSignature() {
  const auto report = [this](Level level, const IpmiReply& reply) {
    if (Tells(level)) {
      CTraceUtility::WriteDebug(
          kChannel, level, "Failed to execute IPMI command(OEM Write Server Config File [Signature]) CompletionCode:%s",
          reply.CompletionCode().c_str());
    }
  };
  return RetryExchange(kBmcRetry, toolPath_, WriteSignatureRequest(file_.id), report).has_value();
}

bool ConfigFileTransfer::Notify() {
  const auto report = [this](Level level, const IpmiReply& reply) {
    if (Tells(level)) {
      CTraceUtility::WriteDebug(kChannel, level,
                                "Failed to execute IPMI command(OEM Notify ORV Event) CompletionCode:%s",
                                reply.CompletionCode().c_str());
    }
  };
  return RetryExchange(kBmcRetry, toolPath_, NotifyRequest(file_.event), report).has_value();
}

bool ConfigFileTransfer::Tells(Level level) const {
  return level == kRetry || finalFailure_ == FinalFailure::kMessageAndEnd;
}

int ConfigFileTransfer::FailStep() {
  // The end line comes before the record, and before an unlock that still follows.
  if (finalFailure_ == FinalFailure::kMessageAndEnd) {
    trace_.End();
  } else {
    trace_.NoEnd();
  }
  return Fail();
}

int ConfigFileTransfer::Fail() {
  detail_.insert(0, "29");
  CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0021_F", detail_.c_str());
  return kSendFailed;
}

int UnlockConfigFile(const std::string& toolPath, const std::string& fileId) {
  const auto report = [](Level level, const IpmiReply& reply) {
    if (level == kRetry) {
      CTraceUtility::WriteDebug(kChannel, level,
                                "Failed to execute IPMI command(OEM UnLock Server Config File) CompletionCode:%s",
                                reply.CompletionCode().c_str());
    }
  };
  return RetryExchange(kBmcRetry, toolPath, UnlockRequest(fileId), report) ? 0 : -1;
}

}  // namespace kestrel
