#include "refhost/common/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace refhost {

namespace {

using namespace std::string_literals;

TEST(Utf8, TextsThatXmlCanCarry) {
  for (const std::string& text : {""s, "KV6000 <\"&>"s, "a\tb\nc\r"s, "\xc3\xa4"s, "\xe6\x97\xa5"s, "\xf0\x9f\x98\x80"s,
                                  "\xef\xbf\xbd"s, "\x7f"s}) {
    EXPECT_TRUE(IsXmlText(text)) << text;
  }
}

TEST(Utf8, TextsThatXmlCannotCarry) {
  const std::string texts[] = {"\0"s,
                               "a\x01"s,
                               "\x1b[0m"s,
                               "\xff"s,
                               "\x80"s,
                               "\xc3"s,
                               "\xc3(",
                               "\xc0\xaf"s,
                               "\xe0\x80\xaf"s,
                               "\xed\xa0\x80"s,
                               "\xef\xbf\xbf"s,
                               "\xe6\x97"s,
                               "\xf8\x88"s,
                               "\xf0\x80\x80\xaf",
                               "\xf4\x90\x80\x80"s,
                               "\xf7\xbf\xbf\xbf"s};
  for (const std::string& text : texts) {
    EXPECT_FALSE(IsXmlText(text)) << testing::PrintToString(text);
  }
}

TEST(Utf8, Names) {
  for (const char* name : {"attr", "general-inf", "_a.b:c1", "\xc3\xa4"}) {
    EXPECT_TRUE(IsXmlName(name)) << name;
  }
  for (const char* name : {"", "1a", "-a", "a b", "a<", "\xff"}) {
    EXPECT_FALSE(IsXmlName(name)) << name;
  }
}

}  // namespace
}  // namespace refhost
