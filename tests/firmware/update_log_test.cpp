// Reading a script's logs: which lines there are, what is found in them, and logs that are not what they should be.
#include "firmware/update_log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <streambuf>
#include <vector>

namespace kestrel {

namespace {

struct Scan {
  bool found;
  std::vector<std::string> lines;
};

Scan ScanText(const std::string& text, const std::string& wanted = "written!") {
  std::istringstream log(text);
  Scan scan{false, {}};
  scan.found = ScanLog(log, wanted, [&](const std::string& line) { scan.lines.push_back(line); });
  return scan;
}

using TextLines = std::vector<std::string>;

TEST(UpdateLog, GivesEveryLineWithoutItsEnd) {
  EXPECT_EQ(ScanText("").lines, TextLines{});
  EXPECT_EQ(ScanText("\n").lines, TextLines{""});
  EXPECT_EQ(ScanText("one").lines, TextLines{"one"});
  EXPECT_EQ(ScanText("one\n").lines, TextLines{"one"});
  EXPECT_EQ(ScanText("one\n\ntwo").lines, (TextLines{"one", "", "two"}));
  EXPECT_EQ(ScanText("one\r\ntwo\r\n").lines, (TextLines{"one\r", "two\r"}));
}

TEST(UpdateLog, FindsTheTextAnywhereInALine) {
  EXPECT_TRUE(ScanText("written!").found);
  EXPECT_TRUE(ScanText("first\nSDR data was written! at last\nlast\n").found);
  EXPECT_TRUE(ScanText("wrwritten!").found);
  EXPECT_TRUE(ScanText(std::string("before\0written!\n", 16)).found);
}

TEST(UpdateLog, DoesNotFindTheTextWhereItIsNot) {
  EXPECT_FALSE(ScanText("").found);
  EXPECT_FALSE(ScanText("written\n").found);
  EXPECT_FALSE(ScanText("Written!\n").found);
  EXPECT_FALSE(ScanText("writ\nten!\n").found);
  EXPECT_FALSE(ScanText("writ\r\nten!\r\n").found);
}

TEST(UpdateLog, ALineOfAnyLengthIsOneLine) {
  for (const std::size_t size : {4094U, 4095U, 4096U, 8189U, 8190U, 8191U, 65535U, 65536U}) {
    SCOPED_TRACE(size);
    const std::string line(size, 'x');
    EXPECT_EQ(ScanText(line).lines, TextLines{line});
    EXPECT_EQ(ScanText(line + "\n").lines, TextLines{line});
    EXPECT_EQ(ScanText(line + "\ny").lines, (TextLines{line, "y"}));
    EXPECT_EQ(ScanText(line + "\n\ny\n").lines, (TextLines{line, "", "y"}));
  }
}

TEST(UpdateLog, FindsTheTextAcrossTheBordersOfItsReads) {
  for (std::size_t before = 4080; before < 4100; ++before) {
    SCOPED_TRACE(before);
    const std::string filler(before, 'x');
    EXPECT_TRUE(ScanText(filler + "written!").found);
    EXPECT_TRUE(ScanText(filler + "written!\n").found);
    EXPECT_FALSE(ScanText(filler + "writ\nten!\n").found);
  }
}

TEST(UpdateLog, HandsOnTheStartOfALineThatIsTooLong) {
  const std::string start(kLongestLogLine, 's');
  const Scan scan = ScanText(start + "rest, and behind it written!\nnext\n");
  EXPECT_EQ(scan.lines, (TextLines{start, "next"}));
  EXPECT_TRUE(scan.found);
}

// A log of `size` characters and no line end, which ends with `end`; it is never in memory.
class EndlessLine : public std::streambuf {
 public:
  EndlessLine(std::size_t size, std::string end) : left_(size), end_(std::move(end)) {}

 protected:
  int_type underflow() override {
    if (left_ == 0) {
      block_ = std::exchange(end_, "");
    } else {
      block_.assign(std::min<std::size_t>(left_, 1024), '.');
      left_ -= block_.size();
    }
    if (block_.empty()) {
      return traits_type::eof();
    }
    setg(block_.data(), block_.data(), block_.data() + block_.size());
    return traits_type::to_int_type(block_[0]);
  }

 private:
  std::size_t left_;
  std::string end_;
  std::string block_;
};

TEST(UpdateLog, AHundredMegabytesWithoutALineEndAreOneShortenedLine) {
  EndlessLine buffer(100U << 20U, "written!");
  std::istream log(&buffer);
  TextLines lines;
  EXPECT_TRUE(ScanLog(log, "written!", [&](const std::string& line) { lines.push_back(line); }));
  EXPECT_EQ(lines, TextLines{std::string(kLongestLogLine, '.')});
}

TEST(UpdateLog, ALogThatCannotBeReadOnEndsThere) {
  class Broken : public std::streambuf {
   protected:
    int_type underflow() override {
      if (std::exchange(read_, true)) {
        throw std::runtime_error("input/output error");
      }
      setg(text_.data(), text_.data(), text_.data() + text_.size());
      return traits_type::to_int_type(text_[0]);
    }

   private:
    std::string text_ = "whole\npart";
    bool read_ = false;
  } buffer;
  std::istream log(&buffer);
  TextLines lines;
  EXPECT_FALSE(ScanLog(log, "written!", [&](const std::string& line) { lines.push_back(line); }));
  EXPECT_EQ(lines, (TextLines{"whole", "part"}));
}

TEST(LogLocale, IsTheNamedOneWhereThereIsOne) {
  EXPECT_EQ(LocaleOrClassic("C.UTF-8").name(), "C.UTF-8");
}

TEST(LogLocale, IsTheClassicOneWhereThereIsNone) {
  EXPECT_EQ(LocaleOrClassic("no such locale"), std::locale::classic());
}

}  // namespace
}  // namespace kestrel
