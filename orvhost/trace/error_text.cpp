#include "orvhost/trace/error_text.h"

#include <algorithm>

namespace orvhost {

namespace {

constexpr std::size_t kKeptErrorLines = 5;
constexpr std::size_t kLongestLine = 400;
constexpr const char* kLeftOut = "[...]";

}  // namespace

std::vector<std::string> LinesOf(std::string_view text) {
  constexpr std::string_view kLineEnds = "\r\n";
  std::vector<std::string> lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of(kLineEnds), text.size());
    if (end > 0) {
      lines.emplace_back(text.substr(0, end));
    }
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

void ErrorLines::Clear() {
  lines_.clear();
  isCut_ = false;
}

void ErrorLines::Add(const ErrorText& text) {
  isCut_ |= text.isCut;
  for (const std::string& line : LinesOf(text.text)) {
    lines_.push_back(line.size() > kLongestLine ? line.substr(0, kLongestLine) + kLeftOut : line);
  }
  if (lines_.size() > kKeptErrorLines) {
    lines_.erase(lines_.begin(), lines_.end() - kKeptErrorLines);
    isCut_ = true;
  }
}

std::vector<std::string> ErrorLines::Lines() const {
  std::vector<std::string> lines = lines_;
  if (isCut_) {
    lines.insert(lines.begin(), kLeftOut);
  }
  return lines;
}

}  // namespace orvhost
