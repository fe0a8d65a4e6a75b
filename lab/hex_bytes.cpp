// See hex_bytes.h.
#include "lab/hex_bytes.h"

#include <charconv>
#include <sstream>

namespace kv6000 {

std::string FormatHex(std::uint8_t byte) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  return {kDigits[byte >> 4U], kDigits[byte & 0x0fU]};
}

std::optional<std::uint8_t> ParseHexByte(std::string_view text) {
  std::uint8_t byte = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, byte, 16);
  return error == std::errc{} && stop == end && text.size() <= 2 ? std::optional(byte) : std::nullopt;
}

std::string FormatHex(std::span<const std::uint8_t> bytes) {
  std::string text;
  for (const auto byte : bytes) {
    text += (text.empty() ? "" : " ") + FormatHex(byte);
  }
  return text;
}

std::optional<std::vector<std::uint8_t>> ParseHex(const std::string& text) {
  std::vector<std::uint8_t> bytes;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    const auto byte = ParseHexByte(word);
    if (!byte) {
      return std::nullopt;
    }
    bytes.push_back(*byte);
  }
  return bytes;
}

}  // namespace kv6000
