#include "orvhost/interface/printable.h"

#include <algorithm>
#include <array>

#include "posix/utf8.h"

namespace orvhost {

namespace {

struct Range {
  char32_t first;
  char32_t last;
};

// What a terminal obeys instead of showing it, and what is invisible or moves what stands around it.
constexpr auto kNotForTheEye = std::to_array<Range>({
    {0x0000, 0x001f},
    {0x007f, 0x009f},
    {0x00ad, 0x00ad},
    {0x061c, 0x061c},
    {0x180e, 0x180e},
    {0x200b, 0x200f},
    {0x2028, 0x202e},
    {0x2060, 0x206f},
    {0xfeff, 0xfeff},
    {0xfff9, 0xfffb},
    {0xe0000, 0xe007f},
});

bool IsForTheEye(char32_t character) {
  return std::ranges::none_of(kNotForTheEye,
                              [=](const Range& range) { return character >= range.first && character <= range.last; });
}

// "\x1b": the mark and that many hexadecimal digits.
void AppendEscape(char mark, int digits, char32_t value, std::string* text) {
  *text += '\\';
  *text += mark;
  while (digits-- > 0) {
    *text += "0123456789abcdef"[(value >> (4U * static_cast<unsigned>(digits))) & 0xfU];
  }
}

void AppendEscape(char32_t character, std::string* text) {
  switch (character) {
    case '\n':
      *text += "\\n";
      break;
    case '\r':
      *text += "\\r";
      break;
    case '\t':
      *text += "\\t";
      break;
    default:
      const bool isLong = character >= 0x10000;
      const bool isShort = character < 0x80;
      AppendEscape(isShort ? 'x' : isLong ? 'U' : 'u', isShort ? 2 : isLong ? 8 : 4, character, text);
  }
}

bool BeginsACharacter(char byte) {
  return (static_cast<unsigned char>(byte) & 0xc0U) != 0x80U;
}

// The bytes of the first `count` characters, or of all.
std::size_t BytesOf(std::string_view text, std::size_t count) {
  std::size_t at = 0;
  for (; at < text.size(); ++at) {
    if (BeginsACharacter(text[at]) && count-- == 0) {
      return at;
    }
  }
  return at;
}

}  // namespace

std::size_t CharactersIn(std::string_view text) {
  return static_cast<std::size_t>(std::ranges::count_if(text, BeginsACharacter));
}

std::string Escaped(std::string_view text) {
  std::string escaped;
  escaped.reserve(text.size());
  while (!text.empty()) {
    const std::string_view rest = text;
    const auto character = posix::TakeCharacter(&text);
    if (!character) {
      AppendEscape('x', 2, static_cast<unsigned char>(text.front()), &escaped);
      text.remove_prefix(1);
    } else if (IsForTheEye(*character)) {
      escaped += rest.substr(0, rest.size() - text.size());
    } else {
      AppendEscape(*character, &escaped);
    }
  }
  return escaped;
}

std::string EscapedLines(std::string_view text) {
  std::string escaped;
  for (std::size_t end = 0; (end = text.find('\n')) != std::string_view::npos; text.remove_prefix(end + 1)) {
    escaped += Escaped(text.substr(0, end)) + "\n";
  }
  return escaped + Escaped(text);
}

std::string Printable(std::string_view text, std::size_t longest) {
  std::string printable = Escaped(text);
  const std::size_t characters = CharactersIn(printable);
  if (characters <= longest) {
    return printable;
  }
  const std::size_t tail = longest / 4;
  const std::size_t head = longest - tail;
  const std::size_t from = BytesOf(printable, head);
  const std::size_t to = BytesOf(printable, characters - tail);
  printable.replace(from, to - from, "[... " + std::to_string(characters - longest) + " characters left out ...]");
  return printable;
}

}  // namespace orvhost
