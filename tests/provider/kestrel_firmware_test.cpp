// The firmware handler's own operations, and that each of the others reaches its unit with the arguments it was given
// and the object's tool path. What the units do with them is tested with the units.
#include "provider/kestrel_firmware.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>

#include "tests/support/scripted_host.h"

namespace {

const Lines kMadeStart = {"4 CBMC_KESTREL_Firmware::CBMC_KESTREL_Firmware() [START]",
                          "probe /opt/kestrel/node_keeper/ipmi_tools/ipmicmd"};
const Lines kIpmitoolProbe = {"1 ipmicmd is nothing", "probe /usr/bin/ipmitool"};
const Lines kMadeEnd = {
    "4 CBMC_KESTREL_Firmware::CBMC_KESTREL_Firmware() [END]",
    "show CBMC_KESTREL_Firmware::CBMC_KESTREL_Firmware()|CBMC_KESTREL_Firmware::CBMC_KESTREL_Firmware - Debug"};

// A reading of the version 01-23 through the maker's tool.
const Lines kVersionRead = {"4 CBMC_KESTREL_Firmware::GetOperatingVersion() [START]", MakersRequest("06 01"),
                            "ask server type", "4 [01-23][kv6000]",
                            "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [01-23] [END]"};

class KestrelFirmware : public testing::Test {
 protected:
  // The handler of a machine that has these tools; its construction is not in the journal.
  CBMC_KESTREL_Firmware& Make(const std::set<std::string>& tools) {
    host_.readableFiles = tools;
    firmware_ = std::make_unique<CBMC_KESTREL_Firmware>("host text");
    host_.TakeJournal();
    return *firmware_;
  }
  // Most tests go through the maker's tool, so that a fixed path of the other one shows.
  CBMC_KESTREL_Firmware& Make() { return Make({kMakersToolPath}); }

  void AnswerVersion() { host_.Answer("06 01", "00 20 01 01 23"); }
  void ExpectJournal(const Lines& expected) { EXPECT_TRUE(SameLines(host_.TakeJournal(), expected)); }

  ScriptedHost host_;
  std::unique_ptr<CBMC_KESTREL_Firmware> firmware_;
};

// --- Life, and the tool.

TEST_F(KestrelFirmware, IsMadeWithTheMakersToolWheneverThatIsThere) {
  for (const std::set<std::string>& tools :
       {std::set<std::string>{kMakersToolPath, kIpmitoolPath}, {kMakersToolPath}}) {
    host_.readableFiles = tools;
    host_.TakeJournal();
    CBMC_KESTREL_Firmware firmware("host text");
    ExpectJournal({kMadeStart, kMadeEnd});
    AnswerVersion();
    EXPECT_EQ(firmware.GetOperatingVersion(), "01-23");
    ExpectJournal(kVersionRead);
  }
}

TEST_F(KestrelFirmware, IsMadeWithIpmitoolOtherwise) {
  host_.readableFiles = {kIpmitoolPath};
  CBMC_KESTREL_Firmware firmware("host text");
  ExpectJournal({kMadeStart, kIpmitoolProbe, kMadeEnd});
  host_.Answer("0a 20", "00");
  EXPECT_EQ(firmware.GetSDRVersion(), "");
  ExpectJournal(
      {"4 CBMC_KESTREL_Firmware::GetSDRVersion() [START]", Request("0a 20"), "2 Failed to get SDR Record Count(Lw)"});
}

TEST_F(KestrelFirmware, IsMadeWithoutAToolAllTheSame) {
  host_.readableFiles = {};
  CBMC_KESTREL_Firmware firmware("host text");
  ExpectJournal({kMadeStart, kIpmitoolProbe, "1 ipmitool is nothing", "2 Failed to get IPMI tool path",
                 "record MSGID_BMC_0001_F 0B23", kMadeEnd});
  EXPECT_EQ(firmware.GetOperatingVersion(), "abnormal");
  ExpectJournal({"4 CBMC_KESTREL_Firmware::GetOperatingVersion() [START]", "16 No IPMI tool",
                 "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [END]"});
}

TEST_F(KestrelFirmware, EndsWithItsTwoLines) {
  Make();
  firmware_.reset();
  ExpectJournal({"4 CBMC_KESTREL_Firmware::~CBMC_KESTREL_Firmware() [START]",
                 "4 CBMC_KESTREL_Firmware::~CBMC_KESTREL_Firmware() [END]"});
}

TEST_F(KestrelFirmware, TheToolIsChosenOnce) {
  CBMC_KESTREL_Firmware& firmware = Make({kIpmitoolPath});
  host_.readableFiles = {kMakersToolPath};
  AnswerVersion();
  EXPECT_EQ(firmware.GetOperatingVersion(), "01-23");
  ExpectJournal({"4 CBMC_KESTREL_Firmware::GetOperatingVersion() [START]", Request("06 01"), "ask server type",
                 "4 [01-23][kv6000]", "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [01-23] [END]"});
}

TEST_F(KestrelFirmware, TheChoiceOfAToolCanBeAskedForWithoutAnObject) {
  std::string errorCode = "before";
  host_.readableFiles = {};
  EXPECT_EQ(CBMC_KESTREL_Firmware::GetIPMItool(&errorCode), "");
  EXPECT_EQ(errorCode, "23before");
  ExpectJournal({"probe /opt/kestrel/node_keeper/ipmi_tools/ipmicmd", kIpmitoolProbe, "1 ipmitool is nothing"});
}

// --- Versions.

TEST_F(KestrelFirmware, ReadsTheSdrVersion) {
  CBMC_KESTREL_Firmware& firmware = Make();
  host_.Answer("0a 20", "00 51 01 00");
  host_.Answer("0a 23 00 00 01 00 00 ff", "00 ff ff 01 00 51 c0 11 00 00 00 53 44 52 20 56 65 72 73 69 6f 6e 20 41 31");
  EXPECT_EQ(firmware.GetSDRVersion(), "A1");
  ExpectJournal({"4 CBMC_KESTREL_Firmware::GetSDRVersion() [START]", MakersRequest("0a 20"), "1 Record Count [01][00]",
                 "1 Record Num [01][00]", "1 Exec Get SDR Data", MakersRequest("0a 23 00 00 01 00 00 ff"),
                 "1 Record [FFFF010051C0110000005344522056657273696F6E204131]",
                 "4 CBMC_KESTREL_Firmware::GetSDRVersion() [A1] [END]"});
}

TEST_F(KestrelFirmware, ComparesVersionsInTheirOrder) {
  CBMC_KESTREL_Firmware& firmware = Make();
  EXPECT_EQ(firmware.CheckVendorVersion("01-23", "01-24"), 1);
  ExpectJournal({"4 CBMC_KESTREL_Firmware::CheckVendorVersion() [01-23] [01-24] [START]", "ask server type",
                 "4 CBMC_KESTREL_Firmware::CheckBMCVersion() [01-23][01-24] [START]",
                 "4 CBMC_KESTREL_Firmware::CheckBMCVersion() [1] [END]",
                 "4 CBMC_KESTREL_Firmware::CheckVendorVersion() [1] [END]"});
  int result = 77;
  EXPECT_TRUE(firmware.CheckBMCVersion("01-24", "01-23", &result));
  EXPECT_EQ(result, -1);
  ExpectJournal({"4 CBMC_KESTREL_Firmware::CheckBMCVersion() [01-24][01-23] [START]",
                 "4 CBMC_KESTREL_Firmware::CheckBMCVersion() [-1] [END]"});
  EXPECT_TRUE(firmware.CheckSDRVersion("A1", "A2", &result));
  EXPECT_EQ(result, 1);
  ExpectJournal({"4 CBMC_KESTREL_Firmware::CheckSDRVersion() [A1][A2] [START]",
                 "4 CBMC_KESTREL_Firmware::CheckSDRVersion() [1] [END]"});
}

TEST_F(KestrelFirmware, ComparesNoMalformedVersions) {
  CBMC_KESTREL_Firmware& firmware = Make();
  int result = 77;
  EXPECT_FALSE(firmware.CheckBMCVersion("01-23", "A1", &result));
  EXPECT_EQ(result, 0);
  ExpectJournal({"4 CBMC_KESTREL_Firmware::CheckBMCVersion() [01-23][A1] [START]", "record MSGID_BMC_0008_F 0A",
                 "2 Invalid version format"});
  result = 77;
  EXPECT_FALSE(firmware.CheckSDRVersion("A", "A1", &result));
  EXPECT_EQ(result, 0);
  ExpectJournal({"4 CBMC_KESTREL_Firmware::CheckSDRVersion() [A][A1] [START]", "record MSGID_BMC_0008_F 09",
                 "2 Invalid version format"});
}

// --- Update stages.

TEST_F(KestrelFirmware, AnUpdateFailsWithoutATool) {
  CBMC_KESTREL_Firmware& firmware = Make({});
  EXPECT_EQ(firmware.PreUpdate("a", "b", nullptr, true), 1);
  ExpectJournal({"4 CBMC_KESTREL_Firmware::PreUpdate() [START]", "record MSGID_BMC_0016_F 0B", "2 No IPMI tool",
                 "4 CBMC_KESTREL_Firmware::PreUpdate() [END]"});
}

TEST_F(KestrelFirmware, AnUpdateCanBeTriedWithATool) {
  for (const char* tool : {kIpmitoolPath, kMakersToolPath}) {
    EXPECT_EQ(Make({tool}).PreUpdate("a", "b", nullptr, true), 0);
    ExpectJournal({"4 CBMC_KESTREL_Firmware::PreUpdate() [START]", "4 CBMC_KESTREL_Firmware::PreUpdate() [END]",
                   "show CBMC_KESTREL_Firmware::PreUpdate()|CBMC_KESTREL_Firmware::PreUpdate - Debug"});
  }
}

TEST_F(KestrelFirmware, ARestoreTouchesNothingAndSucceeds) {
  CBMC_KESTREL_Firmware& firmware = Make();
  EXPECT_EQ(firmware.UpdateRestore("anything"), 0);
  ExpectJournal({"4 CBMC_KESTREL_Firmware::UpdateRestore() [START]", "4 CBMC_KESTREL_Firmware::UpdateRestore() [END]",
                 "show CBMC_KESTREL_Firmware::UpdateRestore()|CBMC_KESTREL_Firmware::UpdateRestore - Debug"});
}

TEST_F(KestrelFirmware, AnUpdateIsOfThePackageWithItsFileListAndTheModuleChosen) {
  std::list<std::string> fileList = {"image.ima"};
  host_.updateModule.moduleVersion = "01-24";
  host_.oldModule.moduleVersion = "01-22";
  CBMC_KESTREL_Firmware& firmware = Make();
  for (const bool useOldModule : {false, true}) {
    SCOPED_TRACE(useOldModule);
    host_.unpackedFileList = nullptr;
    AnswerVersion();
    EXPECT_EQ(firmware.Update("/packages/no.zip", "/packages/bmc.zip", &fileList, useOldModule), 1);
    EXPECT_EQ(host_.unpackedFileList, &fileList);
    ExpectJournal({"4 CBMC_KESTREL_Firmware::Update() [START]", "ask server type", "1 Compare Version", kVersionRead,
                   useOldModule ? "ask old module" : "ask update module", "delete folder $I/tmp/KV6KBMC/BMC_FW",
                   "mkdir $I/tmp/KV6KBMC/BMC_FW", "unpack /packages/bmc.zip to $I/tmp/KV6KBMC/BMC_FW",
                   "list folder $I/tmp/KV6KBMC/BMC_FW", "record MSGID_BMC_0020_F 11", "2 Failed to find module",
                   "4 CBMC_KESTREL_Firmware::Update() [END]"});
  }
}

TEST_F(KestrelFirmware, AnUpdateAsksTheObjectItselfForItsVersionBeforeItFlashes) {
  host_.workFolderEntries = {"bmc.ima"};
  CBMC_KESTREL_Firmware& firmware = Make();
  AnswerVersion();
  host_.Answer("06 01", "00 20 01 01 23");
  host_.Answer("34 8c 55 aa 01", "c1", 3);
  EXPECT_EQ(firmware.Update("", "/packages/bmc.zip", nullptr, false), 1);
  EXPECT_EQ(host_.unpackedFileList, nullptr);
  const std::string refused = "Failed to execute ipmi command (Connect to virtual media) CompletionCode:c1";
  const Lines triedAgain = {MakersRequest("34 8c 55 aa 01"), "16 " + refused, "4 CBMC_KESTREL_Firmware::Update() [END]",
                            "sleep 10000"};
  ExpectJournal({"4 CBMC_KESTREL_Firmware::Update() [START]", "ask server type", "1 Compare Version", kVersionRead,
                 "ask update module", "delete folder $I/tmp/KV6KBMC/BMC_FW", "mkdir $I/tmp/KV6KBMC/BMC_FW",
                 "unpack /packages/bmc.zip to $I/tmp/KV6KBMC/BMC_FW", "list folder $I/tmp/KV6KBMC/BMC_FW", kVersionRead,
                 triedAgain.Times(2), MakersRequest("34 8c 55 aa 01"), "record MSGID_BMC_0012_F 14", "2 " + refused,
                 "4 CBMC_KESTREL_Firmware::Update() [END]"});
}

TEST_F(KestrelFirmware, AnUpdateIsCheckedAgainstTheInstalledModule) {
  CBMC_KESTREL_Firmware& firmware = Make();
  host_.updateModule.moduleVersion = "01-23";  // of no interest
  host_.operatingModule.moduleVersion = "01-24";
  AnswerVersion();
  EXPECT_EQ(firmware.UpdateApplyCheck("not read"), 1);
  ExpectJournal({"4 CBMC_KESTREL_Firmware::UpdateApplyCheck() [START]", kVersionRead, "ask operating module",
                 "1 UpdateApplyCheck [01-23] [01-24]", "record MSGID_BMC_0015_F 01-23 01-24",
                 "2 Operating Version(01-23) and Update Version(01-24) are mismatched",
                 "4 CBMC_KESTREL_Firmware::UpdateApplyCheck() [END]"});
  host_.operatingModule.moduleVersion = "01-23";
  AnswerVersion();
  EXPECT_EQ(firmware.UpdateApplyCheck("not read"), 0);
  ExpectJournal({"4 CBMC_KESTREL_Firmware::UpdateApplyCheck() [START]", kVersionRead, "ask operating module",
                 "1 UpdateApplyCheck [01-23] [01-23]", "4 CBMC_KESTREL_Firmware::UpdateApplyCheck() [END]"});
}

TEST_F(KestrelFirmware, AnUpdateIsAppliedThroughTheObjectsTool) {
  const std::string marker = "$I/tmp/KV6KBMC/ExistUpdate.txt";
  for (const char* tool : {kMakersToolPath, kIpmitoolPath}) {
    SCOPED_TRACE(tool);
    const auto request = std::string(tool) == kMakersToolPath ? MakersRequest : Request;
    CBMC_KESTREL_Firmware& firmware = Make({tool, marker});
    host_.Answer("34 5e 55 aa 01", "00");
    host_.Answer("34 5f", "00 01");
    host_.System("shutdown -h now", 0);
    EXPECT_EQ(firmware.UpdateApply(), 1);
    ExpectJournal({"4 CBMC_KESTREL_Firmware::UpdateApply() [START]", "probe " + marker, request("34 5e 55 aa 01"),
                   request("34 5f"), "1 Delete " + marker, "delete " + marker, "1 shutdown -h now",
                   "system shutdown -h now", "4 CBMC_KESTREL_Firmware::UpdateApply() [END]"});
  }
}

// --- Service processor notification.

const Lines kOsLines = {"4 CBMC_KESTREL_Firmware::ExecSendOSInfo [START]", MakersRequest("3c 04"), "4 0:00",
                        "1 Send OS Information not supported", "4 CBMC_KESTREL_Firmware::ExecSendOSInfo [END]"};
const Lines kDiskLines = {"4 CBMC_KESTREL_Firmware::ExecSendHddInfo [START]", MakersRequest("3c 04"), "4 0:00",
                          "1 Send HDD Information not supported", "4 CBMC_KESTREL_Firmware::ExecSendHDDInfo [END]"};

TEST_F(KestrelFirmware, SendsEachRecordByItsOwnOperation) {
  CBMC_KESTREL_Firmware& firmware = Make();
  std::string detail = "from before";
  host_.Answer("3c 04", "00");
  EXPECT_EQ(firmware.ExecSendOSInfo(&detail), 1);
  EXPECT_EQ(detail, "");
  ExpectJournal(kOsLines);
  detail = "from before";
  host_.Answer("3c 04", "00");
  EXPECT_EQ(firmware.ExecSendHddInfo(&detail), 1);
  EXPECT_EQ(detail, "");
  ExpectJournal(kDiskLines);
}

TEST_F(KestrelFirmware, SendsBothRecordsByOneOperation) {
  CBMC_KESTREL_Firmware& firmware = Make();
  std::string detail = "from before";
  host_.Answer("3c 04", "00", 2);
  EXPECT_EQ(firmware.SendInfoToSVP(&detail), 0);
  EXPECT_EQ(detail, "");
  ExpectJournal({"4 CBMC_KESTREL_Firmware::SendInfoToSVP [START]", kOsLines, kDiskLines});
}

TEST_F(KestrelFirmware, UnlocksTheFileThatItIsGiven) {
  CBMC_KESTREL_Firmware& firmware = Make();
  for (const std::string fileId : {"40", "41"}) {
    host_.Answer("3c 6b 05 " + fileId + " 00 00 00 00 00 00", "00");
    EXPECT_EQ(firmware.UnlockConfFile(fileId), 0);
    ExpectJournal(MakersRequest("3c 6b 05 " + fileId + " 00 00 00 00 00 00"));
  }
}

// --- IPMI access.

TEST_F(KestrelFirmware, ARequestTakesAsManyTextsAsItsNumberSays) {
  host_.Answer("0c 02 01 05", "00 11");
  std::list<std::string> response;
  EXPECT_TRUE(CBMC_KESTREL_Firmware::ExecIPMICommand(kIpmitoolPath, &response, 4, "0C", "02", "01", "05", "not read"));
  EXPECT_EQ(response, (std::list<std::string>{"00", "11"}));
  ExpectJournal(Request("0C 02 01 05"));
}

TEST_F(KestrelFirmware, ARequestGoesThroughTheToolThatItIsGiven) {
  host_.Answer("06 01", "c1 20");
  std::list<std::string> response;
  EXPECT_TRUE(CBMC_KESTREL_Firmware::ExecIPMICommand(kMakersToolPath, &response, 2, "06", "01"));
  EXPECT_EQ(response, (std::list<std::string>{"c1", "20"}));
  ExpectJournal(MakersRequest("06 01"));
}

TEST_F(KestrelFirmware, ARequestAsAListHasNoOuterLines) {
  const std::string line = std::string("\"") + kIpmitoolPath + "\" raw 0x06 0x01 > \"" + kResultFile + "\"";
  host_.Answer("06 01", "00 20");
  std::list<std::string> response;
  EXPECT_TRUE(CBMC_KESTREL_Firmware::ExecIPMICommand_list(kIpmitoolPath, &response, {"06", "01"}));
  EXPECT_EQ(response, (std::list<std::string>{"00", "20"}));
  ExpectJournal({"4 CBMC_KESTREL_Firmware::ExecIPMICommand_list() [START]", "1 Execute command [" + line + "]",
                 "exec " + line + " limit 350000", std::string("delete ") + kResultFile,
                 "4 CBMC_KESTREL_Firmware::ExecIPMICommand_list() [END]"});
}

TEST_F(KestrelFirmware, ConversionsAreThoseOfTheBytes) {
  CBMC_KESTREL_Firmware& firmware = Make();
  EXPECT_EQ(firmware.hexstoi("7f"), 127);
  std::list<std::string> bytes;
  firmware.num_to_list(0x1234, &bytes, 3);
  firmware.get_charcodelist("A", &bytes);
  EXPECT_EQ(bytes, (std::list<std::string>{"34", "12", "00", "41", "00"}));
  ExpectJournal({});
}

TEST_F(KestrelFirmware, CommandsCanBeRunToAFileInAFolder) {
  CBMC_KESTREL_Firmware& firmware = Make();
  const std::filesystem::path folder = host_.InstallPath() / "tmp";
  const std::filesystem::path file = host_.InstallPath() / "output";
  unsigned long exitCode = 77;
  EXPECT_EQ(firmware.ExecForeignModuleStdout("pwd -P; exit 3", file.string(), folder.string(), &exitCode, ~0UL), 0);
  EXPECT_EQ(exitCode, 3U);
  std::ostringstream output;
  output << std::ifstream(file).rdbuf();
  EXPECT_EQ(output.str(), std::filesystem::canonical(folder).string() + "\n");
  ExpectJournal("exists $I/tmp");
  EXPECT_TRUE(SameLines(host_.TakeChildJournal(), "1 open [/dev/console]"));
}

TEST_F(KestrelFirmware, CommandsCanBeRunWithALimit) {
  CBMC_KESTREL_Firmware& firmware = Make();
  unsigned long exitCode = 77;
  host_.pollsWhileRunning = 2;
  EXPECT_EQ(firmware.ExecForeignModuleStdout("true", "", "", &exitCode, 1500), 255);
  EXPECT_EQ(exitCode, 255U);
  ExpectJournal({"sleep 1000", "sleep 500"});
}

}  // namespace
