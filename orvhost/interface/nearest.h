// Which of the words that there are somebody may have meant who mistyped one. Pure.
#ifndef ORVHOST_INTERFACE_NEAREST_H
#define ORVHOST_INTERFACE_NEAREST_H

#include <string>
#include <string_view>
#include <vector>

namespace orvhost {

// The one of `words` that differs from `typed` by the fewest letters left out, added, replaced or exchanged with their
// neighbour; "" when all differ by more than a third of it.
[[nodiscard]] std::string Nearest(std::string_view typed, const std::vector<std::string>& words);

}  // namespace orvhost

#endif  // ORVHOST_INTERFACE_NEAREST_H
