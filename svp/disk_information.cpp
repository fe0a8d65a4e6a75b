#include "svp/disk_information.h"

#include <list>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "ipmi/trace.h"
#include "svp/capability.h"
#include "svp/config_file_transfer.h"
#include "svp/management_library.h"

namespace kestrel {

namespace {

void ReportNoCapability(Level level) {
  if (level != kRetry) {
    return;  // of the last attempt "not supported" says it alone
  }
  CTraceUtility::WriteDebug(kChannel, level, "Get Capability Failed");
  // An end line after every attempt that is followed by another; readers of the trace match on it.
  CTraceUtility::WriteDebug(kChannel, kFlow, "CBMC_KESTREL_Firmware::ExecSendHddInfo [END]");
}

void RecordNoData(std::string* detail) {
  detail->insert(0, "28");
  CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0023_F", detail->c_str());
}

std::unique_ptr<CBMC_MngLib> OpenLibrary() {
  try {
    std::unique_ptr<CBMC_MngLib> library(new (std::nothrow) CBMC_MngLib);
    if (library == nullptr) {
      CTraceUtility::WriteDebug(kChannel, kError, "Failed to createCBMC_MngLib. pMngLib == NULL");
    }
    return library;
  } catch (...) {
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to createCBMC_MngLib. try catch error");
    return nullptr;
  }
}

// Asks `library` and unloads it: it is not kept loaded during the transfer, however that ends.
bool AskAndClose(std::unique_ptr<CBMC_MngLib> library, std::string* info, std::string* errorCode) {
  std::string warningCode;
  const bool succeeded = library->GetHddInfoToSVP(info, errorCode, &warningCode);
  library.reset();
  CTraceUtility::WriteDebug(kChannel, kInfo, "ErrCode:[%s] WrnCode:[%s]", errorCode->c_str(), warningCode.c_str());
  return succeeded;
}

void RecordQueryFailure(const std::string& errorCode) {
  CTraceUtility::WriteDebug(kChannel, kError, "GetHddInfoToSVP Error!");
  if (errorCode == "02") {
    CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0024_F");
  } else if (errorCode == "01") {
    CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0025_F");
  } else {
    CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0026_F", "28");
  }
}

// Pairs of any characters; nothing when one is left over.
std::optional<std::list<std::string>> Pairs(const std::string& text) {
  if (text.size() % 2 != 0) {
    return std::nullopt;
  }
  std::list<std::string> pairs;
  for (std::size_t at = 0; at < text.size(); at += 2) {
    pairs.push_back(text.substr(at, 2));
  }
  return pairs;
}

// The record as byte texts; nothing, and the failure recorded, when there is none.
std::optional<std::list<std::string>> ReadRecord(std::string* detail) {
  std::unique_ptr<CBMC_MngLib> library = OpenLibrary();
  if (library == nullptr) {
    RecordNoData(detail);
    return std::nullopt;
  }
  std::string info;
  std::string errorCode;
  if (!AskAndClose(std::move(library), &info, &errorCode)) {
    RecordQueryFailure(errorCode);
    return std::nullopt;
  }
  std::optional<std::list<std::string>> record = Pairs(info);
  if (!record) {
    CTraceUtility::WriteDebug(kChannel, kError, "Invalid send data [%s]", info.c_str());
    RecordNoData(detail);
  }
  return record;
}

}  // namespace

int SendDiskInformation(const std::string& toolPath, std::string* detail) {
  detail->clear();
  // "Hdd" in the start line and "HDD" in the end line; readers of the trace match on both.
  OperationTrace trace("CBMC_KESTREL_Firmware::ExecSendHddInfo [START]",
                       "CBMC_KESTREL_Firmware::ExecSendHDDInfo [END]");
  const std::optional<int> flags = ReadSupportFlags(toolPath, ReportNoCapability);
  if (!flags) {
    CTraceUtility::WriteDebug(kChannel, kInfo, "Send HDD Information not supported");
    // Without an answer the end line is spelled as the start line.
    trace.EndAs("CBMC_KESTREL_Firmware::ExecSendHddInfo [END]");
    return kNotSupported;
  }
  if ((*flags & kDiskInformationFile.supportBit) == 0) {
    CTraceUtility::WriteDebug(kChannel, kInfo, "Send HDD Information not supported");
    return kNotSupported;
  }
  std::optional<std::list<std::string>> record = ReadRecord(detail);
  if (!record) {
    trace.NoEnd();  // readers of the trace match on it
    return kSendFailed;
  }
  ConfigFileTransfer transfer(toolPath, kDiskInformationFile, FinalFailure::kRecordOnly, &trace, detail);
  return transfer.Run(*std::move(record));
}

}  // namespace kestrel
