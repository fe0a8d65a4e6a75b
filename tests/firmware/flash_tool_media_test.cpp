// The update by the flash tool: connecting the virtual media and ending the BMC's waiting, what of it may be tried
// again, and every way in which it fails.
#include "tests/firmware/flash_tool_road.h"

namespace kestrel {

namespace {

TEST_F(FlashToolMethodTest, ABmcTooBusyToConnectIsAskedAgain) {
  host_.Answer(kConnect, "c0", 2);
  FlashSucceeds();
  EXPECT_EQ(Run(), 0);
  const Lines busy = {MakersRequest(kConnect), ConnectRetried("c0")};
  ExpectJournal({Staged(), kImage, busy.Times(2), Prepared(), Flashed(), Completed(), kDone});
}

TEST_F(FlashToolMethodTest, FailsWhenTheConnectionFailsThreeTimes) {
  host_.Answer(kConnect, "c1", 3);
  EXPECT_EQ(Run(), 1);
  const Lines refused = {MakersRequest(kConnect), ConnectRetried("c1")};
  ExpectJournal({Staged(), kImage, refused.Times(2), MakersRequest(kConnect),
                 GivenUp("MSGID_BMC_0012_F 14", ConnectFailed("c1"))});
}

TEST_F(FlashToolMethodTest, FailsWithoutACodeWhenTheConnectionFailsThroughIpmitool) {
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

TEST_F(FlashToolMethodTest, FailsWhenTheDeviceIsNeverThere) {
  host_.Answer(kCheckDevice, "00", 3);
  EXPECT_EQ(Run(), 1);
  const Lines missing = {Connected(), Retried(DeviceFailed("00", ""))};
  ExpectJournal(
      {Staged(), kImage, missing.Times(2), Connected(), GivenUp("MSGID_BMC_0012_F 14", DeviceFailed("00", ""))});
}

TEST_F(FlashToolMethodTest, FailsWithoutDataWhenTheToolCannotAskForTheDevice) {
  host_.Answer(kCheckDevice, "00 00");
  host_.Answer(kCheckDevice, "c1", 2);
  EXPECT_EQ(Run(kIpmitoolPath), 1);
  const Lines asked = {Request(kConnect), kSlept, FailedRequest(kCheckDevice)};
  ExpectJournal({Staged(Request), kImage, Connected(Request), Retried(DeviceFailed("00", "00")), asked,
                 Retried(DeviceFailed("", "")), asked, GivenUp("MSGID_BMC_0012_F 14", DeviceFailed("", ""))});
}

TEST_F(FlashToolMethodTest, FailsWhenTheAnswerAboutTheDeviceCannotBeRead) {
  host_.AnswerRaw(kCheckDevice, {0, 0, "01 123\n"}, 3);
  EXPECT_EQ(Run(kIpmitoolPath), 1);
  const Lines asked = {Request(kConnect), kSlept, BrokenRequest(kCheckDevice)};
  ExpectJournal({Staged(Request), kImage, Lines{asked, Retried(DeviceFailed("00", "01"))}.Times(2), asked,
                 GivenUp("MSGID_BMC_0012_F 14", DeviceFailed("00", "01"))});
}

TEST_F(FlashToolMethodTest, FailsWithTheCodeOfEachConnection) {
  host_.Answer(kConnect, "c1");
  host_.AnswerRaw(kConnect, {0, 1, ""});
  host_.Answer(kConnect, "c3");
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kImage, MakersRequest(kConnect), ConnectRetried("c1"), FailedMakersRequest(kConnect),
                 ConnectRetried(""), MakersRequest(kConnect), GivenUp("MSGID_BMC_0012_F 14", ConnectFailed("c3"))});
}

TEST_F(FlashToolMethodTest, FailsAtAConnectionWhoseCodeReplacesThoseOfFlashRuns) {
  host_.Answer(kConnect, "00");
  host_.Answer(kConnect, "c1", 3);
  FlashEnds({0, 5, ""});
  EXPECT_EQ(Run(), 1);
  const Lines refused = {MakersRequest(kConnect), ConnectRetried("c1")};
  ExpectJournal({Staged(), kImage, Prepared(), FlashFailed(5), Disconnected(), refused.Times(2),
                 MakersRequest(kConnect), GivenUp("MSGID_BMC_0012_F 14", ConnectFailed("c1"))});
}

TEST_F(FlashToolMethodTest, FailsAtAMissingDeviceWhoseCodeReplacesThoseOfFlashRuns) {
  host_.Answer(kCheckDevice, "00 01", 2);
  host_.Answer(kCheckDevice, "00 00", 3);
  FlashEnds({0, static_cast<unsigned long>(-2), ""}, 2);
  EXPECT_EQ(Run(), 1);
  const Lines failed = {Prepared(), FlashFailed(-2), Disconnected()};
  const Lines missing = {Connected(), Retried(DeviceFailed("00", "00"))};
  ExpectJournal({Staged(), kImage, failed.Times(2), missing.Times(2), Connected(),
                 GivenUp("MSGID_BMC_0012_F 14", DeviceFailed("00", "00"))});
}

TEST_F(FlashToolMethodTest, FailsAtTheThirdFailureWhichIsTheConnections) {
  host_.Answer(kConnect, "c0");
  host_.Answer(kConnect, "00");
  host_.Answer(kCheckDevice, "00 00");
  host_.Answer(kConnect, "c3");
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kImage, MakersRequest(kConnect), ConnectRetried("c0"), Connected(),
                 Retried(DeviceFailed("00", "00")), MakersRequest(kConnect),
                 GivenUp("MSGID_BMC_0012_F 14", ConnectFailed("c3"))});
}

TEST_F(FlashToolMethodTest, FailsAtTheThirdFailureWhichIsTheDevices) {
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

TEST_F(FlashToolMethodTest, FailsWithoutAnIpmiTool) {
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

TEST_F(FlashToolMethodTest, FailsAtTheLevelOfValuesWhenTheWaitIsNeverDisabled) {
  host_.Answer(kDisable, "c1", 3);
  EXPECT_EQ(Run(), 1);
  const Lines refused = {MakersRequest(kDisable), Retried(DisableFailed("c1"))};
  ExpectJournal({Staged(), kImage, Connected(), refused.Times(2), MakersRequest(kDisable), "record MSGID_BMC_0012_F 1F",
                 "1 " + DisableFailed("c1"), kEnd});
}

TEST_F(FlashToolMethodTest, FailsWhenTheWaitIsNeverSeenDisabled) {
  host_.Answer(kCheckDisabled, "00 01", 3);
  EXPECT_EQ(Run(), 1);
  const Lines waiting = {WaitDisabled(), Retried(CheckFailed("00", "01"))};
  ExpectJournal({Staged(), kImage, Connected(), waiting.Times(2), WaitDisabled(),
                 GivenUp("MSGID_BMC_0012_F 1F", CheckFailed("00", "01"))});
}

TEST_F(FlashToolMethodTest, FailsWithoutACodeWhenTheWaitIsNeverDisabledThroughIpmitool) {
  host_.Answer(kDisable, "c1", 3);
  EXPECT_EQ(Run(kIpmitoolPath), 1);
  const Lines refused = {FailedRequest(kDisable), Retried(DisableFailed(""))};
  ExpectJournal({Staged(Request), kImage, Connected(Request), refused.Times(2), FailedRequest(kDisable),
                 "record MSGID_BMC_0012_F 1F", "1 " + DisableFailed(""), kEnd});
}

TEST_F(FlashToolMethodTest, FailsWithTheCodeOfEachDisabling) {
  host_.Answer(kDisable, "c1");
  host_.AnswerRaw(kDisable, {0, 1, ""});
  host_.Answer(kDisable, "c3");
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kImage, Connected(), MakersRequest(kDisable), Retried(DisableFailed("c1")),
                 FailedMakersRequest(kDisable), Retried(DisableFailed("")), MakersRequest(kDisable),
                 "record MSGID_BMC_0012_F 1F", "1 " + DisableFailed("c3"), kEnd});
}

TEST_F(FlashToolMethodTest, FailsWithoutDataWhenTheToolCannotAskForTheWait) {
  host_.Answer(kCheckDisabled, "00 01");
  host_.Answer(kCheckDisabled, "c1", 2);
  EXPECT_EQ(Run(kIpmitoolPath), 1);
  const Lines asked = {Request(kDisable), FailedRequest(kCheckDisabled)};
  ExpectJournal({Staged(Request), kImage, Connected(Request), WaitDisabled(Request), Retried(CheckFailed("00", "01")),
                 asked, Retried(CheckFailed("", "")), asked, GivenUp("MSGID_BMC_0012_F 1F", CheckFailed("", ""))});
}

TEST_F(FlashToolMethodTest, FailsWhenTheAnswerAboutTheWaitCannotBeRead) {
  host_.AnswerRaw(kCheckDisabled, {0, 0, "00 123\n"}, 3);
  EXPECT_EQ(Run(kIpmitoolPath), 1);
  const Lines asked = {Request(kDisable), BrokenRequest(kCheckDisabled)};
  ExpectJournal({Staged(Request), kImage, Connected(Request), Lines{asked, Retried(CheckFailed("00", "00"))}.Times(2),
                 asked, GivenUp("MSGID_BMC_0012_F 1F", CheckFailed("00", "00"))});
}

TEST_F(FlashToolMethodTest, FailsAtAWaitNotDisabledWhoseCodeReplacesThoseOfFlashRuns) {
  host_.Answer(kDisable, "00");
  host_.Answer(kDisable, "c1", 3);
  FlashEnds({0, 5, ""});
  EXPECT_EQ(Run(), 1);
  const Lines refused = {MakersRequest(kDisable), Retried(DisableFailed("c1"))};
  ExpectJournal({Staged(), kImage, Prepared(), FlashFailed(5), Disconnected(), Connected(), refused.Times(2),
                 MakersRequest(kDisable), "record MSGID_BMC_0012_F 1F", "1 " + DisableFailed("c1"), kEnd});
}

TEST_F(FlashToolMethodTest, FailsAtAWaitNotSeenDisabledWhoseCodeReplacesThoseOfFlashRuns) {
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

TEST_F(FlashToolMethodTest, FailsAtTheThirdPassWhichTheCheckFails) {
  host_.Answer(kDisable, "c0", 2);
  host_.Answer(kCheckDisabled, "00 01");
  EXPECT_EQ(Run(), 1);
  const Lines busy = {MakersRequest(kDisable), Retried(DisableFailed("c0"))};
  ExpectJournal({Staged(), kImage, Connected(), busy.Times(2), WaitDisabled(),
                 GivenUp("MSGID_BMC_0012_F 1F", CheckFailed("00", "01"))});
}

TEST_F(FlashToolMethodTest, FailsAtTheThirdPassWhichTheDisablingFails) {
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

}  // namespace
}  // namespace kestrel
