// What the two IPMI tools print, by table: line ends, blanks, and words that are no bytes.
#include "ipmi/response_parser.h"

#include <gtest/gtest.h>

namespace kestrel {

namespace {

using Bytes = std::list<std::string>;
using namespace std::string_view_literals;

// `output` is whole or not, and this of it is appended to what the list holds, which is kept.
void Expect(bool (*parse)(std::string_view, Bytes*), std::string_view output, bool whole, const Bytes& appended) {
  SCOPED_TRACE(testing::PrintToString(output));
  for (const Bytes& held : {Bytes{}, Bytes{"", "before", "c1"}}) {
    Bytes response = held;
    Bytes expected = held;
    expected.insert(expected.end(), appended.begin(), appended.end());
    EXPECT_EQ(parse(output, &response), whole);
    EXPECT_EQ(response, expected);
  }
}

void ExpectIpmitool(std::string_view output, bool whole, const Bytes& appended) {
  Expect(ParseIpmitoolOutput, output, whole, appended);
}

void ExpectMakersTool(std::string_view output, bool whole, const Bytes& appended) {
  Expect(ParseMakersToolOutput, output, whole, appended);
}

TEST(IpmitoolOutput, IsEveryWordOfItBehindACompletionCode) {
  ExpectIpmitool("", true, {"00"});
  ExpectIpmitool(" 20 01\n", true, {"00", "20", "01"});
  ExpectIpmitool(" 20 01", true, {"00", "20", "01"});
  ExpectIpmitool("20\n01\n\n\n23\n", true, {"00", "20", "01", "23"});
  ExpectIpmitool("zz -- \xff\xff", true, {"00", "zz", "--", "\xff\xff"});
}

TEST(IpmitoolOutput, IsCutAtWhiteSpaceOfEveryKind) {
  ExpectIpmitool(" 20 01\r\n 23\r\n", true, {"00", "20", "01", "23"});
  ExpectIpmitool("20\r01\r", true, {"00", "20", "01"});
  ExpectIpmitool("\t20\v01\f23  \t 45", true, {"00", "20", "01", "23", "45"});
  ExpectIpmitool("\n", true, {"00"});
  ExpectIpmitool(" \t\r\n\v\f ", true, {"00"});
}

TEST(IpmitoolOutput, EndsAtTheFirstWordThatIsNotTwoCharacters) {
  ExpectIpmitool("20 123 00\n", false, {"00", "20"});
  ExpectIpmitool("20 01\n1\n23 45\n", false, {"00", "20", "01"});
  ExpectIpmitool("2\n", false, {"00"});
  ExpectIpmitool("20 1", false, {"00", "20"});
  ExpectIpmitool("20,01\n", false, {"00"});
  ExpectIpmitool("20\xc2\xa0 01\n", false, {"00"});  // a blank of another kind
}

TEST(IpmitoolOutput, HoldsAZeroByteLikeAnyOtherCharacter) {
  ExpectIpmitool("20 0\0 23\n"sv, true, {"00", "20", {'0', '\0'}, "23"});
  ExpectIpmitool("20 0\0001 23\n"sv, false, {"00", "20"});
  ExpectIpmitool("20 01\0"sv, false, {"00", "20"});
  ExpectIpmitool("20 01 \0"sv, false, {"00", "20", "01"});
  ExpectIpmitool("\0\0 20"sv, true, {"00", {'\0', '\0'}, "20"});
}

TEST(MakersToolOutput, IsItsSecondLineBehindFourWords) {
  ExpectMakersTool("request sent\nRsp from BMC : 00 20 01\n", true, {"00", "20", "01"});
  ExpectMakersTool("request sent\nRsp from BMC : 00 20 01", true, {"00", "20", "01"});
  ExpectMakersTool("request sent\nRsp from BMC : c1\n00 20 01\n", true, {"c1"});
  ExpectMakersTool("\na b c d 00\n", true, {"00"});
  ExpectMakersTool("\n  a\tb \v c\f d  00 \t 20  \n", true, {"00", "20"});
  ExpectMakersTool("1 2 3 4 5 6\n12345 1 1 123456 00\n", true, {"00"});  // of any length
}

TEST(MakersToolOutput, MayHaveLineEndsOfTwoCharacters) {
  ExpectMakersTool("sent\r\na b c d 00 20\r\n", true, {"00", "20"});
  ExpectMakersTool("\r\na b c d 00\r\n33 44 55 66 77\r\n", true, {"00"});
  ExpectMakersTool("sent\r\n\r\na b c d 00\r\n", true, {});
}

TEST(MakersToolOutput, WithLoneCarriageReturnsIsOneLine) {
  ExpectMakersTool("sent\ra b c d 00 20\r", true, {});
  ExpectMakersTool("sent\ra b c d 00\na b c d 11\r22\r", true, {"11", "22"});
}

TEST(MakersToolOutput, WithoutASecondLineOrWordsInItIsNothing) {
  ExpectMakersTool("", true, {});
  ExpectMakersTool("\n", true, {});
  ExpectMakersTool("a b c d 00 20", true, {});
  ExpectMakersTool("a b c d 00 20\n", true, {});
  ExpectMakersTool("sent\n\na b c d 00\n", true, {});
  ExpectMakersTool("sent\n \t \v\na b c d 00\n", true, {});
  ExpectMakersTool("sent\na b c\n", true, {});
  ExpectMakersTool("sent\na b c d \n", true, {});
}

TEST(MakersToolOutput, EndsAtTheFirstWordThatIsNotTwoCharacters) {
  ExpectMakersTool("sent\na b c d 00 20 1 23 45\n", false, {"00", "20"});
  ExpectMakersTool("sent\na b c d 00 20 0x01 23\n", false, {"00", "20"});
  ExpectMakersTool("sent\na b c d 0\n", false, {});
  ExpectMakersTool("sent\na b c d 00 1\n23\n", false, {"00"});
}

TEST(MakersToolOutput, HoldsAZeroByteLikeAnyOtherCharacter) {
  ExpectMakersTool("se\0nt\na\0b c d e 00\n"sv, true, {"00"});
  ExpectMakersTool("sent\na b c d 00 0\0 20\n"sv, true, {"00", {'0', '\0'}, "20"});
  ExpectMakersTool("sent\na b c d 00\0 20\n"sv, false, {});
}

}  // namespace
}  // namespace kestrel
