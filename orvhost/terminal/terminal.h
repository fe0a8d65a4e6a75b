// What a terminal is like.
#ifndef ORVHOST_TERMINAL_TERMINAL_H
#define ORVHOST_TERMINAL_TERMINAL_H

#include <cstddef>

namespace orvhost {

// True when `descriptor` is a terminal that obeys control sequences, which TERM tells ("dumb", "unknown", none: not).
[[nodiscard]] bool ObeysSequences(int descriptor);

// The columns of the terminal `descriptor`; 80 for one that does not tell.
[[nodiscard]] std::size_t WidthOf(int descriptor);

}  // namespace orvhost

#endif  // ORVHOST_TERMINAL_TERMINAL_H
