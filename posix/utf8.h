// Takes a UTF-8 text apart into its characters. Nothing here converts or repairs.
#ifndef POSIX_UTF8_H
#define POSIX_UTF8_H

#include <optional>
#include <string_view>

namespace posix {

// Takes the first character off `text`, which must not be empty. Nothing, with `text` as it was, when it does not begin
// with a well-formed one (shortest form, no surrogate, none above U+10FFFF).
[[nodiscard]] std::optional<char32_t> TakeCharacter(std::string_view* text);

}  // namespace posix

#endif  // POSIX_UTF8_H
