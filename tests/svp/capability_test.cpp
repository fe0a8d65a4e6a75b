// Which server config files the BMC takes: its answers, long and short, and its silence.
#include "svp/capability.h"

#include <gtest/gtest.h>

#include "svp/config_file_transfer.h"
#include "tests/svp/transfer_lines.h"

namespace kestrel {

namespace {

class Capability : public testing::Test {
 protected:
  std::optional<int> Read(const char* toolPath) {
    return ReadSupportFlags(
        toolPath, [this](CTraceUtility::TRACE_DBG_LEVEL level) { host_.Note("reported " + std::to_string(level)); });
  }

  ScriptedHost host_;
};

TEST_F(Capability, IsTheEighteenthElementAndEveryElementIsTraced) {
  for (const Tool& tool : {kThroughIpmitool, kThroughMakersTool}) {
    SCOPED_TRACE(tool.name);
    host_.Answer("3c 04", CapabilityAnswer("83"));
    EXPECT_EQ(Read(tool.path), 0x83);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), CapabilityLines(tool, "83")));
  }
}

TEST_F(Capability, IsFollowedByFurtherElementsThatAreTracedToo) {
  host_.Answer("3c 04", CapabilityAnswer("02") + " 77 78");
  EXPECT_EQ(Read(kIpmitoolPath), 0x02);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {CapabilityLines(kThroughIpmitool, "02"), "4 18:77", "4 19:78"}));
}

TEST_F(Capability, IsNothingInAnAnswerThatEndsBeforeIt) {
  host_.Answer("3c 04", "00 a1 a2 a3 a4 a5 a6 a7 a8 a9 b0 b1 b2 b3 b4 b5 b6");
  EXPECT_EQ(Read(kIpmitoolPath), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {Request("3c 04"), "4 0:00", "4 1:a1", "4 2:a2", "4 3:a3", "4 4:a4",
                                              "4 5:a5", "4 6:a6", "4 7:a7", "4 8:a8", "4 9:a9", "4 10:b0", "4 11:b1",
                                              "4 12:b2", "4 13:b3", "4 14:b4", "4 15:b5", "4 16:b6"}));
  host_.Answer("3c 04", "00");
  EXPECT_EQ(Read(kIpmitoolPath), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {Request("3c 04"), "4 0:00"}));
}

TEST_F(Capability, IsTakenFromAnAnswerWithAnyCompletionCode) {
  host_.Answer("3c 04", CapabilityAnswer("03", "c1"));
  EXPECT_EQ(Read(kMakersToolPath), 0x03);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), CapabilityLines(kThroughMakersTool, "03", "c1")));
  host_.Answer("3c 04", "c1");
  EXPECT_EQ(Read(kMakersToolPath), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {MakersRequest("3c 04"), "4 0:c1"}));
}

TEST_F(Capability, FailsOnAnAnswerThatIsBroken) {
  host_.AnswerRaw("3c 04", {0, 0, "a1 a2 123\n"}, 3);
  EXPECT_EQ(Read(kIpmitoolPath), std::nullopt);
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {BrokenRequest("3c 04"), "reported 16", "sleep 5000", BrokenRequest("3c 04"),
                                      "reported 16", "sleep 10000", BrokenRequest("3c 04"), "reported 2"}));
}

TEST_F(Capability, FailsAfterThreeAttemptsWithGrowingWaits) {
  host_.AnswerRaw("3c 04", {0, 1, ""}, 3);
  EXPECT_EQ(Read(kIpmitoolPath), std::nullopt);
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {FailedRequest("3c 04"), "reported 16", "sleep 5000", FailedRequest("3c 04"),
                                      "reported 16", "sleep 10000", FailedRequest("3c 04"), "reported 2"}));
}

TEST_F(Capability, IsReadAtTheSecondAndAtTheThirdAttempt) {
  const Lines first = {FailedRequest("3c 04"), "reported 16", "sleep 5000"};
  const Lines second = {FailedRequest("3c 04"), "reported 16", "sleep 10000"};
  host_.AnswerRaw("3c 04", {0, 1, ""});
  host_.Answer("3c 04", CapabilityAnswer("01"));
  EXPECT_EQ(Read(kIpmitoolPath), 0x01);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {first, CapabilityLines(kThroughIpmitool, "01")}));
  host_.AnswerRaw("3c 04", {0, 1, ""}, 2);
  host_.Answer("3c 04", CapabilityAnswer("01"));
  EXPECT_EQ(Read(kIpmitoolPath), 0x01);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {first, second, CapabilityLines(kThroughIpmitool, "01")}));
}

TEST_F(Capability, FailsWithoutATool) {
  const Lines refused = {"4 CBMC_KESTREL_Firmware::ExecIPMICommand() [START]", "2 Tool path is empty",
                         "4 CBMC_KESTREL_Firmware::ExecIPMICommand() [END]"};
  EXPECT_EQ(Read(""), std::nullopt);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {refused, "reported 16", "sleep 5000", refused, "reported 16",
                                              "sleep 10000", refused, "reported 2"}));
}

TEST(SupportBits, AreBitZeroForTheSystemAndBitOneForTheDisks) {
  EXPECT_EQ(kOsInformationFile.supportBit, 1);
  EXPECT_EQ(kDiskInformationFile.supportBit, 2);
}

}  // namespace
}  // namespace kestrel
