#include "posix/utf8.h"

#include <array>
#include <cstddef>

namespace posix {

std::optional<char32_t> TakeCharacter(std::string_view* text) {
  const auto first = static_cast<unsigned char>(text->front());
  if (first < 0x80) {
    text->remove_prefix(1);
    return first;
  }
  const std::size_t size = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
  if (first < 0xc0 || first > 0xf7 || text->size() < size) {
    return {};
  }
  char32_t character = first & (0x7fU >> size);
  for (std::size_t i = 1; i < size; ++i) {
    const auto next = static_cast<unsigned char>((*text)[i]);
    if ((next & 0xc0U) != 0x80U) {
      return {};
    }
    character = (character << 6U) | (next & 0x3fU);
  }
  constexpr std::array<char32_t, 5> kSmallest{0, 0, 0x80, 0x800, 0x10000};
  const bool isSurrogate = character >= 0xd800 && character <= 0xdfff;
  if (character < kSmallest[size] || isSurrogate || character > 0x10ffff) {
    return {};
  }
  text->remove_prefix(size);
  return character;
}

}  // namespace posix
