// Requests that are sent again, and states that are set and then checked. Both through the maker's tool, which gives
// every completion code.
#include "ipmi/retried_exchange.h"

#include <gtest/gtest.h>

#include "tests/support/scripted_host.h"

namespace kestrel {

namespace {

const RetryPolicy kTwice{2, 500, 0};

std::string Bytes(const IpmiReply& reply) {
  std::string text = reply.Ran() ? "" : "no answer";
  for (const std::string& element : reply.Elements()) {
    text += "[" + element + "]";
  }
  return text;
}

class RetriedExchange : public testing::Test {
 protected:
  auto Report() {
    return [this](Level level, const IpmiReply& reply) {
      host_.Note("report " + std::to_string(level) + " " + Bytes(reply));
    };
  }

  ScriptedHost host_;
};

TEST_F(RetriedExchange, GivesTheReplyThatTheBmcTookTheRequestBy) {
  host_.Answer("34 8d", "00 01");
  const auto reply = RetryExchange(kTwice, kMakersToolPath, {"34", "8d"}, Report());
  ASSERT_TRUE(reply.has_value());
  EXPECT_EQ(Bytes(*reply), "[00][01]");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), MakersRequest("34 8d")));
}

TEST_F(RetriedExchange, ReportsEachFailedAttemptWithItsOwnReply) {
  host_.Answer("34 8d", "c0 07");
  host_.AnswerRaw("34 8d", {1, 0, ""});
  EXPECT_FALSE(RetryExchange(kTwice, kMakersToolPath, {"34", "8d"}, Report()).has_value());
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {MakersRequest("34 8d"), "report 16 [c0][07]", "sleep 500",
                                              FailedMakersRequest("34 8d", 0), "report 2 no answer"}));
}

TEST_F(RetriedExchange, TheCallerDecidesWhichReplyIsAccepted) {
  host_.Answer("34 8d", "00 01");
  host_.Answer("34 8d", "c0 02");
  const auto accepts = [](const IpmiReply& reply) { return reply.Element(1) == "02"; };
  const auto reply = RetryExchange(kTwice, kMakersToolPath, {"34", "8d"}, accepts, Report());
  ASSERT_TRUE(reply.has_value());
  EXPECT_EQ(Bytes(*reply), "[c0][02]");
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {MakersRequest("34 8d"), "report 16 [00][01]", "sleep 500", MakersRequest("34 8d")}));
}

class RetriedSetting : public RetriedExchange {
 protected:
  auto Both() {
    return [this](Level level, const IpmiReply& set, const IpmiReply& check) {
      host_.Note("report " + std::to_string(level) + " " + Bytes(set) + ", " + Bytes(check));
    };
  }
  bool Run(const RetryPolicy& policy = kTwice) {
    return RetrySetting(
        policy, kMakersToolPath, {{"34", "5e", "01"}, {"34", "5f"}, "01"}, [this] { host_.Note("settle"); }, Both());
  }

  const Lines set_ = MakersRequest("34 5e 01");
  const Lines check_ = MakersRequest("34 5f");
};

TEST_F(RetriedSetting, ChecksTheStateAfterItHasSettled) {
  host_.Answer("34 5e 01", "00");
  host_.Answer("34 5f", "00 01");
  EXPECT_TRUE(Run());
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {set_, "settle", check_}));
}

TEST_F(RetriedSetting, FailsWhenTheSettingIsRefusedWithoutACheck) {
  host_.Answer("34 5e 01", "c1", 2);
  EXPECT_FALSE(Run());
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {set_, "report 16 [c1], no answer", "sleep 500", set_, "report 2 [c1], no answer"}));
}

TEST_F(RetriedSetting, AnotherStateThanExpectedIsSetAgain) {
  host_.Answer("34 5e 01", "00", 2);
  host_.Answer("34 5f", "00 00");
  host_.Answer("34 5f", "00 01");
  EXPECT_TRUE(Run());
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {set_, "settle", check_, "report 16 [00], [00][00]", "sleep 500", set_, "settle", check_}));
}

TEST_F(RetriedSetting, FailsWhenTheCheckFailsThoughItsDataIsTheExpected) {
  host_.Answer("34 5e 01", "00");
  host_.Answer("34 5f", "c0 01");
  EXPECT_FALSE(Run({1, 500, 0}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {set_, "settle", check_, "report 2 [00], [c0][01]"}));
}

TEST_F(RetriedSetting, FailsWithAReportThatForgetsAnEarlierCheck) {
  host_.Answer("34 5e 01", "00");
  host_.Answer("34 5f", "00 00");
  host_.Answer("34 5e 01", "c1");
  EXPECT_FALSE(Run());
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {set_, "settle", check_, "report 16 [00], [00][00]", "sleep 500", set_,
                                              "report 2 [c1], no answer"}));
}

TEST_F(RetriedSetting, MayBeCheckedAtOnce) {
  host_.Answer("34 5e 01", "00");
  host_.Answer("34 5f", "00 01");
  EXPECT_TRUE(RetrySetting(kTwice, kMakersToolPath, {{"34", "5e", "01"}, {"34", "5f"}, "01"}, Both()));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {set_, check_}));
}

}  // namespace
}  // namespace kestrel
