// The update by the flash utility: its road through either IPMI tool, what may be tried again, and every way in which
// it fails. Each journal is that of the whole update. Most tests go through the maker's tool, which shows completion
// codes.
#include "firmware/flash_tool_method.h"

#include <gtest/gtest.h>

#include "firmware/requests.h"
#include "firmware/update.h"
#include "tests/support/scripted_firmware.h"
#include "tests/support/scripted_host.h"

namespace kestrel {
namespace {

const std::string kFolder = "$I/tmp/KV6KBMC/BMC_FW";
const std::string kTool = "$I/KV6KBMC/Yafuflash";
const std::string kLsmod = "lsmod | grep -e \"^sg \"";
const std::string kModprobe = "modprobe sg";
const std::string kTouch = "touch \"$I/tmp/KV6KBMC/ExistUpdate.txt\"";

const std::string kConnect = "34 8c 55 aa 01";
const std::string kCheckDevice = "34 8d";
const std::string kDisable = "34 2c 00";
const std::string kCheckDisabled = "34 2d";
const std::string kDisconnect = "34 8c 55 aa 00";

std::string WriteModeRequest() {
  std::string request;
  for (const std::string& byte : kChangeWriteMode) {
    request += (request.empty() ? "" : " ") + byte;
  }
  return request;
}

// How a request looks in the journal, by the IPMI tool.
using RequestLines = Lines (*)(const std::string& request);

// --- The journal in the order of the road.

Lines Staged(RequestLines request = MakersRequest) {
  return {"4 CBMC_KESTREL_Firmware::Update() [START]",
          "ask server type",
          "1 Compare Version",
          "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [START]",
          request("06 01"),
          "ask server type",
          "4 [01-23][kv6000]",
          "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [01-23] [END]",
          "ask update module",
          "delete folder " + kFolder,
          "mkdir " + kFolder,
          "unpack /packages/bmc.zip to " + kFolder};
}

const Lines kListed = "list folder " + kFolder;
const Lines kImage = {kListed, "ask operating version"};
const Lines kSlept = {"1 Sleep start", "sleep 10000", "1 Sleep end"};

Lines Connected(RequestLines request = MakersRequest) {
  return {request(kConnect), kSlept, request(kCheckDevice)};
}

Lines WaitDisabled(RequestLines request = MakersRequest) {
  return {request(kDisable), request(kCheckDisabled)};
}

const Lines kToolFound = "probe " + kTool;

Lines Executed(const std::string& command, int result, int exitCode) {
  return {"exec " + command + " limit 900000",
          "1 Exec [" + command + "]. iret[" + std::to_string(result) + "] dret[" + std::to_string(exitCode) + "]"};
}

const Lines kDriverFound = Executed(kLsmod, 0, 0);

std::string FlashCommand(const std::string& image = "bmc.ima") {
  return "\"" + kTool + "\"  -cd -preserve-config -silent  \"" + kFolder + "/" + image + "\"";
}

Lines Flashed(const std::string& image = "bmc.ima") {
  const std::string command = FlashCommand(image);
  return {"1 " + command, "1 Execute:" + command, "exec " + command + " limit 900000"};
}

Lines FlashFailed(int exitCode) {
  return {Flashed(), "16 Failed to execute update command:ReturnCode=" + std::to_string(exitCode)};
}

// Everything between the image and the flash command when nothing goes wrong.
Lines Prepared() {
  return {Connected(), WaitDisabled(), kToolFound, kDriverFound};
}

Lines Disconnected() {
  return {"sleep 1000", MakersRequest(kDisconnect), "sleep 10000"};
}

Lines Completed(int exitCode = 0) {
  return {"1 Yafuflash command return=" + std::to_string(exitCode), "delete folder " + kFolder,
          "1 delete folder complete", "system " + kTouch};
}

const Lines kEnd = "4 CBMC_KESTREL_Firmware::Update() [END]";
const Lines kDone = {kEnd, "show CBMC_KESTREL_Firmware::Update()|CBMC_KESTREL_Firmware::Update - Debug"};

// --- Failures. What is tried again and what ends the update say the same at different levels.

Lines Retried(const std::string& text) {
  return {"16 " + text, "sleep 10000"};
}

Lines GivenUp(const std::string& record, const std::string& text) {
  return {"record " + record, "2 " + text, kEnd};
}

std::string WriteModeFailed(const std::string& code) {
  return "Failed to execute IPMI command(Change Write mode) CompletionCode:" + code;
}

std::string ConnectFailed(const std::string& code) {
  return "Failed to execute ipmi command (Connect to virtual media) CompletionCode:" + code;
}

// A failed connection that is tried again writes an end line, too.
Lines ConnectRetried(const std::string& code) {
  return {"16 " + ConnectFailed(code), kEnd, "sleep 10000"};
}

std::string DeviceFailed(const std::string& first, const std::string& second) {
  return "Failed to execute IPMI command(Check Connect Virtual Device) ResponseData1:" + first +
         "  ResponseData2:" + second;
}

std::string DisableFailed(const std::string& code) {
  return "Failed to execute command(Wait Disabled) CompletionCode:" + code;
}

std::string CheckFailed(const std::string& first, const std::string& second) {
  return "Failed to execute IPMI command(Check Wait Disable) ResponseData1:" + first + "  ResponseData2:" + second;
}

class FlashToolMethodTest : public testing::Test {
 protected:
  FlashToolMethodTest() {
    host_.readableFiles.insert(kTool);
    host_.updateModule.moduleVersion = "01-24";
    host_.workFolderEntries = {".", "..", "bmc.ima"};
    host_.AnswerAlways("06 01", "00 20 01 01 23");
    host_.AnswerAlways(kConnect, "00");
    host_.AnswerAlways(kCheckDevice, "00 01");
    host_.AnswerAlways(kDisable, "00");
    host_.AnswerAlways(kCheckDisabled, "00 00");
    host_.AnswerAlways(kDisconnect, "00");
  }

  int Run(const char* ipmiTool = kMakersToolPath) {
    return RunUpdate(firmware_, ipmiTool, "/packages/bmc.zip", nullptr, false);
  }
  // The next runs of the flash command, with the driver there before each, end so.
  void FlashEnds(const CommandEnd& end, int times = 1) {
    host_.Command(kLsmod, {0, 0, ""}, times);
    host_.Command(FlashCommand(), end, times);
  }
  void FlashSucceeds() {
    FlashEnds({0, 0, ""});
    host_.System(kTouch, 0);
  }
  void ExpectJournal(const Lines& expected) { EXPECT_TRUE(SameLines(host_.TakeJournal(), expected)); }

  ScriptedHost host_;
  ScriptedFirmware firmware_;
};

// --- The road.

TEST_F(FlashToolMethodTest, TheRoadThroughTheMakersTool) {
  FlashSucceeds();
  EXPECT_EQ(Run(), 0);
  ExpectJournal(
      {Staged(), kImage, Connected(), WaitDisabled(), kToolFound, kDriverFound, Flashed(), Completed(), kDone});
}

TEST_F(FlashToolMethodTest, TheRoadThroughIpmitool) {
  FlashSucceeds();
  EXPECT_EQ(Run(kIpmitoolPath), 0);
  ExpectJournal({Staged(Request), kImage, Connected(Request), WaitDisabled(Request), kToolFound, kDriverFound,
                 Flashed(), Completed(), kDone});
}

// --- The image.

TEST_F(FlashToolMethodTest, AWorkFolderThatCannotBeListed) {
  host_.folderCanBeListed = false;
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kListed, GivenUp("MSGID_BMC_0009_F 17", "Failed to open directory " + kFolder)});
}

TEST_F(FlashToolMethodTest, AnEmptyWorkFolderHasNoImage) {
  host_.workFolderEntries = {};
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kListed, GivenUp("MSGID_BMC_0020_F 11", "Failed to find module")});
}

TEST_F(FlashToolMethodTest, AWorkFolderWithoutAnImage) {
  host_.workFolderEntries = {".", "..", "bmc.img", "bmc.IMA", "ima", "bmcima"};
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kListed, GivenUp("MSGID_BMC_0020_F 11", "Failed to find module")});
}

TEST_F(FlashToolMethodTest, OfSeveralImagesTheOneListedLastIsFlashed) {
  host_.workFolderEntries = {"z.ima", ".", "readme.txt", "a.ima.new", "..", "checksums"};
  host_.Command(kLsmod, {0, 0, ""});
  host_.Command(FlashCommand("a.ima.new"), {0, 0, ""});
  host_.System(kTouch, 0);
  EXPECT_EQ(Run(), 0);
  ExpectJournal({Staged(), kImage, Prepared(), Flashed("a.ima.new"), Completed(), kDone});
}

TEST_F(FlashToolMethodTest, APercentSignInAPathIsNoConversion) {
  host_.workFolderEntries = {"100%s of %d%%.ima"};
  host_.Command(kLsmod, {0, 0, ""});
  host_.Command(FlashCommand("100%s of %d%%.ima"), {0, 0, ""});
  host_.System(kTouch, 0);
  EXPECT_EQ(Run(), 0);
  ExpectJournal({Staged(), kImage, Prepared(), Flashed("100%s of %d%%.ima"), Completed(), kDone});
}

// --- The running version and the write mode.

TEST_F(FlashToolMethodTest, ABmcThatCannotBeAskedIsNotFlashed) {
  firmware_.operatingVersion = "abnormal";
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kImage, "record MSGID_BMC_0011_F 1C", "4 Failed to get Operating Version [abnormal]", kEnd});
}

TEST_F(FlashToolMethodTest, FirmwareOfTheseRevisionsIsGivenThePhraseFirst) {
  for (const char* version : {"06-01", "16-20", "06"}) {
    SCOPED_TRACE(version);
    firmware_.operatingVersion = version;
    host_.Answer(WriteModeRequest(), "00");
    FlashSucceeds();
    EXPECT_EQ(Run(), 0);
    ExpectJournal({Staged(), kImage, MakersRequest(WriteModeRequest()), Prepared(), Flashed(), Completed(), kDone});
  }
}

TEST_F(FlashToolMethodTest, OtherFirmwareIsNotGivenThePhrase) {
  for (const char* version : {"01-06", "60-16", "6-06", " 06-01", "0", "", "26-06"}) {
    SCOPED_TRACE(version);
    firmware_.operatingVersion = version;
    FlashSucceeds();
    EXPECT_EQ(Run(), 0);
    ExpectJournal({Staged(), kImage, Prepared(), Flashed(), Completed(), kDone});
  }
}

TEST_F(FlashToolMethodTest, ABmcTooBusyForThePhraseIsAskedAgain) {
  firmware_.operatingVersion = "06-01";
  host_.Answer(WriteModeRequest(), "c0", 2);
  host_.Answer(WriteModeRequest(), "00");
  FlashSucceeds();
  EXPECT_EQ(Run(), 0);
  const Lines busy = {MakersRequest(WriteModeRequest()), Retried(WriteModeFailed("c0"))};
  ExpectJournal(
      {Staged(), kImage, busy.Times(2), MakersRequest(WriteModeRequest()), Prepared(), Flashed(), Completed(), kDone});
}

TEST_F(FlashToolMethodTest, APhraseThatIsRefusedThreeTimes) {
  firmware_.operatingVersion = "16-01";
  host_.Answer(WriteModeRequest(), "d4", 3);
  EXPECT_EQ(Run(), 1);
  const Lines refused = {MakersRequest(WriteModeRequest()), Retried(WriteModeFailed("d4"))};
  ExpectJournal({Staged(), kImage, refused.Times(2), MakersRequest(WriteModeRequest()),
                 GivenUp("MSGID_BMC_0012_F 13", WriteModeFailed("d4"))});
}

TEST_F(FlashToolMethodTest, EachRefusedPhraseShowsItsOwnCode) {
  firmware_.operatingVersion = "06-01";
  host_.Answer(WriteModeRequest(), "c1");
  host_.AnswerRaw(WriteModeRequest(), {0, 1, ""});
  host_.Answer(WriteModeRequest(), "c3");
  EXPECT_EQ(Run(), 1);
  const Lines asked = MakersRequest(WriteModeRequest());
  ExpectJournal({Staged(), kImage, asked, Retried(WriteModeFailed("c1")), FailedMakersRequest(WriteModeRequest()),
                 Retried(WriteModeFailed("")), asked, GivenUp("MSGID_BMC_0012_F 13", WriteModeFailed("c3"))});
}

TEST_F(FlashToolMethodTest, APhraseThatIsRefusedThroughIpmitoolShowsNoCode) {
  firmware_.operatingVersion = "06-01";
  host_.Answer(WriteModeRequest(), "d4", 3);
  EXPECT_EQ(Run(kIpmitoolPath), 1);
  const Lines refused = {FailedRequest(WriteModeRequest()), Retried(WriteModeFailed(""))};
  ExpectJournal({Staged(Request), kImage, refused.Times(2), FailedRequest(WriteModeRequest()),
                 GivenUp("MSGID_BMC_0012_F 13", WriteModeFailed(""))});
}

// --- The virtual media.

TEST_F(FlashToolMethodTest, ABmcTooBusyToConnectIsAskedAgain) {
  host_.Answer(kConnect, "c0", 2);
  FlashSucceeds();
  EXPECT_EQ(Run(), 0);
  const Lines busy = {MakersRequest(kConnect), ConnectRetried("c0")};
  ExpectJournal({Staged(), kImage, busy.Times(2), Prepared(), Flashed(), Completed(), kDone});
}

TEST_F(FlashToolMethodTest, AConnectionThatFailsThreeTimes) {
  host_.Answer(kConnect, "c1", 3);
  EXPECT_EQ(Run(), 1);
  const Lines refused = {MakersRequest(kConnect), ConnectRetried("c1")};
  ExpectJournal({Staged(), kImage, refused.Times(2), MakersRequest(kConnect),
                 GivenUp("MSGID_BMC_0012_F 14", ConnectFailed("c1"))});
}

TEST_F(FlashToolMethodTest, AConnectionThatFailsThroughIpmitoolShowsNoCode) {
  host_.Answer(kConnect, "c1", 3);
  EXPECT_EQ(Run(kIpmitoolPath), 1);
  const Lines refused = {FailedRequest(kConnect), ConnectRetried("")};
  ExpectJournal({Staged(Request), kImage, refused.Times(2), FailedRequest(kConnect),
                 GivenUp("MSGID_BMC_0012_F 14", ConnectFailed(""))});
}

TEST_F(FlashToolMethodTest, ADeviceThatIsNotThereIsConnectedAgain) {
  host_.Answer(kCheckDevice, "00 00");
  host_.Answer(kCheckDevice, "c0 01");  // the code counts, not only the byte
  FlashSucceeds();
  EXPECT_EQ(Run(), 0);
  ExpectJournal({Staged(), kImage, Connected(), Retried(DeviceFailed("00", "00")), Connected(),
                 Retried(DeviceFailed("c0", "01")), Prepared(), Flashed(), Completed(), kDone});
}

TEST_F(FlashToolMethodTest, ADeviceThatIsNeverThere) {
  host_.Answer(kCheckDevice, "00", 3);
  EXPECT_EQ(Run(), 1);
  const Lines missing = {Connected(), Retried(DeviceFailed("00", ""))};
  ExpectJournal(
      {Staged(), kImage, missing.Times(2), Connected(), GivenUp("MSGID_BMC_0012_F 14", DeviceFailed("00", ""))});
}

TEST_F(FlashToolMethodTest, ADeviceThatTheToolCannotAskForShowsNoData) {
  host_.Answer(kCheckDevice, "00 00");
  host_.Answer(kCheckDevice, "c1", 2);
  EXPECT_EQ(Run(kIpmitoolPath), 1);
  const Lines asked = {Request(kConnect), kSlept, FailedRequest(kCheckDevice)};
  ExpectJournal({Staged(Request), kImage, Connected(Request), Retried(DeviceFailed("00", "00")), asked,
                 Retried(DeviceFailed("", "")), asked, GivenUp("MSGID_BMC_0012_F 14", DeviceFailed("", ""))});
}

TEST_F(FlashToolMethodTest, ADeviceIsNotThereWhileTheAnswerCannotBeRead) {
  host_.AnswerRaw(kCheckDevice, {0, 0, "01 123\n"}, 3);
  EXPECT_EQ(Run(kIpmitoolPath), 1);
  const Lines asked = {Request(kConnect), kSlept, BrokenRequest(kCheckDevice)};
  ExpectJournal({Staged(Request), kImage, Lines{asked, Retried(DeviceFailed("00", "01"))}.Times(2), asked,
                 GivenUp("MSGID_BMC_0012_F 14", DeviceFailed("00", "01"))});
}

TEST_F(FlashToolMethodTest, EachFailedConnectionShowsItsOwnCode) {
  host_.Answer(kConnect, "c1");
  host_.AnswerRaw(kConnect, {0, 1, ""});
  host_.Answer(kConnect, "c3");
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kImage, MakersRequest(kConnect), ConnectRetried("c1"), FailedMakersRequest(kConnect),
                 ConnectRetried(""), MakersRequest(kConnect), GivenUp("MSGID_BMC_0012_F 14", ConnectFailed("c3"))});
}

TEST_F(FlashToolMethodTest, AFailedConnectionReplacesTheCodesOfFlashRuns) {
  host_.Answer(kConnect, "00");
  host_.Answer(kConnect, "c1", 3);
  FlashEnds({0, 5, ""});
  EXPECT_EQ(Run(), 1);
  const Lines refused = {MakersRequest(kConnect), ConnectRetried("c1")};
  ExpectJournal({Staged(), kImage, Prepared(), FlashFailed(5), Disconnected(), refused.Times(2),
                 MakersRequest(kConnect), GivenUp("MSGID_BMC_0012_F 14", ConnectFailed("c1"))});
}

TEST_F(FlashToolMethodTest, AMissingDeviceReplacesTheCodesOfFlashRuns) {
  host_.Answer(kCheckDevice, "00 01", 2);
  host_.Answer(kCheckDevice, "00 00", 3);
  FlashEnds({0, static_cast<unsigned long>(-2), ""}, 2);
  EXPECT_EQ(Run(), 1);
  const Lines failed = {Prepared(), FlashFailed(-2), Disconnected()};
  const Lines missing = {Connected(), Retried(DeviceFailed("00", "00"))};
  ExpectJournal({Staged(), kImage, failed.Times(2), missing.Times(2), Connected(),
                 GivenUp("MSGID_BMC_0012_F 14", DeviceFailed("00", "00"))});
}

TEST_F(FlashToolMethodTest, ConnectionAndDeviceShareTheThreeFailuresConnectionLast) {
  host_.Answer(kConnect, "c0");
  host_.Answer(kConnect, "00");
  host_.Answer(kCheckDevice, "00 00");
  host_.Answer(kConnect, "c3");
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kImage, MakersRequest(kConnect), ConnectRetried("c0"), Connected(),
                 Retried(DeviceFailed("00", "00")), MakersRequest(kConnect),
                 GivenUp("MSGID_BMC_0012_F 14", ConnectFailed("c3"))});
}

TEST_F(FlashToolMethodTest, ConnectionAndDeviceShareTheThreeFailuresDeviceLast) {
  host_.Answer(kConnect, "c0", 2);
  host_.Answer(kCheckDevice, "00 00");
  EXPECT_EQ(Run(), 1);
  const Lines busy = {MakersRequest(kConnect), ConnectRetried("c0")};
  ExpectJournal(
      {Staged(), kImage, busy.Times(2), Connected(), GivenUp("MSGID_BMC_0012_F 14", DeviceFailed("00", "00"))});
}

TEST_F(FlashToolMethodTest, FailedConnectionsCountOnOverFlashRuns) {
  host_.Answer(kConnect, "c0");  // before the first run,
  host_.Answer(kConnect, "00");
  host_.Answer(kConnect, "c1");  // before the second,
  host_.Answer(kConnect, "00");
  host_.Answer(kConnect, "c2");  // and before the third
  FlashEnds({0, 5, ""}, 2);
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kImage,
                 // first run
                 MakersRequest(kConnect), ConnectRetried("c0"), Prepared(), FlashFailed(5), Disconnected(),
                 // second run
                 MakersRequest(kConnect), ConnectRetried("c1"), Prepared(), FlashFailed(5), Disconnected(),
                 // third
                 MakersRequest(kConnect), GivenUp("MSGID_BMC_0012_F 14", ConnectFailed("c2"))});
}

TEST_F(FlashToolMethodTest, WithoutAnIpmiToolNothingIsConnected) {
  const Lines noTool = {"4 CBMC_KESTREL_Firmware::ExecIPMICommand() [START]", "2 Tool path is empty",
                        "4 CBMC_KESTREL_Firmware::ExecIPMICommand() [END]"};
  EXPECT_EQ(Run(""), 1);
  const Lines staged = {"4 CBMC_KESTREL_Firmware::Update() [START]",
                        "ask server type",
                        "1 Compare Version",
                        "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [START]",
                        "16 No IPMI tool",
                        "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [END]",
                        "ask update module",
                        "delete folder " + kFolder,
                        "mkdir " + kFolder,
                        "unpack /packages/bmc.zip to " + kFolder};
  ExpectJournal({staged, kImage, noTool, ConnectRetried(""), noTool, ConnectRetried(""), noTool,
                 GivenUp("MSGID_BMC_0012_F 14", ConnectFailed(""))});
}

// --- The wait.

TEST_F(FlashToolMethodTest, ABmcTooBusyToDisableTheWaitIsAskedAgain) {
  host_.Answer(kDisable, "c0", 2);
  FlashSucceeds();
  EXPECT_EQ(Run(), 0);
  const Lines busy = {MakersRequest(kDisable), Retried(DisableFailed("c0"))};
  ExpectJournal({Staged(), kImage, Connected(), busy.Times(2), WaitDisabled(), kToolFound, kDriverFound, Flashed(),
                 Completed(), kDone});
}

TEST_F(FlashToolMethodTest, AWaitThatIsNeverDisabledEndsAtTheLevelOfValues) {
  host_.Answer(kDisable, "c1", 3);
  EXPECT_EQ(Run(), 1);
  const Lines refused = {MakersRequest(kDisable), Retried(DisableFailed("c1"))};
  ExpectJournal({Staged(), kImage, Connected(), refused.Times(2), MakersRequest(kDisable), "record MSGID_BMC_0012_F 1F",
                 "1 " + DisableFailed("c1"), kEnd});
}

TEST_F(FlashToolMethodTest, AWaitThatIsNeverSeenDisabled) {
  host_.Answer(kCheckDisabled, "00 01", 3);
  EXPECT_EQ(Run(), 1);
  const Lines waiting = {WaitDisabled(), Retried(CheckFailed("00", "01"))};
  ExpectJournal({Staged(), kImage, Connected(), waiting.Times(2), WaitDisabled(),
                 GivenUp("MSGID_BMC_0012_F 1F", CheckFailed("00", "01"))});
}

TEST_F(FlashToolMethodTest, AWaitThatIsNeverDisabledThroughIpmitoolShowsNoCode) {
  host_.Answer(kDisable, "c1", 3);
  EXPECT_EQ(Run(kIpmitoolPath), 1);
  const Lines refused = {FailedRequest(kDisable), Retried(DisableFailed(""))};
  ExpectJournal({Staged(Request), kImage, Connected(Request), refused.Times(2), FailedRequest(kDisable),
                 "record MSGID_BMC_0012_F 1F", "1 " + DisableFailed(""), kEnd});
}

TEST_F(FlashToolMethodTest, EachFailedDisablingShowsItsOwnCode) {
  host_.Answer(kDisable, "c1");
  host_.AnswerRaw(kDisable, {0, 1, ""});
  host_.Answer(kDisable, "c3");
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kImage, Connected(), MakersRequest(kDisable), Retried(DisableFailed("c1")),
                 FailedMakersRequest(kDisable), Retried(DisableFailed("")), MakersRequest(kDisable),
                 "record MSGID_BMC_0012_F 1F", "1 " + DisableFailed("c3"), kEnd});
}

TEST_F(FlashToolMethodTest, AWaitThatTheToolCannotAskForShowsNoData) {
  host_.Answer(kCheckDisabled, "00 01");
  host_.Answer(kCheckDisabled, "c1", 2);
  EXPECT_EQ(Run(kIpmitoolPath), 1);
  const Lines asked = {Request(kDisable), FailedRequest(kCheckDisabled)};
  ExpectJournal({Staged(Request), kImage, Connected(Request), WaitDisabled(Request), Retried(CheckFailed("00", "01")),
                 asked, Retried(CheckFailed("", "")), asked, GivenUp("MSGID_BMC_0012_F 1F", CheckFailed("", ""))});
}

TEST_F(FlashToolMethodTest, AWaitIsNotSeenDisabledWhileTheAnswerCannotBeRead) {
  host_.AnswerRaw(kCheckDisabled, {0, 0, "00 123\n"}, 3);
  EXPECT_EQ(Run(kIpmitoolPath), 1);
  const Lines asked = {Request(kDisable), BrokenRequest(kCheckDisabled)};
  ExpectJournal({Staged(Request), kImage, Connected(Request), Lines{asked, Retried(CheckFailed("00", "00"))}.Times(2),
                 asked, GivenUp("MSGID_BMC_0012_F 1F", CheckFailed("00", "00"))});
}

TEST_F(FlashToolMethodTest, AWaitThatIsNotDisabledReplacesTheCodesOfFlashRuns) {
  host_.Answer(kDisable, "00");
  host_.Answer(kDisable, "c1", 3);
  FlashEnds({0, 5, ""});
  EXPECT_EQ(Run(), 1);
  const Lines refused = {MakersRequest(kDisable), Retried(DisableFailed("c1"))};
  ExpectJournal({Staged(), kImage, Prepared(), FlashFailed(5), Disconnected(), Connected(), refused.Times(2),
                 MakersRequest(kDisable), "record MSGID_BMC_0012_F 1F", "1 " + DisableFailed("c1"), kEnd});
}

TEST_F(FlashToolMethodTest, AWaitThatIsNotSeenDisabledReplacesTheCodesOfFlashRuns) {
  host_.Answer(kCheckDisabled, "00 00", 2);
  host_.Answer(kCheckDisabled, "00 01", 3);
  FlashEnds({0, 5, ""}, 2);
  EXPECT_EQ(Run(), 1);
  const Lines failed = {Prepared(), FlashFailed(5), Disconnected()};
  const Lines waiting = {WaitDisabled(), Retried(CheckFailed("00", "01"))};
  ExpectJournal({Staged(), kImage, failed.Times(2), Connected(), waiting.Times(2), WaitDisabled(),
                 GivenUp("MSGID_BMC_0012_F 1F", CheckFailed("00", "01"))});
}

TEST_F(FlashToolMethodTest, AFailedPassStartsWithTheDisablingAgain) {
  host_.Answer(kCheckDisabled, "c0 00");  // the code counts, not only the byte
  host_.Answer(kCheckDisabled, "00");     // no byte at all
  FlashSucceeds();
  EXPECT_EQ(Run(), 0);
  ExpectJournal({Staged(), kImage, Connected(), WaitDisabled(), Retried(CheckFailed("c0", "00")), WaitDisabled(),
                 Retried(CheckFailed("00", "")), WaitDisabled(), kToolFound, kDriverFound, Flashed(), Completed(),
                 kDone});
}

TEST_F(FlashToolMethodTest, DisablingAndItsCheckShareTheThreePassesCheckLast) {
  host_.Answer(kDisable, "c0", 2);
  host_.Answer(kCheckDisabled, "00 01");
  EXPECT_EQ(Run(), 1);
  const Lines busy = {MakersRequest(kDisable), Retried(DisableFailed("c0"))};
  ExpectJournal({Staged(), kImage, Connected(), busy.Times(2), WaitDisabled(),
                 GivenUp("MSGID_BMC_0012_F 1F", CheckFailed("00", "01"))});
}

TEST_F(FlashToolMethodTest, DisablingAndItsCheckShareTheThreePassesDisablingLast) {
  host_.Answer(kDisable, "00", 2);
  host_.Answer(kDisable, "c0");
  host_.Answer(kCheckDisabled, "00 01", 2);
  EXPECT_EQ(Run(), 1);
  const Lines waiting = {WaitDisabled(), Retried(CheckFailed("00", "01"))};
  ExpectJournal({Staged(), kImage, Connected(), waiting.Times(2), MakersRequest(kDisable), "record MSGID_BMC_0012_F 1F",
                 "1 " + DisableFailed("c0"), kEnd});
}

TEST_F(FlashToolMethodTest, ThePassesAreCountedAnewBeforeEveryFlashRun) {
  host_.Answer(kDisable, "c0", 2);
  host_.Answer(kDisable, "00");
  host_.Answer(kDisable, "c0", 2);
  FlashEnds({0, 5, ""});
  FlashSucceeds();
  EXPECT_EQ(Run(), 0);
  const Lines busy = {MakersRequest(kDisable), Retried(DisableFailed("c0"))};
  const Lines prepared = {Connected(), busy.Times(2), WaitDisabled(), kToolFound, kDriverFound};
  ExpectJournal({Staged(), kImage, prepared, FlashFailed(5), Disconnected(), prepared, Flashed(), Completed(), kDone});
}

// --- The flash utility and the driver.

TEST_F(FlashToolMethodTest, AMissingFlashToolLeavesTheMediaConnected) {
  host_.readableFiles = {};
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kImage, Connected(), WaitDisabled(), kToolFound,
                 GivenUp("MSGID_BMC_0009_F 24", "Failed to get update tool " + kTool)});
}

TEST_F(FlashToolMethodTest, AFlashToolThatGetsLostPutsItsCodeInFront) {
  FlashEnds({0, 5, "", [this] { host_.readableFiles.clear(); }});
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kImage, Prepared(), FlashFailed(5), Disconnected(), Connected(), WaitDisabled(), kToolFound,
                 GivenUp("MSGID_BMC_0009_F 2416", "Failed to get update tool " + kTool)});
}

TEST_F(FlashToolMethodTest, ADriverThatIsNotThereIsLoaded) {
  host_.Command(kLsmod, {0, 1, ""});
  host_.Command(kModprobe, {0, 0, ""});
  host_.Command(FlashCommand(), {0, 0, ""});
  host_.System(kTouch, 0);
  EXPECT_EQ(Run(), 0);
  ExpectJournal({Staged(), kImage, Connected(), WaitDisabled(), kToolFound, Executed(kLsmod, 0, 1),
                 Executed(kModprobe, 0, 0), Flashed(), Completed(), kDone});
}

TEST_F(FlashToolMethodTest, ALookForTheDriverThatCannotBeRunCountsAsNotThere) {
  host_.Command(kLsmod, {1, 0, ""});
  host_.Command(kModprobe, {0, 0, ""});
  host_.Command(FlashCommand(), {0, 0, ""});
  host_.System(kTouch, 0);
  EXPECT_EQ(Run(), 0);
  ExpectJournal({Staged(), kImage, Connected(), WaitDisabled(), kToolFound, Executed(kLsmod, 1, 0),
                 Executed(kModprobe, 0, 0), Flashed(), Completed(), kDone});
}

TEST_F(FlashToolMethodTest, ADriverMayTakeThreeAttemptsToLoad) {
  host_.Command(kLsmod, {0, 1, ""});
  host_.Command(kModprobe, {0, 1, ""});
  host_.Command(kModprobe, {255, 0, ""});
  host_.Command(kModprobe, {0, 0, ""});
  host_.Command(FlashCommand(), {0, 0, ""});
  host_.System(kTouch, 0);
  EXPECT_EQ(Run(), 0);
  ExpectJournal({Staged(), kImage, Connected(), WaitDisabled(), kToolFound, Executed(kLsmod, 0, 1),
                 Executed(kModprobe, 0, 1), "sleep 1000", Executed(kModprobe, 255, 0), "sleep 1000",
                 Executed(kModprobe, 0, 0), Flashed(), Completed(), kDone});
}

TEST_F(FlashToolMethodTest, ADriverThatCannotBeLoadedEndsTheUpdateWithARecordOnly) {
  host_.Command(kLsmod, {0, 1, ""});
  host_.Command(kModprobe, {0, 1, ""}, 3);
  EXPECT_EQ(Run(), 1);
  const Lines failed = Executed(kModprobe, 0, 1);
  ExpectJournal({Staged(), kImage, Connected(), WaitDisabled(), kToolFound, Executed(kLsmod, 0, 1), failed,
                 "sleep 1000", failed, "sleep 1000", failed, "record MSGID_BMC_0009_F 2A", kEnd});
}

TEST_F(FlashToolMethodTest, ADriverThatGetsLostPutsItsCodeInFront) {
  FlashEnds({0, static_cast<unsigned long>(-2), ""});
  host_.Command(kLsmod, {0, 1, ""});
  host_.Command(kModprobe, {0, 1, ""}, 3);
  EXPECT_EQ(Run(), 1);
  const Lines failed = Executed(kModprobe, 0, 1);
  ExpectJournal({Staged(), kImage, Prepared(), FlashFailed(-2), Disconnected(), Connected(), WaitDisabled(), kToolFound,
                 Executed(kLsmod, 0, 1), failed, "sleep 1000", failed, "sleep 1000", failed,
                 "record MSGID_BMC_0009_F 2A1E", kEnd});
}

// --- The flash command.

TEST_F(FlashToolMethodTest, AFlashCommandThatFailsThreeTimes) {
  FlashEnds({0, 5, ""}, 3);
  EXPECT_EQ(Run(), 1);
  const Lines failed = {Prepared(), FlashFailed(5)};
  ExpectJournal({Staged(), kImage, failed, Disconnected(), failed, Disconnected(), failed,
                 GivenUp("MSGID_BMC_0013_F 161616", "Failed to execute update command " + FlashCommand())});
}

TEST_F(FlashToolMethodTest, AnExitStatusOfMinusTwoHasACodeOfItsOwn) {
  FlashEnds({0, static_cast<unsigned long>(-2), ""}, 2);
  FlashEnds({0, 4294967294UL, ""});  // a host that keeps 32 bits of it
  EXPECT_EQ(Run(), 1);
  const Lines failed = {Prepared(), FlashFailed(-2)};
  ExpectJournal({Staged(), kImage, failed, Disconnected(), failed, Disconnected(), failed,
                 GivenUp("MSGID_BMC_0013_F 1E1E1E", "Failed to execute update command " + FlashCommand())});
}

TEST_F(FlashToolMethodTest, CodesOfDifferentFailuresStandNewestFirst) {
  FlashEnds({0, static_cast<unsigned long>(-2), ""});
  FlashEnds({0, 5, ""});
  FlashEnds({0, 254, ""});  // not the same as -2
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kImage, Prepared(), FlashFailed(-2), Disconnected(), Prepared(), FlashFailed(5),
                 Disconnected(), Prepared(), FlashFailed(254),
                 GivenUp("MSGID_BMC_0013_F 16161E", "Failed to execute update command " + FlashCommand())});
}

TEST_F(FlashToolMethodTest, AFlashCommandThatCannotBeRunHasNoCode) {
  FlashEnds({1, 0, ""}, 3);
  EXPECT_EQ(Run(), 1);
  const Lines failed = {Prepared(), Flashed(), "16 Failed to execute ExecCommand"};
  ExpectJournal({Staged(), kImage, failed, Disconnected(), failed, Disconnected(), failed,
                 GivenUp("MSGID_BMC_0013_F ", "Failed to execute update command " + FlashCommand())});
}

TEST_F(FlashToolMethodTest, AFlashCommandThatCannotBeRunMayHaveAnExitStatusAllTheSame) {
  FlashEnds({1, 7, ""});
  FlashEnds({1, static_cast<unsigned long>(-2), ""});
  FlashSucceeds();
  EXPECT_EQ(Run(), 0);
  const Lines notRun = {Prepared(), Flashed(), "16 Failed to execute ExecCommand"};
  ExpectJournal({Staged(), kImage, notRun, "16 Failed to execute update command:ReturnCode=7", Disconnected(), notRun,
                 "16 Failed to execute update command:ReturnCode=-2", Disconnected(), Prepared(), Flashed(),
                 Completed(), kDone});
}

TEST_F(FlashToolMethodTest, AnyOtherResultCountsAsAFailedRunWithoutALine) {
  FlashEnds({2, 0, ""}, 3);
  EXPECT_EQ(Run(), 1);
  const Lines failed = {Prepared(), Flashed()};
  ExpectJournal({Staged(), kImage, failed, Disconnected(), failed, Disconnected(), failed,
                 GivenUp("MSGID_BMC_0013_F ", "Failed to execute update command " + FlashCommand())});
}

TEST_F(FlashToolMethodTest, AFlashCommandMaySucceedAtTheThirdRunAndThePhraseIsNotRepeated) {
  firmware_.operatingVersion = "06-01";
  host_.Answer(WriteModeRequest(), "00");
  FlashEnds({0, 5, ""}, 2);
  FlashSucceeds();
  EXPECT_EQ(Run(), 0);
  const Lines failed = {Prepared(), FlashFailed(5), Disconnected()};
  ExpectJournal({Staged(), kImage, MakersRequest(WriteModeRequest()), failed.Times(2), Prepared(), Flashed(),
                 Completed(), kDone});
}

TEST_F(FlashToolMethodTest, AFlashCommandThatTakesTooLongStillLeavesTheMarker) {
  FlashEnds({255, 0, ""});
  host_.System(kTouch, 0);
  EXPECT_EQ(Run(), 1024);
  ExpectJournal(
      {Staged(), kImage, Prepared(), Flashed(), "16 Failed to execute update command:TIMEOUT", Completed(), kDone});
}

TEST_F(FlashToolMethodTest, AFlashCommandThatTakesTooLongMayHaveAnyExitStatus) {
  FlashEnds({0, 5, ""});
  FlashEnds({255, static_cast<unsigned long>(-2), ""});
  host_.System(kTouch, 0);
  EXPECT_EQ(Run(), 1024);
  ExpectJournal({Staged(), kImage, Prepared(), FlashFailed(5), Disconnected(), Prepared(), Flashed(),
                 "16 Failed to execute update command:TIMEOUT", Completed(-2), kDone});
}

// --- The disconnection before another run.

TEST_F(FlashToolMethodTest, ADisconnectionThatFailsEndsTheUpdate) {
  FlashEnds({0, 5, ""});
  host_.Answer(kDisconnect, "c0");
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kImage, Prepared(), FlashFailed(5), "sleep 1000", MakersRequest(kDisconnect),
                 GivenUp("MSGID_BMC_0012_F 16", "Failed to disconnect virtual device. CompletionCode c0")});
}

TEST_F(FlashToolMethodTest, ADisconnectionThatFailsCarriesTheCodesOfAllRuns) {
  FlashEnds({0, 5, ""});
  FlashEnds({0, static_cast<unsigned long>(-2), ""});
  host_.Answer(kDisconnect, "00");
  host_.Answer(kDisconnect, "c0");
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kImage, Prepared(), FlashFailed(5), Disconnected(), Prepared(), FlashFailed(-2),
                 "sleep 1000", MakersRequest(kDisconnect),
                 GivenUp("MSGID_BMC_0012_F 1E16", "Failed to disconnect virtual device. CompletionCode c0")});
}

TEST_F(FlashToolMethodTest, ADisconnectionThatFailsMayHaveNoCodeAtAll) {
  FlashEnds({1, 0, ""});
  host_.AnswerRaw(kDisconnect, {255, 0, ""});
  EXPECT_EQ(Run(kIpmitoolPath), 1);
  ExpectJournal({Staged(Request), kImage, Connected(Request), WaitDisabled(Request), kToolFound, kDriverFound,
                 Flashed(), "16 Failed to execute ExecCommand", "sleep 1000", FailedRequest(kDisconnect, 0),
                 GivenUp("MSGID_BMC_0012_F ", "Failed to disconnect virtual device. CompletionCode ")});
}

// --- Completion.

TEST_F(FlashToolMethodTest, AWorkFolderThatCannotBeDeletedAfterwardsIsOnlyMentioned) {
  host_.folderDeletions = {true, false};
  FlashSucceeds();
  EXPECT_EQ(Run(), 0);
  ExpectJournal({Staged(), kImage, Prepared(), Flashed(), "1 Yafuflash command return=0", "delete folder " + kFolder,
                 "1 Failed to delete temporary folder after updating", "system " + kTouch, kDone});
}

TEST_F(FlashToolMethodTest, AMarkerThatCannotBeCreatedIsAFailure) {
  FlashEnds({0, 0, ""});
  host_.System(kTouch, 256);
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kImage, Prepared(), Flashed(), Completed(),
                 GivenUp("MSGID_BMC_0009_F 17", "Failed to create ExistUpdate.txt")});
}

TEST_F(FlashToolMethodTest, AMarkerThatCannotBeCreatedIsAFailureAfterATimeOutToo) {
  FlashEnds({0, 5, ""});
  FlashEnds({255, 0, ""});
  host_.System(kTouch, -1);
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kImage, Prepared(), FlashFailed(5), Disconnected(), Prepared(), Flashed(),
                 "16 Failed to execute update command:TIMEOUT", Completed(),
                 GivenUp("MSGID_BMC_0009_F 17", "Failed to create ExistUpdate.txt")});
}

}  // namespace
}  // namespace kestrel
