// What programs wrote to the standard error while a run was at work.
#ifndef ORVHOST_TRACE_ERROR_TEXT_H
#define ORVHOST_TRACE_ERROR_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orvhost {

// Of a longer text the last bytes are kept: they hold the reason of a failure.
inline constexpr std::size_t kLongestErrorText = 4096;

struct ErrorText {
  std::string text;
  bool isCut = false;  // the beginning is missing
};

// The lines that are not empty. A carriage return ends one too: a program that shows its progress goes back with it.
[[nodiscard]] std::vector<std::string> LinesOf(std::string_view text);

// The last lines of what one shell command wrote, to be shown as evidence. "[...]" stands for what is left out.
class ErrorLines {
 public:
  void Clear();
  void Add(const ErrorText& text);
  [[nodiscard]] std::vector<std::string> Lines() const;

 private:
  std::vector<std::string> lines_;
  bool isCut_ = false;
};

}  // namespace orvhost

#endif  // ORVHOST_TRACE_ERROR_TEXT_H
