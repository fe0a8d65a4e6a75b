// See order_words.h.
#include "lab/server/order_words.h"

#include <algorithm>
#include <charconv>

namespace kv6000 {

namespace {

constexpr std::uint8_t kLargestNetFn = 0x3e;

std::optional<unsigned> ParseCount(const std::string& text) {
  return text == "always" ? 0 : ParseNumber(text, 10, 1000000);
}

// NETFN CMD and the data after the count.
std::optional<std::vector<std::uint8_t>> ParseHead(std::span<const std::string> command,
                                                   std::span<const std::string> data) {
  std::vector<std::uint8_t> head;
  for (const auto words : {command, data}) {
    for (const std::string& word : words) {
      const auto byte = ParseNumber(word, 16, 0xff);
      if (!byte) {
        return std::nullopt;
      }
      head.push_back(static_cast<std::uint8_t>(*byte));
    }
  }
  const bool isRequest = head[0] % 2 == 0 && head[0] <= kLargestNetFn;
  return isRequest ? std::optional(head) : std::nullopt;
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
  if (words.size() < least) {
    *error = hasValue ? "expected NETFN CMD VALUE [COUNT|always [DATA ...]]"
                      : "expected NETFN CMD [COUNT|always [DATA ...]]";
    return std::nullopt;
  }
  const auto head = ParseHead(words.first(2), words.subspan(std::min(words.size(), least + 1)));
  const auto value = hasValue ? ParseNumber(words[2], isLength ? 10 : 16, 0xff) : 0U;
  const auto count = words.size() > least ? ParseCount(words[least]) : 1U;
  if (!head || !value || !count) {
    *error = "NETFN (even), CMD and data are hexadecimal, so is a completion code; a length and a count are decimal";
    return std::nullopt;
  }
  if (isLength && (*value == 0 || *value > kLongestAnswer)) {
    *error = "an answer has 1 byte, its completion code, to " + std::to_string(kLongestAnswer) +
             " bytes; use 'silent' for none";
    return std::nullopt;
  }
  return FaultOrder{*head, {kind, static_cast<std::uint8_t>(*value)}, *count};
}

}  // namespace kv6000
