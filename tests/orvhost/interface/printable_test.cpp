#include "orvhost/interface/printable.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "orvhost/interface/outcome.h"

namespace orvhost {

namespace {

TEST(PrintableText, KeepsWhatPeopleRead) {
  for (const std::string text : {"", "KV6000 BMC firmware 01-24", "Größe 日本語 🙂", "C:\\x \"quoted\" ~"}) {
    EXPECT_EQ(Printable(text), text);
  }
}

TEST(PrintableText, EscapesWhatATerminalObeysOrHides) {
  const std::pair<std::string, std::string> rows[] = {
      {"a\nb\r\tc", "a\\nb\\r\\tc"},
      {"\x1b[2K\x07", "\\x1b[2K\\x07"},
      {std::string("a\0b", 3), "a\\x00b"},
      {"\x7f", "\\x7f"},
      {"\xc2\x9b"
       "1A",
       "\\u009b1A"},  // CSI in one character
      {"\x9b"
       "1A",
       "\\x9b1A"},  // and in one byte
      {"a\xe2\x80\xae"
       "b",
       "a\\u202eb"},  // writes from right to left
      {"\xe2\x81\xa6\xd8\x9c", "\\u2066\\u061c"},
      {"\xe2\x80\xa8\xe2\x80\xa9", "\\u2028\\u2029"},
      {"\xe2\x80\x8b\xef\xbb\xbf\xc2\xad", "\\u200b\\ufeff\\u00ad"},
      {"\xf3\xa0\x81\x81", "\\U000e0041"},
      {"\xff\xc0\x80", "\\xff\\xc0\\x80"},  // no UTF-8, and a NUL in too many bytes
      {"\xed\xa0\x80", "\\xed\\xa0\\x80"},  // half of a pair
      {"\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"},
      {"\xe6\x97", "\\xe6\\x97"},  // cut off in a character
  };
  for (const auto& [text, expected] : rows) {
    EXPECT_EQ(Printable(text), expected);
    EXPECT_EQ(Escaped(text), expected);
    EXPECT_EQ(Printable(expected), expected) << "printed again it stays";
  }
}

TEST(PrintableText, OfSeveralLinesStaysLines) {
  EXPECT_EQ(EscapedLines("a\x1b[2J\nb\r\n\nc\xff"), "a\\x1b[2J\nb\\r\n\nc\\xff");
  EXPECT_EQ(EscapedLines(""), "");
}

TEST(PrintableText, LeavesOutTheMiddleOfALongOneAndSaysHowMuch) {
  EXPECT_EQ(Printable("12345678", 8), "12345678");
  EXPECT_EQ(Printable("123456789", 8), "123456[... 1 characters left out ...]89");
  EXPECT_EQ(Printable("äöüßäöüßä", 8), "äöüßäö[... 1 characters left out ...]ßä");
  const std::string huge = "begin" + std::string(8UL << 20U, 'x') + "end";
  const std::string printed = Printable(huge);
  EXPECT_LT(printed.size(), 700U);
  EXPECT_TRUE(printed.starts_with("beginxxx") && printed.ends_with("xxxend")) << printed;
  EXPECT_NE(printed.find("[... " + std::to_string(huge.size() - kLongestPrinted) + " characters left out ...]"),
            std::string::npos);
  EXPECT_EQ(Escaped(huge), huge);
}

TEST(PrintableText, IsCountedInCharacters) {
  EXPECT_EQ(CharactersIn(""), 0U);
  EXPECT_EQ(CharactersIn("Größe 日本語"), 9U);
}

constexpr const char* kForged = "01-24\n\x1b[1mFirmware 01-24 is verified";
constexpr const char* kForgedAsPrinted = "01-24\\n\\x1b[1mFirmware 01-24 is verified";

TEST(PrintableOutcome, ASuccessKeepsEveryValueOnItsLine) {
  Outcome outcome;
  outcome.summary = kForged;
  outcome.lines = {kForged, "", "two"};
  outcome.facts = {{"a", kForged, kForged}, {"b", std::string(1000, 'n'), "v"}};
  const std::string name = Printable(std::string(1000, 'n'), 40);
  const std::string value = kForgedAsPrinted;
  EXPECT_EQ(ToText(outcome), value + "\n" + value + "\n\ntwo\n  " + value + ": " +
                                 std::string(name.size() - value.size(), ' ') + value + "\n  " + name + ": v\n");
}

TEST(PrintableOutcome, AFailureKeepsEveryValueOnItsLine) {
  Outcome outcome;
  outcome.exitCode = ExitCode::kFailedFlashBegun;
  outcome.failure = Failure{kForged, {kForged, kForged, {kForged}, {kForged}, {kForged}}, kForged};
  const std::string text = ToErrorText(outcome);
  EXPECT_EQ(std::ranges::count(text, '\n'), 9) << text;
  EXPECT_EQ(text.find('\x1b'), std::string::npos);
}

TEST(PrintableOutcome, ForProgramsEveryValueIsExact) {
  Outcome outcome;
  outcome.lines = {kForged, "two"};
  outcome.facts = {{"a", "A", kForged}};
  const auto object = nlohmann::json::parse(ToJson(outcome));
  EXPECT_EQ(object["summary"], std::string(kForged) + "\ntwo");
  EXPECT_EQ(object["facts"]["a"], kForged);
}

}  // namespace
}  // namespace orvhost
