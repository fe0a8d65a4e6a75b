#include "refhost/common/utf8.h"

#include <cstdint>
#include <optional>

namespace refhost {

namespace {

// Takes the first character off `text`; nothing when it is not well formed.
std::optional<uint32_t> TakeCharacter(std::string_view* text) {
  const auto first = static_cast<unsigned char>(text->front());
  if (first < 0x80) {
    text->remove_prefix(1);
    return first;
  }
  const std::size_t size = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
  if (first < 0xc0 || first > 0xf7 || text->size() < size) {
    return {};
  }
  uint32_t character = first & (0x7fU >> size);
  for (std::size_t i = 1; i < size; ++i) {
    const auto next = static_cast<unsigned char>((*text)[i]);
    if ((next & 0xc0U) != 0x80U) {
      return {};
    }
    character = (character << 6U) | (next & 0x3fU);
  }
  constexpr uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  if (character < kSmallest[size]) {
    return {};
  }
  text->remove_prefix(size);
  return character;
}

bool IsXmlCharacter(uint32_t c) {
  return c == 0x9 || c == 0xa || c == 0xd || (c >= 0x20 && c <= 0xd7ff) || (c >= 0xe000 && c <= 0xfffd) ||
         (c >= 0x10000 && c <= 0x10ffff);
}

bool IsNameStart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' ||
         (static_cast<unsigned char>(c) & 0x80U);
}

bool IsNameCharacter(char c) {
  return IsNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

}  // namespace

bool IsXmlText(std::string_view text) {
  while (!text.empty()) {
    const auto character = TakeCharacter(&text);
    if (!character || !IsXmlCharacter(*character)) {
      return false;
    }
  }
  return true;
}

bool IsXmlName(std::string_view text) {
  if (text.empty() || !IsNameStart(text.front()) || !IsXmlText(text)) {
    return false;
  }
  for (const char c : text) {
    if (!IsNameCharacter(c)) {
      return false;
    }
  }
  return true;
}

}  // namespace refhost
