// Ordered lists of lines, as journals and expected journals are written in the tests.
#ifndef TESTS_SUPPORT_LINES_H
#define TESTS_SUPPORT_LINES_H

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

// A line, or any nesting of lists of lines: Lines{"first", Request("06 01"), {"last", "very last"}}.
class Lines {
 public:
  Lines() = default;
  Lines(const char* line) : lines_{line} {}             // NOLINT(google-explicit-constructor): a line is a list of one
  Lines(std::string line) : lines_{std::move(line)} {}  // NOLINT(google-explicit-constructor)
  Lines(std::initializer_list<Lines> parts);

  // The lines `times` times over.
  Lines Times(int times) const;

  const std::vector<std::string>& All() const { return lines_; }

 private:
  std::vector<std::string> lines_;
};

// Passes when both are the same; otherwise shows the lines around the first difference.
testing::AssertionResult SameLines(const std::vector<std::string>& actual, const Lines& expected);

#endif  // TESTS_SUPPORT_LINES_H
