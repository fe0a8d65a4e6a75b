#include "firmware/version_text.h"

#include <list>

#include "host/DllCommon.h"

namespace kestrel {

namespace {

std::string LastPiece(std::string text) {
  const std::list<std::string> pieces = CStringUtil::Split(text, ":");
  return pieces.empty() ? "" : pieces.back();
}

}  // namespace

std::optional<int> ParseBmcVersion(const std::string& text) {
  constexpr std::size_t kDash = 2;
  if (text.size() != 5 || text[kDash] != '-') {
    return std::nullopt;
  }
  int number = 0;
  for (const char character : text.substr(0, kDash) + text.substr(kDash + 1)) {
    if (character < '0' || character > '9') {
      return std::nullopt;
    }
    number = 10 * number + (character - '0');
  }
  return number;
}

CombinedVersion ParseCombinedVersion(const std::string& text) {
  std::string whole = text;
  const std::list<std::string> pieces = CStringUtil::Split(whole, ",");
  return {Contains(text, "BMC:") && Contains(text, "SDR:"), Contains(text, "BMC:*"), Contains(text, "SDR:*"),
          pieces.empty() ? "" : LastPiece(pieces.front()), pieces.empty() ? "" : LastPiece(pieces.back())};
}

}  // namespace kestrel
