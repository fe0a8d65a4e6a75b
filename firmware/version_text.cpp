#include "firmware/version_text.h"

#include <list>

#include "host/DllCommon.h"

namespace kestrel {

namespace {

bool IsDigit(char character) {
  return character >= '0' && character <= '9';
}

int TwoDigits(const std::string& text, std::size_t at) {
  return 10 * (text[at] - '0') + (text[at + 1] - '0');
}

bool Contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

std::string LastPiece(std::string text) {
  const std::list<std::string> pieces = CStringUtil::Split(text, ":");
  return pieces.empty() ? "" : pieces.back();
}

}  // namespace

std::optional<BmcVersion> ParseBmcVersion(const std::string& text) {
  if (text.size() != 5 || text[2] != '-') {
    return std::nullopt;
  }
  for (const std::size_t at : {0, 1, 3, 4}) {
    if (!IsDigit(text[at])) {
      return std::nullopt;
    }
  }
  return BmcVersion{TwoDigits(text, 0), TwoDigits(text, 3)};
}

CombinedVersion ParseCombinedVersion(const std::string& text) {
  std::string whole = text;
  const std::list<std::string> pieces = CStringUtil::Split(whole, ",");
  return {Contains(text, "BMC:") && Contains(text, "SDR:"), Contains(text, "BMC:*"), Contains(text, "SDR:*"),
          pieces.empty() ? "" : LastPiece(pieces.front()), pieces.empty() ? "" : LastPiece(pieces.back())};
}

}  // namespace kestrel
