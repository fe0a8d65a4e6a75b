// Faults ordered for coming calls: how often they hit, whom they hit, and what they leave of an answer.
#include "lab/server/fault_plan.h"

#include <gtest/gtest.h>

namespace kv6000 {

namespace {

using Answer = std::vector<std::uint8_t>;

using Request = std::vector<std::uint8_t>;

// The answer that becomes of a good one; empty for none.
Answer Apply(FaultPlan& plan, const Request& request) {
  Answer answer = {0x00, 0x01, 0x02};
  return plan.Apply(request, answer) ? answer : Answer{};
}

const Request kConnect = {0x34, 0x8c};

TEST(FaultPlan, WithoutOrdersLeavesAnswersAlone) {
  FaultPlan plan;
  EXPECT_EQ(plan.Next(kConnect), std::nullopt);
  EXPECT_EQ(Apply(plan, {0x34, 0x8c}), (Answer{0x00, 0x01, 0x02}));
}

TEST(FaultPlan, AnswersAnotherCompletionCodeForTheOrderedCount) {
  FaultPlan plan;
  plan.Order({0x34, 0x8c}, {Fault::Kind::kFail, 0xc0}, 2);
  EXPECT_EQ(Apply(plan, {0x34, 0x8c}), Answer{0xc0});
  EXPECT_EQ(Apply(plan, {0x34, 0x8c}), Answer{0xc0});
  EXPECT_EQ(Apply(plan, {0x34, 0x8c}), (Answer{0x00, 0x01, 0x02}));
}

TEST(FaultPlan, HitsOnlyItsOwnCommand) {
  FaultPlan plan;
  plan.Order({0x34, 0x8c}, {Fault::Kind::kFail, 0xc0}, 1);
  EXPECT_EQ(Apply(plan, {0x34, 0x8d}), (Answer{0x00, 0x01, 0x02}));
  EXPECT_EQ(Apply(plan, {0x36, 0x8c}), (Answer{0x00, 0x01, 0x02}));
  EXPECT_EQ(Apply(plan, {0x34}), (Answer{0x00, 0x01, 0x02}));
  EXPECT_EQ(Apply(plan, {0x34, 0x8c, 0x55}), Answer{0xc0});
}

TEST(FaultPlan, CutsAnAnswerButNeverLengthensIt) {
  FaultPlan plan;
  plan.Order({0x34, 0x8d}, {Fault::Kind::kShort, 1}, 1);
  EXPECT_EQ(Apply(plan, {0x34, 0x8d}), Answer{0x00});
  plan.Order({0x34, 0x8d}, {Fault::Kind::kShort, 9}, 1);
  EXPECT_EQ(Apply(plan, {0x34, 0x8d}), (Answer{0x00, 0x01, 0x02}));
}

TEST(FaultPlan, FillsAnAnswerUpWithZerosButNeverCutsIt) {
  FaultPlan plan;
  plan.Order({0x34, 0x8d}, {Fault::Kind::kLong, 5}, 1);
  EXPECT_EQ(Apply(plan, {0x34, 0x8d}), (Answer{0x00, 0x01, 0x02, 0x00, 0x00}));
  plan.Order({0x34, 0x8d}, {Fault::Kind::kLong, 2}, 1);
  EXPECT_EQ(Apply(plan, {0x34, 0x8d}), (Answer{0x00, 0x01, 0x02}));
}

TEST(FaultPlan, CarriesOutACommandOnlyWhenItsAnswerIsCutOrFilledUp) {
  EXPECT_TRUE((Fault{Fault::Kind::kShort, 1}).HasEffect());
  EXPECT_TRUE((Fault{Fault::Kind::kLong, 9}).HasEffect());
  EXPECT_FALSE((Fault{Fault::Kind::kFail, 0xc0}).HasEffect());
  EXPECT_FALSE((Fault{Fault::Kind::kSilent, 0}).HasEffect());
}

TEST(FaultPlan, StaysSilentUntilClearedWhenOrderedForAlways) {
  FaultPlan plan;
  plan.Order({0x34, 0x8d}, {Fault::Kind::kSilent, 0}, 0);
  for (int call = 0; call < 5; ++call) {
    EXPECT_EQ(Apply(plan, {0x34, 0x8d}), Answer{});
  }
  plan.Clear();
  EXPECT_EQ(Apply(plan, {0x34, 0x8d}), (Answer{0x00, 0x01, 0x02}));
}

TEST(FaultPlan, ShowsTheNextFaultWithoutUsingItUp) {
  FaultPlan plan;
  plan.Order({0x34, 0x8c}, {Fault::Kind::kFail, 0xc0}, 1);
  ASSERT_TRUE(plan.Next(kConnect).has_value());
  EXPECT_EQ(plan.Next(kConnect)->value, 0xc0);
  EXPECT_EQ(Apply(plan, {0x34, 0x8c}), Answer{0xc0});
  EXPECT_EQ(plan.Next(kConnect), std::nullopt);
}

TEST(FaultPlan, ReplacesAnEarlierOrderForTheSameCommand) {
  FaultPlan plan;
  plan.Order({0x34, 0x8c}, {Fault::Kind::kFail, 0xc0}, 5);
  plan.Order({0x34, 0x8c}, {Fault::Kind::kFail, 0xd5}, 1);
  EXPECT_EQ(Apply(plan, {0x34, 0x8c}), Answer{0xd5});
  EXPECT_EQ(Apply(plan, {0x34, 0x8c}), (Answer{0x00, 0x01, 0x02}));
}

TEST(FaultPlan, DistinguishesRequestsOfOneCommandByTheirData) {
  FaultPlan plan;
  plan.Order({0x3c, 0x69, 0x05, 0x40, 0x20}, {Fault::Kind::kFail, 0xc0}, 1);
  EXPECT_EQ(Apply(plan, {0x3c, 0x69, 0x05, 0x40, 0x00}), (Answer{0x00, 0x01, 0x02}));
  EXPECT_EQ(Apply(plan, {0x3c, 0x69, 0x05, 0x41, 0x20}), (Answer{0x00, 0x01, 0x02}));
  EXPECT_EQ(Apply(plan, {0x3c, 0x69, 0x05, 0x40}), (Answer{0x00, 0x01, 0x02}));
  EXPECT_EQ(Apply(plan, {0x3c, 0x69, 0x05, 0x40, 0x20, 0x99}), Answer{0xc0});
  EXPECT_EQ(Apply(plan, {0x3c, 0x69, 0x05, 0x40, 0x20, 0x99}), (Answer{0x00, 0x01, 0x02}));
}

TEST(FaultPlan, TakesTheOrderWithTheMostDataAndKeepsTheOthers) {
  FaultPlan plan;
  plan.Order({0x34, 0x39}, {Fault::Kind::kFail, 0xc0}, 1);
  plan.Order({0x34, 0x39, 0x02}, {Fault::Kind::kFail, 0xd5}, 1);
  EXPECT_EQ(Apply(plan, {0x34, 0x39, 0x02}), Answer{0xd5});
  EXPECT_EQ(Apply(plan, {0x34, 0x39, 0x02}), Answer{0xc0});
  EXPECT_EQ(Apply(plan, {0x34, 0x39, 0x02}), (Answer{0x00, 0x01, 0x02}));
}

}  // namespace
}  // namespace kv6000
