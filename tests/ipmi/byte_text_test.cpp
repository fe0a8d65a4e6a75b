// Numbers, texts and IPMI bytes.
#include "ipmi/byte_text.h"

#include <gtest/gtest.h>

namespace kestrel {

namespace {

using Bytes = std::list<std::string>;

Bytes Number(int value, int count) {
  Bytes bytes = {"before"};
  AppendNumber(value, count, &bytes);
  bytes.pop_front();
  return bytes;
}

Bytes Text(const std::string& text) {
  Bytes bytes = {"before"};
  AppendText(text, &bytes);
  bytes.pop_front();
  return bytes;
}

TEST(ByteValue, IsThatOfTwoHexadecimalDigits) {
  EXPECT_EQ(ByteValue("7f"), 127);
  EXPECT_EQ(ByteValue("7F"), 127);
  EXPECT_EQ(ByteValue("00"), 0);
  EXPECT_EQ(ByteValue("ff"), 255);
  EXPECT_EQ(ByteValue("aF"), 175);
}

TEST(ByteValue, CountsACharacterThatIsNoDigitAsZero) {
  EXPECT_EQ(ByteValue("G1"), 1);
  EXPECT_EQ(ByteValue("1g"), 16);
  EXPECT_EQ(ByteValue("-1"), 1);
  EXPECT_EQ(ByteValue(" 1"), 1);
  EXPECT_EQ(ByteValue("\xff\xff"), 0);
}

TEST(ByteValue, IsZeroForEveryOtherLength) {
  EXPECT_EQ(ByteValue(""), 0);
  EXPECT_EQ(ByteValue("7"), 0);
  EXPECT_EQ(ByteValue("07f"), 0);
}

TEST(AppendNumber, PutsTheLeastSignificantByteFirst) {
  EXPECT_EQ(Number(0x1234, 2), (Bytes{"34", "12"}));
  EXPECT_EQ(Number(5, 3), (Bytes{"05", "00", "00"}));
  EXPECT_EQ(Number(0xabcdef, 4), (Bytes{"ef", "cd", "ab", "00"}));
  EXPECT_EQ(Number(0, 1), (Bytes{"00"}));
}

TEST(AppendNumber, DropsWhatDoesNotFit) {
  EXPECT_EQ(Number(74565, 2), (Bytes{"45", "23"}));
  EXPECT_EQ(Number(0x123, 1), (Bytes{"23"}));
}

TEST(AppendNumber, TakesTheTwosComplementOfANegativeValue) {
  EXPECT_EQ(Number(-1, 4), (Bytes{"ff", "ff", "ff", "ff"}));
  EXPECT_EQ(Number(-2, 5), (Bytes{"fe", "ff", "ff", "ff", "00"}));
}

TEST(AppendNumber, AppendsNothingForNoBytes) {
  EXPECT_EQ(Number(7, 0), Bytes{});
  EXPECT_EQ(Number(7, -3), Bytes{});
}

TEST(AppendText, GivesEveryCharacterAndAZeroByte) {
  EXPECT_EQ(Text("AB"), (Bytes{"41", "42", "00"}));
  EXPECT_EQ(Text("\t~\x7f"), (Bytes{"09", "7e", "7f", "00"}));
  EXPECT_EQ(Text(std::string("a\0b", 3)), (Bytes{"61", "00", "62", "00"}));
}

TEST(AppendText, GivesOnlyAZeroByteForAnEmptyText) {
  EXPECT_EQ(Text(""), Bytes{"00"});
}

TEST(AppendText, LeavesCharactersWithTheHighBitOut) {
  EXPECT_EQ(Text("a\xc3\xa4z\x80\xff"), (Bytes{"61", "7a", "00"}));
}

}  // namespace
}  // namespace kestrel
