#include "firmware/version_comparison.h"

#include <optional>

#include "firmware/version_text.h"
#include "ipmi/trace.h"

namespace kestrel {

namespace {

// Codes of the malformed version: the first, the second, or one of both.
constexpr const char* kFirst = "09";
constexpr const char* kSecond = "0A";
constexpr const char* kEither = "090A";

void ReportMalformed(const char* code) {
  CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0008_F", code);
  CTraceUtility::WriteDebug(kChannel, kError, "Invalid version format");
}

// 1, 0 or -1 as `second` is above, equal to or below `first`.
template <typename T>
int Direction(const T& first, const T& second) {
  return static_cast<int>(second > first) - static_cast<int>(second < first);
}

int CompareCharacters(const std::string& first, const std::string& second) {
  // The first character deliberately does not count.
  for (std::size_t at = 1; at < first.size(); ++at) {
    const int direction = Direction(static_cast<signed char>(first[at]), static_cast<signed char>(second[at]));
    if (direction != 0) {
      return direction;
    }
  }
  return 0;
}

int CompareCombinedVersions(const std::string& firstText, const std::string& secondText) {
  const CombinedVersion first = ParseCombinedVersion(firstText);
  const CombinedVersion second = ParseCombinedVersion(secondText);
  if (!first.complete || !second.complete) {
    ReportMalformed(kEither);
    return 0;
  }
  int result = 0;
  if (!first.anyBmc && !first.anySdr && !second.anyBmc && !second.anySdr) {
    if (CompareBmcVersions(first.bmc, second.bmc, &result) && result == 0) {
      CompareSdrVersions(first.sdr, second.sdr, &result);
    }
    return result;
  }
  const bool firstFixesBmcOnly = !first.anyBmc && first.anySdr;
  const bool firstFixesSdrOnly = first.anyBmc && !first.anySdr;
  const bool secondFixesBmcOnly = !second.anyBmc && second.anySdr;
  const bool secondFixesSdrOnly = second.anyBmc && !second.anySdr;
  if ((firstFixesBmcOnly && secondFixesSdrOnly) || (firstFixesSdrOnly && secondFixesBmcOnly)) {
    return 0;  // each leaves open what the other fixes
  }
  if (firstFixesBmcOnly || secondFixesBmcOnly) {
    CompareBmcVersions(first.bmc, second.bmc, &result);
  } else if (firstFixesSdrOnly || secondFixesSdrOnly) {
    CompareSdrVersions(first.sdr, second.sdr, &result);
  } else {
    ReportMalformed(kEither);  // one leaves both open
  }
  return result;
}

}  // namespace

bool CompareBmcVersions(const std::string& first, const std::string& second, int* result) {
  CTraceUtility::WriteDebug(kChannel, kFlow, "CBMC_KESTREL_Firmware::CheckBMCVersion() [%s][%s] [START]", first.c_str(),
                            second.c_str());
  *result = 0;
  const std::optional<int> firstVersion = ParseBmcVersion(first);
  const std::optional<int> secondVersion = ParseBmcVersion(second);
  if (!firstVersion || !secondVersion) {
    ReportMalformed(firstVersion ? kSecond : kFirst);
    return false;  // without an end line, like below; readers of the trace match on it
  }
  *result = Direction(*firstVersion, *secondVersion);
  CTraceUtility::WriteDebug(kChannel, kFlow, "CBMC_KESTREL_Firmware::CheckBMCVersion() [%d] [END]", *result);
  return true;
}

bool CompareSdrVersions(const std::string& first, const std::string& second, int* result) {
  CTraceUtility::WriteDebug(kChannel, kFlow, "CBMC_KESTREL_Firmware::CheckSDRVersion() [%s][%s] [START]", first.c_str(),
                            second.c_str());
  *result = 0;
  if (first.size() < 2 || second.size() < 2) {
    ReportMalformed(first.size() < 2 ? kFirst : kSecond);
    return false;
  }
  if (first.size() != second.size()) {
    *result = Direction(first.size(), second.size());
  } else {
    // In the place of the dot, a character above every digit and letter.
    std::string firstOrdered = first;
    std::string secondOrdered = second;
    CStringUtil::strReplace(firstOrdered, ".", "{");
    CStringUtil::strReplace(secondOrdered, ".", "{");
    *result = CompareCharacters(firstOrdered, secondOrdered);
  }
  CTraceUtility::WriteDebug(kChannel, kFlow, "CBMC_KESTREL_Firmware::CheckSDRVersion() [%d] [END]", *result);
  return true;
}

int CompareVersions(const std::string& first, const std::string& second) {
  CTraceUtility::WriteDebug(kChannel, kFlow, "CBMC_KESTREL_Firmware::CheckVendorVersion() [%s] [%s] [START]",
                            first.c_str(), second.c_str());
  const std::string serverType = CCommon_Information::GetServerType(kChannel);
  if (serverType.empty()) {
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to get Server Type");
    return 0;  // without an end line
  }
  int result = 0;
  if (serverType.find("kv6000rt") != std::string::npos) {
    result = CompareCombinedVersions(first, second);
  } else {
    CompareBmcVersions(first, second, &result);
  }
  CTraceUtility::WriteDebug(kChannel, kFlow, "CBMC_KESTREL_Firmware::CheckVendorVersion() [%d] [END]", result);
  return result;
}

}  // namespace kestrel
