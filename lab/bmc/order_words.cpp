// See order_words.h.
#include "lab/bmc/order_words.h"

#include <charconv>

namespace kv6000 {

namespace {

std::optional<unsigned> ParseCount(const std::string& text) {
  return text == "always" ? 0 : ParseNumber(text, 10, 1000000);
}

}  // namespace

std::optional<unsigned> ParseNumber(const std::string& text, int base, unsigned most) {
  unsigned value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  if (error != std::errc{} || end != text.data() + text.size() || value > most) {
    return std::nullopt;
  }
  return value;
}

std::optional<FaultOrder> ParseFaultOrder(Fault::Kind kind, std::span<const std::string> words, std::string* error) {
  const bool hasValue = kind != Fault::Kind::kSilent;
  const bool isLength = kind == Fault::Kind::kShort || kind == Fault::Kind::kLong;
  const std::size_t least = hasValue ? 3 : 2;
  if (words.size() < least || words.size() > least + 1) {
    *error = hasValue ? "expected NETFN CMD VALUE [COUNT|always]" : "expected NETFN CMD [COUNT|always]";
    return std::nullopt;
  }
  const auto netfn = ParseNumber(words[0], 16, 0x3e);
  const auto cmd = ParseNumber(words[1], 16, 0xff);
  const auto value = hasValue ? ParseNumber(words[2], isLength ? 10 : 16, 0xff) : 0U;
  const auto count = words.size() > least ? ParseCount(words[least]) : 1U;
  if (!netfn || *netfn % 2 != 0 || !cmd || !value || !count) {
    *error = "NETFN (even) and CMD are hexadecimal, so is a completion code; a length and a count are decimal";
    return std::nullopt;
  }
  if (isLength && (*value == 0 || *value > kLongestAnswer)) {
    *error = "an answer has 1 byte, its completion code, to " + std::to_string(kLongestAnswer) +
             " bytes; use 'silent' for none";
    return std::nullopt;
  }
  return FaultOrder{static_cast<std::uint8_t>(*netfn),
                    static_cast<std::uint8_t>(*cmd),
                    {kind, static_cast<std::uint8_t>(*value)},
                    *count};
}

}  // namespace kv6000
