// Breaks lines for a reader whose terminal has that many columns. Pure.
#ifndef ORVHOST_INTERFACE_WRAPPED_H
#define ORVHOST_INTERFACE_WRAPPED_H

#include <cstddef>
#include <string>
#include <string_view>

namespace orvhost {

// The printable lines of `text`, each of at most `width` characters. What a line goes on with stands below its value
// ("  next step: "), or two columns further in than the line where that has no room. Only blanks are broken at, and
// none inside a command of this program between double quotes, so that what is longer than a line stays whole.
[[nodiscard]] std::string Wrapped(std::string_view text, std::size_t width);

}  // namespace orvhost

#endif  // ORVHOST_INTERFACE_WRAPPED_H
