// Whether an update has been applied, and applying it: with and without the marker, and every way in which it fails.
#include "firmware/apply.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/support/scripted_firmware.h"
#include "tests/support/scripted_host.h"

namespace kestrel {

namespace {

const std::string kMarker = "$I/tmp/KV6KBMC/ExistUpdate.txt";
const std::string kSetFlag = "34 5e 55 aa 01";
const std::string kCheckFlag = "34 5f";

class CheckAppliedTest : public testing::Test {
 protected:
  ScriptedHost host_;
  ScriptedFirmware firmware_;
};

const Lines kCheckStart = "4 CBMC_KESTREL_Firmware::UpdateApplyCheck() [START]";
const Lines kCheckEnd = "4 CBMC_KESTREL_Firmware::UpdateApplyCheck() [END]";

TEST_F(CheckAppliedTest, TheInstalledVersionRuns) {
  firmware_.operatingVersion = "01-24";
  host_.operatingModule.moduleVersion = "01-24";
  EXPECT_EQ(CheckApplied(firmware_), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kCheckStart, "ask operating version", "ask operating module",
                                              "1 UpdateApplyCheck [01-24] [01-24]", kCheckEnd}));
}

// The journal when the device runs `running` although `installed` was installed.
Lines Mismatch(const std::string& running, const std::string& installed) {
  return {kCheckStart,
          "ask operating version",
          "ask operating module",
          "1 UpdateApplyCheck [" + running + "] [" + installed + "]",
          "record MSGID_BMC_0015_F " + running + " " + installed,
          "2 Operating Version(" + running + ") and Update Version(" + installed + ") are mismatched",
          kCheckEnd};
}

TEST_F(CheckAppliedTest, FailsWhenAnotherVersionRuns) {
  // Neither the start of a version nor its other letter case will do.
  const std::pair<std::string, std::string> versions[] = {
      {"01-23", "01-24"}, {"01-2", "01-24"}, {"01-24", "01-2"}, {"0A-24", "0a-24"}, {"01-24", ""}};
  for (const auto& [running, installed] : versions) {
    SCOPED_TRACE(running);
    firmware_.operatingVersion = running;
    host_.operatingModule.moduleVersion = installed;
    EXPECT_EQ(CheckApplied(firmware_), 1);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), Mismatch(running, installed)));
  }
}

TEST_F(CheckAppliedTest, FailsWhenTheBmcCannotBeAsked) {
  firmware_.operatingVersion = "abnormal";
  host_.operatingModule.moduleVersion = "abnormal";
  EXPECT_EQ(CheckApplied(firmware_), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kCheckStart, "ask operating version", "record MSGID_BMC_0014_F 1C",
                                              "2 Failed to get Operating Version", kCheckEnd}));
}

class ApplyUpdateTest : public testing::Test {
 protected:
  // An update waits: its marker is there.
  void LeaveMarker() {
    host_.readableFiles.insert(kMarker);
    std::ofstream(MarkerFile()) << "";
  }
  bool MarkerIsThere() const { return std::filesystem::exists(MarkerFile()); }
  std::filesystem::path MarkerFile() const { return host_.InstallPath() / "tmp/KV6KBMC/ExistUpdate.txt"; }

  ScriptedHost host_;
};

const Lines kStart = {"4 CBMC_KESTREL_Firmware::UpdateApply() [START]", "probe " + kMarker};
const Lines kEnd = "4 CBMC_KESTREL_Firmware::UpdateApply() [END]";
const Lines kDelete = {"1 Delete " + kMarker, "delete " + kMarker};
const Lines kHalt = {"1 shutdown -h now", "system shutdown -h now"};
const Lines kReboot = {"1 shutdown -r now ", "system shutdown -r now "};

std::string SetFailed(const std::string& completionCode) {
  return "Failed to execute IPMI command (Set Reboot flag) CompletionCode " + completionCode;
}

std::string CheckFailed(const std::string& first, const std::string& second) {
  return "Failed to execute IPMI command(Set Reboot flag) ResponseData1:" + first + "  ResponseData2:" + second;
}

// A failed attempt that another one follows.
Lines Retried(const std::string& text) {
  return {"16 " + text, "sleep 10000"};
}

// The last failed attempt.
Lines GivenUp(const std::string& text) {
  return {"record MSGID_BMC_0003_F 18", "2 " + text, kEnd};
}

TEST_F(ApplyUpdateTest, WithoutAMarkerTheMachineRebootsAndTheBmcIsNotAsked) {
  host_.System("shutdown -r now ", 0);
  EXPECT_EQ(ApplyUpdate(kIpmitoolPath), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, kReboot, kEnd}));
}

TEST_F(ApplyUpdateTest, FailsWhenTheRebootIsRefused) {
  host_.System("shutdown -r now ", 256);
  EXPECT_EQ(ApplyUpdate(kIpmitoolPath), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, kReboot, "record MSGID_BMC_0004_F 1A", "2 reboot fail", kEnd}));
}

TEST_F(ApplyUpdateTest, WithAMarkerTheFlagIsArmedAndTheMachineHalts) {
  LeaveMarker();
  host_.Answer(kSetFlag, "00");
  host_.Answer(kCheckFlag, "00 01");
  host_.System("shutdown -h now", 0);
  EXPECT_EQ(ApplyUpdate(kIpmitoolPath), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Request(kSetFlag), Request(kCheckFlag), kDelete, kHalt, kEnd}));
  EXPECT_FALSE(MarkerIsThere());
}

TEST_F(ApplyUpdateTest, ThroughTheMakersToolTheRoadIsTheSame) {
  LeaveMarker();
  host_.Answer(kSetFlag, "00");
  host_.Answer(kCheckFlag, "00 01");
  host_.System("shutdown -h now", 0);
  EXPECT_EQ(ApplyUpdate(kMakersToolPath), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, MakersRequest(kSetFlag), MakersRequest(kCheckFlag), kDelete, kHalt, kEnd}));
}

TEST_F(ApplyUpdateTest, ABusyBmcIsAskedAgain) {
  LeaveMarker();
  host_.Answer(kSetFlag, "c0", 2);
  host_.Answer(kSetFlag, "00");
  host_.Answer(kCheckFlag, "00 01");
  host_.System("shutdown -h now", 0);
  EXPECT_EQ(ApplyUpdate(kMakersToolPath), 1);
  const Lines busy = {MakersRequest(kSetFlag), Retried(SetFailed("c0"))};
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, busy.Times(2), MakersRequest(kSetFlag), MakersRequest(kCheckFlag),
                                              kDelete, kHalt, kEnd}));
}

TEST_F(ApplyUpdateTest, FailsWhenTheFlagIsNeverTakenAndKeepsTheMarker) {
  LeaveMarker();
  host_.Answer(kSetFlag, "c1", 3);
  EXPECT_EQ(ApplyUpdate(kMakersToolPath), 0);
  const Lines refused = {MakersRequest(kSetFlag), Retried(SetFailed("c1"))};
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {kStart, refused.Times(2), MakersRequest(kSetFlag), GivenUp(SetFailed("c1"))}));
  EXPECT_TRUE(MarkerIsThere());
}

TEST_F(ApplyUpdateTest, FailsWithoutACompletionCodeWhenTheToolFails) {
  LeaveMarker();
  host_.Answer(kSetFlag, "c1", 3);
  EXPECT_EQ(ApplyUpdate(kIpmitoolPath), 0);
  const Lines refused = {FailedRequest(kSetFlag), Retried(SetFailed(""))};
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {kStart, refused.Times(2), FailedRequest(kSetFlag), GivenUp(SetFailed(""))}));
}

TEST_F(ApplyUpdateTest, FailsWhenTheCheckNeverConfirmsAndKeepsTheMarker) {
  LeaveMarker();
  host_.Answer(kSetFlag, "00", 3);
  host_.Answer(kCheckFlag, "00 00", 3);
  EXPECT_EQ(ApplyUpdate(kIpmitoolPath), 0);
  const Lines unconfirmed = {Request(kSetFlag), Request(kCheckFlag), Retried(CheckFailed("00", "00"))};
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, unconfirmed.Times(2), Request(kSetFlag), Request(kCheckFlag),
                                              GivenUp(CheckFailed("00", "00"))}));
  EXPECT_TRUE(MarkerIsThere());
}

TEST_F(ApplyUpdateTest, ACheckMayFailInEveryWayAndStillBeConfirmedAtLast) {
  LeaveMarker();
  host_.Answer(kSetFlag, "00", 3);
  host_.Answer(kCheckFlag, "c0 01");  // the code decides, not only the byte
  host_.Answer(kCheckFlag, "00");     // no byte at all
  host_.Answer(kCheckFlag, "00 01 ff");
  host_.System("shutdown -h now", 0);
  EXPECT_EQ(ApplyUpdate(kMakersToolPath), 1);
  const Lines asked = {MakersRequest(kSetFlag), MakersRequest(kCheckFlag)};
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, asked, Retried(CheckFailed("c0", "01")), asked,
                                              Retried(CheckFailed("00", "")), asked, kDelete, kHalt, kEnd}));
}

TEST_F(ApplyUpdateTest, FailsWithoutDataWhenTheToolFailsAtTheCheck) {
  LeaveMarker();
  host_.Answer(kSetFlag, "00", 3);
  host_.Answer(kCheckFlag, "00 00");
  host_.Answer(kCheckFlag, "c1", 2);
  EXPECT_EQ(ApplyUpdate(kIpmitoolPath), 0);
  const Lines failed = {Request(kSetFlag), FailedRequest(kCheckFlag)};
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {kStart, Request(kSetFlag), Request(kCheckFlag), Retried(CheckFailed("00", "00")),
                                      failed, Retried(CheckFailed("", "")), failed, GivenUp(CheckFailed("", ""))}));
  EXPECT_TRUE(MarkerIsThere());
}

TEST_F(ApplyUpdateTest, FailsWhenTheCheckCannotBeReadThoughItBeginsWell) {
  LeaveMarker();
  host_.Answer(kSetFlag, "00", 3);
  host_.AnswerRaw(kCheckFlag, {0, 0, "01 123\n"}, 3);
  EXPECT_EQ(ApplyUpdate(kIpmitoolPath), 0);
  const Lines broken = {Request(kSetFlag), BrokenRequest(kCheckFlag)};
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Lines{broken, Retried(CheckFailed("00", "01"))}.Times(2), broken,
                                              GivenUp(CheckFailed("00", "01"))}));
  EXPECT_TRUE(MarkerIsThere());
}

TEST_F(ApplyUpdateTest, FailsWhenTheAnswerToTheFlagCannotBeRead) {
  LeaveMarker();
  host_.AnswerRaw(kSetFlag, {0, 0, "123\n"}, 3);
  EXPECT_EQ(ApplyUpdate(kIpmitoolPath), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Lines{BrokenRequest(kSetFlag), Retried(SetFailed("00"))}.Times(2),
                                              BrokenRequest(kSetFlag), GivenUp(SetFailed("00"))}));
}

TEST_F(ApplyUpdateTest, FailsWithTheCompletionCodeOfEachAttempt) {
  LeaveMarker();
  host_.Answer(kSetFlag, "c1");
  host_.AnswerRaw(kSetFlag, {0, 1, ""});
  host_.Answer(kSetFlag, "c3");
  EXPECT_EQ(ApplyUpdate(kMakersToolPath), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, MakersRequest(kSetFlag), Retried(SetFailed("c1")), FailedMakersRequest(kSetFlag),
                         Retried(SetFailed("")), MakersRequest(kSetFlag), GivenUp(SetFailed("c3"))}));
}

TEST_F(ApplyUpdateTest, FailsAfterThreeAttemptsThatBothCommandsShare) {
  LeaveMarker();
  host_.Answer(kSetFlag, "c0");
  host_.Answer(kSetFlag, "00");
  host_.Answer(kCheckFlag, "00 00");
  host_.Answer(kSetFlag, "c0");
  EXPECT_EQ(ApplyUpdate(kMakersToolPath), 0);
  EXPECT_TRUE(SameLines(
      host_.TakeJournal(),
      {kStart, MakersRequest(kSetFlag), Retried(SetFailed("c0")), MakersRequest(kSetFlag), MakersRequest(kCheckFlag),
       Retried(CheckFailed("00", "00")), MakersRequest(kSetFlag), GivenUp(SetFailed("c0"))}));
}

TEST_F(ApplyUpdateTest, FailsWithoutATool) {
  LeaveMarker();
  EXPECT_EQ(ApplyUpdate(""), 0);
  const Lines noTool = {"4 CBMC_KESTREL_Firmware::ExecIPMICommand() [START]", "2 Tool path is empty",
                        "4 CBMC_KESTREL_Firmware::ExecIPMICommand() [END]"};
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, noTool, Retried(SetFailed("")), noTool, Retried(SetFailed("")),
                                              noTool, GivenUp(SetFailed(""))}));
}

TEST_F(ApplyUpdateTest, AMarkerThatCannotBeDeletedKeepsTheMachineUp) {
  LeaveMarker();
  host_.undeletableFiles = {kMarker};
  host_.Answer(kSetFlag, "00");
  host_.Answer(kCheckFlag, "00 01");
  EXPECT_EQ(ApplyUpdate(kIpmitoolPath), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, Request(kSetFlag), Request(kCheckFlag), kDelete, "record MSGID_BMC_0004_F 1D",
                         "2 Failed to delete ExistUpdate.txt", "4 CBMC_KESTREL_Firmware::UpdateApplyCheck() [END]"}));
  EXPECT_TRUE(MarkerIsThere());
}

TEST_F(ApplyUpdateTest, FailsWhenTheHaltIsRefused) {
  LeaveMarker();
  host_.Answer(kSetFlag, "00");
  host_.Answer(kCheckFlag, "00 01");
  host_.System("shutdown -h now", -1);
  EXPECT_EQ(ApplyUpdate(kIpmitoolPath), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Request(kSetFlag), Request(kCheckFlag), kDelete, kHalt,
                                              "record MSGID_BMC_0004_F 19", "2 shutdown fail", kEnd}));
}

}  // namespace
}  // namespace kestrel
