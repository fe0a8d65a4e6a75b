#include "firmware/sdr_version.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string_view>

#include "firmware/requests.h"
#include "firmware/sdr_record.h"
#include "ipmi/retried_exchange.h"
#include "ipmi/trace.h"

namespace kestrel {

namespace {

constexpr unsigned int kHighestRecordId = 0x10000;

// At least four lower-case hexadecimal digits.
std::string RecordIdText(unsigned int id) {
  constexpr std::size_t kDigits = 4;
  std::array<char, 8> digits{};
  const std::string_view text(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), id, 16).ptr);
  return std::string(kDigits - std::min(kDigits, text.size()), '0').append(text);
}

// Number of records as the two byte texts of the BMC's answer. False, with its line written, when there is none.
bool AskRecordCount(const std::string& toolPath, std::string* lower, std::string* upper) {
  const auto report = [](Level level, const IpmiReply& /*reply*/) {
    if (level == kError) {  // only the last failure is worth a line here
      CTraceUtility::WriteDebug(kChannel, level, "Failed to execute Get SDR Repository Info Command");
    }
  };
  const std::optional<IpmiReply> reply = RetryExchange(kBmcRetry, toolPath, GetSdrRepositoryInfoRequest(), report);
  if (!reply) {
    return false;
  }
  *lower = reply->Element(2);
  *upper = reply->Element(3);
  if (lower->empty()) {
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to get SDR Record Count(Lw)");
    return false;
  }
  if (upper->empty()) {
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to get SDR Record Count(Up)");
    return false;
  }
  CTraceUtility::WriteDebug(kChannel, kInfo, "Record Count [%s][%s]", lower->c_str(), upper->c_str());
  return true;
}

// The ID that equals the record count. It is looked for and not computed: a count that no ID's text equals (zero, or
// one in capital digits) starts the scan at the highest ID, which readers of the trace know.
unsigned int FirstRecordId(const std::string& lower, const std::string& upper) {
  const std::string count = upper + lower;
  unsigned int id = 1;
  while (id < kHighestRecordId && RecordIdText(id) != count) {
    ++id;
  }
  return id;
}

// False when the record cannot be read, which deliberately leaves no line of its own.
bool ReadRecord(const std::string& toolPath, unsigned int id, std::string* record) {
  const std::string digits = RecordIdText(id);
  const std::string high = digits.substr(0, 2);
  const std::string low = digits.substr(2, 2);  // the highest ID has five digits; its last one is not sent
  CTraceUtility::WriteDebug(kChannel, kInfo, "Record Num [%s][%s]", low.c_str(), high.c_str());
  IpmiReply reply;
  const bool answered = Retry(
      kBmcRetry,
      [&] {
        CTraceUtility::WriteDebug(kChannel, kInfo, "Exec Get SDR Data");
        reply = Exchange(toolPath, GetSdrRequest(low, high));
        return reply.Succeeded();
      },
      [](Level) {});
  if (!answered) {
    return false;
  }
  record->clear();
  for (auto byte = std::next(reply.Elements().begin()); byte != reply.Elements().end(); ++byte) {
    *record += *byte;
  }
  *record = CStringUtil::StringToUpperCase(*record);
  CTraceUtility::WriteDebug(kChannel, kInfo, "Record [%s]", record->c_str());
  return true;
}

}  // namespace

std::string ReadSdrVersion(const std::string& toolPath) {
  CTraceUtility::WriteDebug(kChannel, kFlow, "CBMC_KESTREL_Firmware::GetSDRVersion() [START]");
  std::string lower;
  std::string upper;
  // The failures have no end line; readers of the trace match on it.
  if (!AskRecordCount(toolPath, &lower, &upper)) {
    return "";
  }
  SdrVersionField field{SdrVersionField::State::kNoMarker, ""};
  std::string record;
  for (unsigned int id = FirstRecordId(lower, upper); id > 0 && field.state != SdrVersionField::State::kFound; --id) {
    if (!ReadRecord(toolPath, id, &record)) {
      continue;
    }
    field = FindSdrVersion(record);
    if (field.state == SdrVersionField::State::kTruncated) {
      CTraceUtility::WriteDebug(kChannel, kError, "Failed to get SDR Version. Record[%s]", record.c_str());
      return "";
    }
  }
  CTraceUtility::WriteDebug(kChannel, kFlow, "CBMC_KESTREL_Firmware::GetSDRVersion() [%s] [END]",
                            field.version.c_str());
  return field.version;
}

}  // namespace kestrel
