#include <gtest/gtest.h>

#include "host/DllCommon.h"

namespace refhost {

namespace {

using Fields = std::list<std::string>;

Fields Split(std::string text, const std::string& separator) {
  return CStringUtil::Split(text, separator);
}

std::string Replace(std::string text, const std::string& from, const std::string& to) {
  CStringUtil::strReplace(text, from, to);
  return text;
}

TEST(Strings, OnlyAsciiLettersAreConverted) {
  EXPECT_EQ(CStringUtil::StringToLowerCase("AbZ-09\xc4"), "abz-09\xc4");
  EXPECT_EQ(CStringUtil::StringToUpperCase("aBz-09\xe4"), "ABZ-09\xe4");
  EXPECT_EQ(CStringUtil::StringToUpperCase(""), "");
}

TEST(Strings, SplitKeepsOrderAndEmptyFields) {
  EXPECT_EQ(Split("BMC:01-23,SDR:A1", ","), (Fields{"BMC:01-23", "SDR:A1"}));
  EXPECT_EQ(Split(",a,,b,", ","), (Fields{"", "a", "", "b", ""}));
  EXPECT_EQ(Split("a--b-c", "--"), (Fields{"a", "b-c"}));
}

TEST(Strings, SplitWithoutAHitIsTheTextAsOneField) {
  EXPECT_EQ(Split("01-23", ","), Fields{"01-23"});
  EXPECT_EQ(Split("01-23", ""), Fields{"01-23"});
}

TEST(Strings, SplitOfNothingHasNoField) {
  EXPECT_EQ(Split("", ","), Fields{});
}

TEST(Strings, ReplaceGoesFromLeftToRightAndNotIntoWhatItInserted) {
  EXPECT_EQ(Replace("1.10.2", ".", "{"), "1{10{2");
  EXPECT_EQ(Replace("aaa", "aa", "a"), "aa");
  EXPECT_EQ(Replace("ab", "b", "bb"), "abb");
  EXPECT_EQ(Replace("ab", "", "x"), "ab");
}

TEST(Strings, NumbersAndDecimalText) {
  EXPECT_EQ(CStringUtil::NumberToTString(-17), "-17");
  EXPECT_EQ(CStringUtil::TStringToNumber("42"), 42);
  EXPECT_EQ(CStringUtil::TStringToNumber("-42"), -42);
  EXPECT_EQ(CStringUtil::TStringToNumber("007"), 7);
}

TEST(Strings, TextThatIsNotANumberIsZero) {
  for (const char* text : {"", "A", "12a", " 12", "99999999999999999999"}) {
    EXPECT_EQ(CStringUtil::TStringToNumber(text), 0) << text;
  }
}

TEST(Strings, HexadecimalBecomesDecimalText) {
  EXPECT_EQ(CStringUtil::xatoa("0a"), "10");
  EXPECT_EQ(CStringUtil::xatoa("FF"), "255");
  EXPECT_EQ(CStringUtil::xatoa("05"), "5");
}

TEST(Strings, TextThatIsNotHexadecimalBecomesZero) {
  for (const char* text : {"", "0x0a", "g1", "1g", "-1", "11112222333344445"}) {
    EXPECT_EQ(CStringUtil::xatoa(text), "0") << text;
  }
}

}  // namespace
}  // namespace refhost
