#include "tests/support/lines.h"

#include <algorithm>

Lines::Lines(std::initializer_list<Lines> parts) {
  for (const Lines& part : parts) {
    lines_.insert(lines_.end(), part.lines_.begin(), part.lines_.end());
  }
}

Lines Lines::Times(int times) const {
  Lines all;
  for (int i = 0; i < times; ++i) {
    all.lines_.insert(all.lines_.end(), lines_.begin(), lines_.end());
  }
  return all;
}

testing::AssertionResult SameLines(const std::vector<std::string>& actual, const Lines& expected) {
  const std::vector<std::string>& wanted = expected.All();
  if (actual == wanted) {
    return testing::AssertionSuccess();
  }
  const auto [here, there] = std::ranges::mismatch(actual, wanted);
  const auto line = static_cast<std::size_t>(here - actual.begin());
  testing::AssertionResult result = testing::AssertionFailure();
  result << "journals differ from line " << line + 1 << " on (" << actual.size() << " lines, expected " << wanted.size()
         << ")\n";
  for (std::size_t i = line - std::min<std::size_t>(line, 3); i < line; ++i) {
    result << "    both:     " << actual[i] << "\n";
  }
  for (std::size_t i = line; i < std::min(line + 6, std::max(actual.size(), wanted.size())); ++i) {
    result << "    actual:   " << (i < actual.size() ? actual[i] : "(nothing)") << "\n"
           << "    expected: " << (i < wanted.size() ? wanted[i] : "(nothing)") << "\n";
  }
  return result;
}
