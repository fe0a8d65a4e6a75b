// Bytes as a line of text: two hexadecimal digits each, blanks between.
#ifndef LAB_HEX_BYTES_H
#define LAB_HEX_BYTES_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kv6000 {

// "0a": two digits in lower case.
[[nodiscard]] std::string FormatHex(std::uint8_t byte);

// nullopt when the text is not one or two hexadecimal digits, in either case.
[[nodiscard]] std::optional<std::uint8_t> ParseHexByte(std::string_view text);

// "34 8c 55" with no blank at either end.
[[nodiscard]] std::string FormatHex(std::span<const std::uint8_t> bytes);

// nullopt when a word is not such a byte.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> ParseHex(const std::string& text);

}  // namespace kv6000

#endif  // LAB_HEX_BYTES_H
