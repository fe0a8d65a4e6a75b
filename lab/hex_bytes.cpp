// See hex_bytes.h.
#include "lab/hex_bytes.h"

#include <charconv>
#include <sstream>

namespace kv6000 {

std::string FormatHex(std::span<const std::uint8_t> bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const auto byte : bytes) {
    text += text.empty() ? "" : " ";
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 0x0fU];
  }
  return text;
}

std::optional<std::vector<std::uint8_t>> ParseHex(const std::string& text) {
  std::vector<std::uint8_t> bytes;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    std::uint8_t byte = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), byte, 16);
    if (error != std::errc{} || end != word.data() + word.size() || word.size() > 2) {
      return std::nullopt;
    }
    bytes.push_back(byte);
  }
  return bytes;
}

}  // namespace kv6000
