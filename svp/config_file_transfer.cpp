#include "svp/config_file_transfer.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "ipmi/byte_text.h"
#include "ipmi/ipmi_exchange.h"
#include "ipmi/retry.h"
#include "svp/requests.h"

namespace kestrel {

namespace {

using Level = CTraceUtility::TRACE_DBG_LEVEL;

constexpr int kPieceSize = 32;  // data bytes of one write

bool IsDone(const IpmiReply& reply) {
  return reply.Succeeded();
}

// 01 is good for the lock alone.
bool IsLocked(const IpmiReply& reply) {
  return reply.Succeeded() || (reply.Ran() && reply.CompletionCode() == "01");
}

// Sends the same request until `accepts(reply)` or three attempts have failed; `report(level, completionCode)` after
// each that did.
template <typename Report>
bool Try(const std::string& toolPath, const IpmiRequest& request, bool (*accepts)(const IpmiReply&), Report report) {
  IpmiReply reply;
  const auto attempt = [&] {
    reply = Exchange(toolPath, request);
    return accepts(reply);
  };
  return Retry(kBmcRetry, attempt, [&](Level level) { report(level, reply.CompletionCode()); });
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
  return Try(toolPath_, LockRequest(file_.id), IsLocked, [this](Level level, const std::string& code) {
    if (Tells(level)) {
      CTraceUtility::WriteDebug(kChannel, level,
                                "Failed to execute IPMI command(OEM Lock Server Config File) CompletionCode:%s",
                                code.c_str());
    }
  });
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
  return Try(toolPath_, request, IsDone, [this](Level level, const std::string& code) {
    if (Tells(level)) {
      CTraceUtility::WriteDebug(kChannel, level,
                                "Failed to execute IPMI command(OEM Write Server Config File) CompletionCode:%s",
                                code.c_str());
    }
  });
}

bool ConfigFileTransfer::WriteSignature() {
  return Try(toolPath_, WriteSignatureRequest(file_.id), IsDone, [this](Level level, const std::string& code) {
    if (Tells(level)) {
      CTraceUtility::WriteDebug(
          kChannel, level, "Failed to execute IPMI command(OEM Write Server Config File [Signature]) CompletionCode:%s",
          code.c_str());
    }
  });
}

bool ConfigFileTransfer::Notify() {
  return Try(toolPath_, NotifyRequest(file_.event), IsDone, [this](Level level, const std::string& code) {
    if (Tells(level)) {
      CTraceUtility::WriteDebug(kChannel, level,
                                "Failed to execute IPMI command(OEM Notify ORV Event) CompletionCode:%s", code.c_str());
    }
  });
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
  const auto report = [](Level level, const std::string& code) {
    if (level == kRetry) {
      CTraceUtility::WriteDebug(kChannel, level,
                                "Failed to execute IPMI command(OEM UnLock Server Config File) CompletionCode:%s",
                                code.c_str());
    }
  };
  return Try(toolPath, UnlockRequest(fileId), IsDone, report) ? 0 : -1;
}

}  // namespace kestrel
