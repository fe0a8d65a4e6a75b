// The firmware handler's own operations, and that each of the others reaches its unit with the object's tool path.
#include "firmware/kestrel_firmware.h"

#include <gtest/gtest.h>

#include "tests/support/scripted_host.h"

namespace {

class KestrelFirmware : public testing::Test {
 protected:
  ScriptedHost host_;
};

const Lines kGetDeviceId = Request("06 01");

TEST_F(KestrelFirmware, TheToolIsChosenOnce) {
  CBMC_KESTREL_Firmware firmware("host text");
  host_.readableFiles = {kMakersToolPath};
  host_.TakeJournal();
  host_.Answer("06 01", "00 20 01 01 23");
  EXPECT_EQ(firmware.GetOperatingVersion(), "01-23");
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {"4 CBMC_KESTREL_Firmware::GetOperatingVersion() [START]", kGetDeviceId, "ask server type",
                         "4 [01-23][kv6000]", "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [01-23] [END]"}));
}

TEST_F(KestrelFirmware, AnUpdateNeedsATool) {
  host_.readableFiles = {};
  CBMC_KESTREL_Firmware firmware("host text");
  host_.TakeJournal();
  EXPECT_EQ(firmware.PreUpdate("a", "b", nullptr, true), 1);
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {"4 CBMC_KESTREL_Firmware::PreUpdate() [START]", "record MSGID_BMC_0016_F 0B",
                                      "2 No IPMI tool", "4 CBMC_KESTREL_Firmware::PreUpdate() [END]"}));
}

TEST_F(KestrelFirmware, AnUpdateCanBeTriedWithATool) {
  CBMC_KESTREL_Firmware firmware("host text");
  host_.TakeJournal();
  EXPECT_EQ(firmware.PreUpdate("a", "b", nullptr, true), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {"4 CBMC_KESTREL_Firmware::PreUpdate() [START]", "4 CBMC_KESTREL_Firmware::PreUpdate() [END]",
                         "show CBMC_KESTREL_Firmware::PreUpdate()|CBMC_KESTREL_Firmware::PreUpdate - Debug"}));
}

TEST_F(KestrelFirmware, ARestoreTouchesNothingAndSucceeds) {
  CBMC_KESTREL_Firmware firmware("host text");
  host_.TakeJournal();
  EXPECT_EQ(firmware.UpdateRestore("anything"), 0);
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(),
                {"4 CBMC_KESTREL_Firmware::UpdateRestore() [START]", "4 CBMC_KESTREL_Firmware::UpdateRestore() [END]",
                 "show CBMC_KESTREL_Firmware::UpdateRestore()|CBMC_KESTREL_Firmware::UpdateRestore - Debug"}));
}

TEST_F(KestrelFirmware, ARequestTakesAsManyTextsAsItIsTold) {
  host_.Answer("0c 02 01 05", "00 11");
  std::list<std::string> response;
  EXPECT_TRUE(CBMC_KESTREL_Firmware::ExecIPMICommand(kIpmitoolPath, &response, 4, "0C", "02", "01", "05", "not read"));
  EXPECT_EQ(response, (std::list<std::string>{"00", "11"}));
}

TEST_F(KestrelFirmware, ARequestAsAListHasNoOuterLines) {
  host_.Answer("06 01", "00 20");
  std::list<std::string> response;
  EXPECT_TRUE(CBMC_KESTREL_Firmware::ExecIPMICommand_list(kIpmitoolPath, &response, {"06", "01"}));
  EXPECT_EQ(host_.TakeJournal().front(), "4 CBMC_KESTREL_Firmware::ExecIPMICommand_list() [START]");
}

TEST_F(KestrelFirmware, ConversionsAreThoseOfTheBytes) {
  CBMC_KESTREL_Firmware firmware("host text");
  EXPECT_EQ(firmware.hexstoi("7f"), 127);
  std::list<std::string> bytes;
  firmware.num_to_list(0x1234, &bytes, 2);
  firmware.get_charcodelist("A", &bytes);
  EXPECT_EQ(bytes, (std::list<std::string>{"34", "12", "41", "00"}));
}

TEST_F(KestrelFirmware, CommandsCanBeRunToAFile) {
  CBMC_KESTREL_Firmware firmware("host text");
  unsigned long exitCode = 0;
  EXPECT_EQ(firmware.ExecForeignModuleStdout("exit 3", "", "", &exitCode, ~0UL), 0);
  EXPECT_EQ(exitCode, 3U);
}

TEST_F(KestrelFirmware, VersionsAreComparedByTheirUnits) {
  CBMC_KESTREL_Firmware firmware("host text");
  int result = 0;
  EXPECT_EQ(firmware.CheckVendorVersion("01-23", "01-24"), 1);
  EXPECT_TRUE(firmware.CheckBMCVersion("01-24", "01-23", &result));
  EXPECT_EQ(result, -1);
  EXPECT_TRUE(firmware.CheckSDRVersion("A1", "A2", &result));
  EXPECT_EQ(result, 1);
}

TEST_F(KestrelFirmware, UpdateStagesReachTheirUnits) {
  CBMC_KESTREL_Firmware firmware("host text");
  host_.AnswerAlways("06 01", "00 20 01 01 23");
  host_.updateModule.moduleVersion = "01-23";
  EXPECT_EQ(firmware.Update("", "", nullptr, false), 0);  // already updated
  host_.operatingModule.moduleVersion = "01-24";
  EXPECT_EQ(firmware.UpdateApplyCheck(""), 1);
}

TEST_F(KestrelFirmware, NotificationsReachTheirUnits) {
  CBMC_KESTREL_Firmware firmware("host text");
  std::string detail;
  host_.AnswerAlways("3c 04", "00");
  EXPECT_EQ(firmware.ExecSendOSInfo(&detail), 1);
  EXPECT_EQ(firmware.ExecSendHddInfo(&detail), 1);
  EXPECT_EQ(firmware.SendInfoToSVP(&detail), 0);
  host_.Answer("3c 6b 05 40 00 00 00 00 00 00", "00");
  EXPECT_EQ(firmware.UnlockConfFile("40"), 0);
}

}  // namespace
