// Replies as values.
#include "ipmi/ipmi_exchange.h"

#include <gtest/gtest.h>

#include "tests/support/scripted_host.h"

namespace kestrel {

namespace {

class IpmiExchange : public testing::Test {
 protected:
  ScriptedHost host_;
};

TEST_F(IpmiExchange, AGoodReplyGivesItsElements) {
  host_.Answer("34 8d", "00 01 7f");
  const IpmiReply reply = Exchange(kIpmitoolPath, {"34", "8d"});
  EXPECT_TRUE(reply.Ran());
  EXPECT_TRUE(reply.Succeeded());
  EXPECT_TRUE(reply.Succeeded("01"));
  EXPECT_FALSE(reply.Succeeded("7f"));
  EXPECT_EQ(reply.CompletionCode(), "00");
  EXPECT_EQ(reply.Element(2), "7f");
  EXPECT_EQ(reply.Element(3), "");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), Request("34 8d")));
}

TEST_F(IpmiExchange, FailsWithACompletionCodeOtherThanZero) {
  host_.Answer("34 8d", "c0 01");
  const IpmiReply reply = Exchange(kMakersToolPath, {"34", "8d"});
  EXPECT_TRUE(reply.Ran());
  EXPECT_FALSE(reply.Succeeded());
  EXPECT_FALSE(reply.Succeeded("01"));
  EXPECT_EQ(reply.CompletionCode(), "c0");
  EXPECT_EQ(reply.Elements(), (std::list<std::string>{"c0", "01"}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), MakersRequest("34 8d")));
}

TEST_F(IpmiExchange, FailsOnABrokenAnswerButKeepsWhatWasReadOfIt) {
  host_.AnswerRaw("34 8d", {0, 0, "01 123"});
  const IpmiReply reply = Exchange(kIpmitoolPath, {"34", "8d"});
  EXPECT_FALSE(reply.Ran());
  EXPECT_FALSE(reply.Succeeded());
  EXPECT_EQ(reply.CompletionCode(), "00");
  EXPECT_EQ(reply.Element(1), "01");
  EXPECT_EQ(reply.Element(2), "");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), BrokenRequest("34 8d")));
}

TEST_F(IpmiExchange, FailsWithoutAnAnswerWhoseElementsAreThenEmpty) {
  host_.Answer("34 8d", "c0");
  const IpmiReply reply = Exchange(kIpmitoolPath, {"34", "8d"});
  EXPECT_FALSE(reply.Ran());
  EXPECT_EQ(reply.CompletionCode(), "");
  EXPECT_EQ(reply.Element(1), "");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), FailedRequest("34 8d")));
}

TEST_F(IpmiExchange, FailsWithoutATool) {
  const IpmiReply reply = Exchange("", {"34", "8d"});
  EXPECT_FALSE(reply.Ran());
  EXPECT_EQ(reply.CompletionCode(), "");
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {"4 CBMC_KESTREL_Firmware::ExecIPMICommand() [START]", "2 Tool path is empty",
                                      "4 CBMC_KESTREL_Firmware::ExecIPMICommand() [END]"}));
}

TEST_F(IpmiExchange, EachReplyIsOfItsOwnRequestOnly) {
  host_.Answer("34 8d", "00 01");
  host_.Answer("06 01", "c1");
  EXPECT_EQ(Exchange(kMakersToolPath, {"34", "8d"}).Elements(), (std::list<std::string>{"00", "01"}));
  EXPECT_EQ(Exchange(kMakersToolPath, {"06", "01"}).Elements(), std::list<std::string>{"c1"});
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {MakersRequest("34 8d"), MakersRequest("06 01")}));
}

}  // namespace
}  // namespace kestrel
