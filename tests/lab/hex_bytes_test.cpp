// Bytes as text: what is written, and what is read as a byte.
#include "lab/hex_bytes.h"

#include <gtest/gtest.h>

namespace kv6000 {

namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(HexBytes, AreWrittenAsTwoLowerCaseDigitsEach) {
  EXPECT_EQ(FormatHex(std::uint8_t{0x0a}), "0a");
  EXPECT_EQ(FormatHex(Bytes{0x00, 0x5f, 0xff}), "00 5f ff");
  EXPECT_EQ(FormatHex(Bytes{}), "");
}

TEST(HexBytes, AreReadFromOneOrTwoDigitsInEitherCase) {
  EXPECT_EQ(ParseHexByte("fF"), 0xff);
  EXPECT_EQ(ParseHexByte("7"), 0x07);
  EXPECT_EQ(ParseHex(" 00 5F\tf "), (Bytes{0x00, 0x5f, 0x0f}));
  EXPECT_EQ(ParseHex(""), Bytes{});
}

TEST(HexBytes, FailToBeReadFromAnythingElse) {
  for (const char* text : {"", "100", "0x1", "g", "-1", "+1", " 1", "1 "}) {
    EXPECT_EQ(ParseHexByte(text), std::nullopt) << text;
  }
  EXPECT_EQ(ParseHex("00 100"), std::nullopt);
  EXPECT_EQ(ParseHex("00, 01"), std::nullopt);
}

}  // namespace
}  // namespace kv6000
