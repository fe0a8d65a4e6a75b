#include "firmware/update_log.h"

#include <algorithm>
#include <array>
#include <optional>
#include <stdexcept>

namespace kestrel {

namespace {

using Buffer = std::array<char, 4096>;

struct Piece {
  std::string_view text;  // lies in the buffer
  bool endsLine;
};

// The next line, or as much of it as the buffer holds; nothing at the end of the log.
std::optional<Piece> ReadPiece(std::istream& log, Buffer* buffer) {
  log.getline(buffer->data(), static_cast<std::streamsize>(buffer->size()));
  const auto taken = static_cast<std::size_t>(log.gcount());
  if (taken == 0) {
    return std::nullopt;
  }
  const bool endsLine = !log.fail();
  const bool tookLineEnd = endsLine && !log.eof();
  log.clear(log.rdstate() & ~std::ios::failbit);  // set because the buffer is full, which is no failure here
  return Piece{{buffer->data(), tookLineEnd ? taken - 1 : taken}, endsLine};
}

}  // namespace

bool ScanLog(std::istream& log, std::string_view wanted, const std::function<void(const std::string&)>& onLine) {
  Buffer buffer{};
  std::string line;    // its start, as far as it is handed on
  std::string recent;  // its end so far, since `wanted` may lie across two pieces
  bool inLine = false;
  bool found = false;
  while (const std::optional<Piece> piece = ReadPiece(log, &buffer)) {
    line += piece->text.substr(0, kLongestLogLine - line.size());
    recent += piece->text;
    found = found || recent.find(wanted) != std::string::npos;
    recent.erase(0, recent.size() - std::min(recent.size(), wanted.size() - 1));
    inLine = !piece->endsLine;
    if (piece->endsLine) {
      onLine(line);
      line.clear();
      recent.clear();
    }
  }
  if (inLine) {
    onLine(line);
  }
  return found;
}

std::locale LocaleOrClassic(const char* name) {
  try {
    return std::locale(name);
  } catch (const std::runtime_error&) {
    return std::locale::classic();
  }
}

}  // namespace kestrel
