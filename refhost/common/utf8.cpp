#include "refhost/common/utf8.h"

#include "posix/utf8.h"

namespace refhost {

namespace {

bool IsXmlCharacter(char32_t c) {
  return c == 0x9 || c == 0xa || c == 0xd || (c >= 0x20 && c <= 0xfffd) || c >= 0x10000;
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
    const auto character = posix::TakeCharacter(&text);
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
