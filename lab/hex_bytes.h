// Bytes as a line of text: two hexadecimal digits each, blanks between.
#ifndef LAB_HEX_BYTES_H
#define LAB_HEX_BYTES_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kv6000 {

// "34 8c 55" with no blank at either end.
[[nodiscard]] std::string FormatHex(std::span<const std::uint8_t> bytes);

// nullopt when a word is not one or two hexadecimal digits.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> ParseHex(const std::string& text);

}  // namespace kv6000

#endif  // LAB_HEX_BYTES_H
