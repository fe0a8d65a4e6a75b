// The words of an order line: numbers, and the faults that a line can order. Pure; carries nothing out.
#ifndef LAB_SERVER_ORDER_WORDS_H
#define LAB_SERVER_ORDER_WORDS_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "lab/server/fault_plan.h"

namespace kv6000 {

// The longest answer of the BMC, completion code included.
inline constexpr unsigned kLongestAnswer = 200;

// nullopt unless the whole text is a number of the base and not above `most`.
[[nodiscard]] std::optional<unsigned> ParseNumber(const std::string& text, int base, unsigned most);

struct FaultOrder {
  std::vector<std::uint8_t> head;  // NetFn, Cmd, and the data bytes that a request must begin with
  Fault fault;
  unsigned count = 1;  // 0: always
};

// Reads NETFN CMD VALUE [COUNT|always [DATA ...]], without VALUE for kSilent. nullopt, with the reason in `*error`,
// when the words are something else.
[[nodiscard]] std::optional<FaultOrder> ParseFaultOrder(Fault::Kind kind, std::span<const std::string> words,
                                                        std::string* error);

}  // namespace kv6000

#endif  // LAB_SERVER_ORDER_WORDS_H
