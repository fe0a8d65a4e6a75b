// Makes a text that comes from outside (a package, a journal, the BMC, another program) fit to be read at a terminal:
// it stays on its line, steers nothing, hides nothing, and is not endless. All that the tool prints for people passes
// here; programs get the text itself as JSON.
#ifndef ORVHOST_INTERFACE_PRINTABLE_H
#define ORVHOST_INTERFACE_PRINTABLE_H

#include <cstddef>
#include <string>
#include <string_view>

namespace orvhost {

// Characters of a printed line or value.
inline constexpr std::size_t kLongestPrinted = 600;

// Control characters, line separators and characters that nobody sees or that turn the direction of others become
// escapes ("\n", "\x1b", "\u202e"), so do bytes that are not UTF-8. Of a text that is then longer than `longest`
// characters the middle is left out, which a note in its place says with the number.
[[nodiscard]] std::string Printable(std::string_view text, std::size_t longest = kLongestPrinted);

// The escapes alone: nothing is left out.
[[nodiscard]] std::string Escaped(std::string_view text);

// The same for a text of several lines, which stay lines.
[[nodiscard]] std::string EscapedLines(std::string_view text);

// How many characters a printable text has.
[[nodiscard]] std::size_t CharactersIn(std::string_view text);

}  // namespace orvhost

#endif  // ORVHOST_INTERFACE_PRINTABLE_H
