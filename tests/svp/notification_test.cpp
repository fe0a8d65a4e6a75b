// Both senders in their order, and how their results fold into one.
#include "svp/notification.h"

#include <gtest/gtest.h>

#include "tests/svp/management_library_file.h"
#include "tests/svp/transfer_lines.h"

namespace kestrel {

namespace {

const Lines kStart = "4 CBMC_KESTREL_Firmware::SendInfoToSVP [START]";
const std::string kOsLock = "3c 6a 05 40 01 00 00 00 00 00";
const std::string kOsFirstWrite =
    "3c 69 05 40 00 00 00 00 00 00 00 00 00 00 00 00 00 00 30 00 00 00 00 00 00 00 03 4f 53 00 08 00 4c 69 6e 75 78 20 "
    "39 00 09 48";
const std::string kOsSecondWrite = "3c 69 05 40 00 00 20 00 00 00 6f 73 74 6e 61 6d 65 00 06 00 6e 6f 64 65 37 00";
const std::string kDiskLock = "3c 6a 05 41 01 00 00 00 00 00";
const std::string kLockFailed = "Failed to execute IPMI command(OEM Lock Server Config File) CompletionCode:";

const Lines kOsStart = "4 CBMC_KESTREL_Firmware::ExecSendOSInfo [START]";
const Lines kOsEnd = "4 CBMC_KESTREL_Firmware::ExecSendInfoToSVP [END]";
const Lines kNames = {"line cat /etc/redhat-release", "1 osname=[Linux 9]", "ask host name", "1 hostname=[node7]"};
const Lines kOsNotSupported = {"1 Send OS Information not supported", "4 CBMC_KESTREL_Firmware::ExecSendOSInfo [END]"};
const Lines kDiskStart = "4 CBMC_KESTREL_Firmware::ExecSendHddInfo [START]";
const Lines kDiskEnd = "4 CBMC_KESTREL_Firmware::ExecSendHDDInfo [END]";
const Lines kDiskNotSupported = {"1 Send HDD Information not supported", kDiskEnd};
const Lines kRecord = "record MSGID_BMC_0021_F 29";

class Notification : public testing::Test {
 protected:
  void SetUp() override {
    InstallManagementLibrary(host_, "whole");
    host_.managementLibrary.info = "7e";
  }

  // The OS sender's journal when the BMC supports this, and takes it or refuses the lock.
  Lines OsSent(const std::string& flags) {
    return {kOsStart, CapabilityLines(kThroughMakersTool, flags), kNames,
            Take({kOsLock, kOsFirstWrite, kOsSecondWrite, "3c 69 05 40 00 00 00 00 00 00 51 54 4c 4d 50",
                  "3c 6b 05 40 00 00 00 00 00 00", "34 39 01"}),
            kOsEnd};
  }
  Lines OsRefused(const std::string& flags) {
    RefuseThenTake(&host_, kThroughMakersTool, kOsLock, 3);
    return {kOsStart,
            CapabilityLines(kThroughMakersTool, flags),
            kNames,
            Attempts(kThroughMakersTool, kOsLock, kLockFailed, 3),
            "2 " + kLockFailed + "c1",
            kOsEnd,
            kRecord};
  }

  // The same of the disk sender.
  Lines DisksSent(const std::string& flags) {
    return {DisksAsked(flags),
            Take({kDiskLock, "3c 69 05 41 00 00 00 00 00 00 7e", "3c 69 05 41 00 00 00 00 00 00 51 54 4c 4d 50",
                  "3c 6b 05 41 00 00 00 00 00 00", "34 39 02"}),
            kDiskEnd};
  }
  Lines DisksRefused(const std::string& flags) {
    RefuseThenTake(&host_, kThroughMakersTool, kDiskLock, 3);
    return {DisksAsked(flags), Attempts(kThroughMakersTool, kDiskLock, kLockFailed, 3), kRecord};
  }

  void AnswerCapability(const std::string& flags) { host_.Answer("3c 04", CapabilityAnswer(flags), 2); }

  ScriptedHost host_;
  std::string detail_ = "from before";

 private:
  static Lines DisksAsked(const std::string& flags) {
    return {kDiskStart,
            CapabilityLines(kThroughMakersTool, flags),
            LibraryOpened(),
            "4 CBMC_MngLib::GetHddInfoToSVP [START]",
            "library GetHddInfoToSVP",
            "4 CBMC_MngLib::GetHddInfoToSVP [END]",
            LibraryClosed(),
            "1 ErrCode:[] WrnCode:[]"};
  }

  Lines Take(const std::vector<std::string>& requests) {
    Lines journal;
    for (const std::string& request : requests) {
      host_.Answer(request, "00");
      journal = {journal, MakersRequest(request)};
    }
    return journal;
  }
};

TEST_F(Notification, SendsTheSystemAndThenTheDisks) {
  AnswerCapability("03");
  host_.ResultLine("cat /etc/redhat-release", "Linux 9");
  const Lines os = OsSent("03");
  const Lines disks = DisksSent("03");
  EXPECT_EQ(SendNotification(kMakersToolPath, &detail_), 0);
  EXPECT_EQ(detail_, "");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, os, disks}));
}

TEST_F(Notification, IsNoFailureWhenNeitherIsSupported) {
  AnswerCapability("00");
  EXPECT_EQ(SendNotification(kMakersToolPath, &detail_), 0);
  EXPECT_EQ(detail_, "");
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {kStart, kOsStart, CapabilityLines(kThroughMakersTool, "00"), kOsNotSupported,
                                      kDiskStart, CapabilityLines(kThroughMakersTool, "00"), kDiskNotSupported}));
}

TEST_F(Notification, SendsTheOneThatIsSupported) {
  AnswerCapability("01");
  host_.ResultLine("cat /etc/redhat-release", "Linux 9");
  const Lines os = OsSent("01");
  EXPECT_EQ(SendNotification(kMakersToolPath, &detail_), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, os, kDiskStart, CapabilityLines(kThroughMakersTool, "01"), kDiskNotSupported}));
  AnswerCapability("02");
  const Lines disks = DisksSent("02");
  EXPECT_EQ(SendNotification(kMakersToolPath, &detail_), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, kOsStart, CapabilityLines(kThroughMakersTool, "02"), kOsNotSupported, disks}));
}

TEST_F(Notification, FailsWhenTheSystemFailsButGoesOnToTheDisksWhichEmptyTheDetail) {
  AnswerCapability("03");
  host_.ResultLine("cat /etc/redhat-release", "Linux 9");
  const Lines os = OsRefused("03");
  const Lines disks = DisksSent("03");
  EXPECT_EQ(SendNotification(kMakersToolPath, &detail_), -1);
  EXPECT_EQ(detail_, "");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, os, disks}));
}

TEST_F(Notification, FailsWhenTheDisksFail) {
  AnswerCapability("03");
  host_.ResultLine("cat /etc/redhat-release", "Linux 9");
  const Lines os = OsSent("03");
  const Lines disks = DisksRefused("03");
  EXPECT_EQ(SendNotification(kMakersToolPath, &detail_), -1);
  EXPECT_EQ(detail_, "29");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, os, disks}));
}

TEST_F(Notification, FailsOnceWhenBothFail) {
  AnswerCapability("03");
  host_.ResultLine("cat /etc/redhat-release", "Linux 9");
  const Lines os = OsRefused("03");
  const Lines disks = DisksRefused("03");
  EXPECT_EQ(SendNotification(kMakersToolPath, &detail_), -1);
  EXPECT_EQ(detail_, "29");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, os, disks}));
}

TEST_F(Notification, FailsWhenOneFailsAndTheOtherIsNotSupported) {
  AnswerCapability("01");
  host_.ResultLine("cat /etc/redhat-release", "Linux 9");
  const Lines os = OsRefused("01");
  EXPECT_EQ(SendNotification(kMakersToolPath, &detail_), -1);
  EXPECT_EQ(detail_, "");
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, os, kDiskStart, CapabilityLines(kThroughMakersTool, "01"), kDiskNotSupported}));
  AnswerCapability("02");
  const Lines disks = DisksRefused("02");
  EXPECT_EQ(SendNotification(kMakersToolPath, &detail_), -1);
  EXPECT_EQ(detail_, "29");
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, kOsStart, CapabilityLines(kThroughMakersTool, "02"), kOsNotSupported, disks}));
}

TEST_F(Notification, WithoutAToolIsNotSupported) {
  EXPECT_EQ(SendNotification("", &detail_), 0);
  EXPECT_EQ(detail_, "");
  const Lines refused = {"4 CBMC_KESTREL_Firmware::ExecIPMICommand() [START]", "2 Tool path is empty",
                         "4 CBMC_KESTREL_Firmware::ExecIPMICommand() [END]"};
  const Lines osAttempt = {refused, "16 Get Capability Failed"};
  const Lines unansweredEnd = "4 CBMC_KESTREL_Firmware::ExecSendHddInfo [END]";
  const Lines diskAttempt = {refused, "16 Get Capability Failed", unansweredEnd};
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {kStart, kOsStart, osAttempt, "sleep 5000", osAttempt, "sleep 10000", osAttempt,
                                      kOsNotSupported, kDiskStart, diskAttempt, "sleep 5000", diskAttempt,
                                      "sleep 10000", refused, "1 Send HDD Information not supported", unansweredEnd}));
}

}  // namespace
}  // namespace kestrel
