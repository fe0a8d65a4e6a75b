#include "orvhost/interface/wrapped.h"

#include <algorithm>

#include "orvhost/interface/printable.h"

namespace orvhost {

namespace {

constexpr std::string_view kQuotedCommand = "\"orvhost ";

std::size_t BlanksBefore(std::string_view line) {
  return std::min(line.find_first_not_of(' '), line.size());
}

// How far in the continuation of a line begins.
std::size_t Hanging(std::string_view line, std::size_t width) {
  const std::size_t blanks = BlanksBefore(line);
  const std::size_t colon = line.find(": ");
  const bool isItem = blanks > 0 && colon != std::string_view::npos;
  const std::size_t value = isItem ? line.find_first_not_of(' ', colon + 1) : std::string_view::npos;
  return value < width / 2 ? CharactersIn(line.substr(0, value)) : blanks + 2;
}

// The bytes of the next piece that must stay whole: blanks and the word behind them, or a command.
std::size_t NextPiece(std::string_view text) {
  const std::size_t blanks = BlanksBefore(text);
  if (text.substr(blanks).starts_with(kQuotedCommand)) {
    const std::size_t close = text.find('"', blanks + 1);
    if (close != std::string_view::npos) {
      return std::min(text.find(' ', close), text.size());
    }
  }
  return std::min(text.find(' ', blanks), text.size());
}

void AppendWrapped(std::string_view line, std::size_t width, std::string* text) {
  const std::size_t hanging = Hanging(line, width);
  const std::size_t least = BlanksBefore(line) + 2;
  std::size_t used = 0;
  bool isFirst = true;
  while (!line.empty()) {
    const std::string_view piece = line.substr(0, NextPiece(line));
    const std::size_t characters = CharactersIn(piece);
    if (!isFirst && used + characters > width) {
      const std::string_view word = piece.substr(BlanksBefore(piece));
      const std::size_t length = CharactersIn(word);
      const std::size_t indentation = hanging + length > width ? least : hanging;
      *text += "\n" + std::string(indentation, ' ');
      *text += word;
      used = indentation + length;
    } else {
      *text += piece;
      used += characters;
    }
    isFirst = false;
    line.remove_prefix(piece.size());
  }
}

}  // namespace

std::string Wrapped(std::string_view text, std::size_t width) {
  std::string wrapped;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    AppendWrapped(text.substr(0, end), width, &wrapped);
    if (end < text.size()) {
      wrapped += '\n';
    }
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return wrapped;
}

}  // namespace orvhost
