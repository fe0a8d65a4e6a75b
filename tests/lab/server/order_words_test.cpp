// The words of order lines: which are taken, which are refused and why.
#include "lab/server/order_words.h"

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <vector>

namespace kv6000 {

namespace {

struct Parsed {
  std::optional<FaultOrder> order;
  std::string error;
};

Parsed Parse(Fault::Kind kind, const std::string& line) {
  std::istringstream stream(line);
  const std::vector<std::string> words{std::istream_iterator<std::string>(stream), {}};
  Parsed parsed;
  parsed.order = ParseFaultOrder(kind, words, &parsed.error);
  return parsed;
}

TEST(FaultOrderWords, AreCommandValueAndCount) {
  const auto parsed = Parse(Fault::Kind::kFail, "34 8c c0 3");
  ASSERT_TRUE(parsed.order.has_value()) << parsed.error;
  EXPECT_EQ(parsed.order->head, (std::vector<std::uint8_t>{0x34, 0x8c}));
  EXPECT_EQ(parsed.order->fault.value, 0xc0);
  EXPECT_EQ(parsed.order->count, 3U);
}

TEST(FaultOrderWords, MeanOneCallWithoutACountAndEveryOneWithAlways) {
  EXPECT_EQ(Parse(Fault::Kind::kSilent, "34 8c").order->count, 1U);
  EXPECT_EQ(Parse(Fault::Kind::kSilent, "34 8c always").order->count, 0U);
}

TEST(FaultOrderWords, EndInTheDataThatARequestMustBeginWith) {
  const auto parsed = Parse(Fault::Kind::kFail, "3c 69 c0 3 05 40 0 0 20");
  ASSERT_TRUE(parsed.order.has_value()) << parsed.error;
  EXPECT_EQ(parsed.order->head, (std::vector<std::uint8_t>{0x3c, 0x69, 0x05, 0x40, 0x00, 0x00, 0x20}));
  EXPECT_EQ(parsed.order->count, 3U);
  EXPECT_EQ(Parse(Fault::Kind::kSilent, "34 39 always 02").order->head, (std::vector<std::uint8_t>{0x34, 0x39, 0x02}));
}

TEST(FaultOrderWords, StateALengthInDecimal) {
  EXPECT_EQ(Parse(Fault::Kind::kShort, "3c 13 14").order->fault.value, 14);
  EXPECT_EQ(Parse(Fault::Kind::kLong, "3c 13 41").order->fault.value, 41);
}

TEST(FaultOrderWords, FailWithTheReason) {
  EXPECT_NE(Parse(Fault::Kind::kFail, "34 8c").error, "");
  EXPECT_NE(Parse(Fault::Kind::kFail, "34 8c c0 2 more").error, "");
  EXPECT_NE(Parse(Fault::Kind::kFail, "34 8c c0 2 55 100").error, "");
  EXPECT_NE(Parse(Fault::Kind::kFail, "40 8c c0").error, "");
  EXPECT_NE(Parse(Fault::Kind::kFail, "35 8c c0").error, "");
  EXPECT_NE(Parse(Fault::Kind::kFail, "34 8c c0 two").error, "");
  EXPECT_NE(Parse(Fault::Kind::kSilent, "34").error, "");
  EXPECT_NE(Parse(Fault::Kind::kShort, "34 8d 0").error.find("'silent' for none"), std::string::npos);
  EXPECT_NE(Parse(Fault::Kind::kLong, "34 8d 201").error.find("to 200 bytes"), std::string::npos);
}

}  // namespace
}  // namespace kv6000
