// The update by the flash tool: the utility, the kernel driver that it needs, its runs, and what follows the last
// one.
#include "tests/firmware/flash_tool_road.h"

namespace kestrel {

namespace {

TEST_F(FlashToolMethodTest, FailsWithoutTheFlashToolAndLeavesTheMediaConnected) {
  host_.readableFiles = {};
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kImage, Connected(), WaitDisabled(), kToolFound,
                 GivenUp("MSGID_BMC_0009_F 24", "Failed to get update tool " + kTool)});
}

TEST_F(FlashToolMethodTest, FailsWithItsCodeInFrontWhenTheFlashToolGetsLost) {
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

TEST_F(FlashToolMethodTest, FailsWithARecordOnlyWhenTheDriverCannotBeLoaded) {
  host_.Command(kLsmod, {0, 1, ""});
  host_.Command(kModprobe, {0, 1, ""}, 3);
  EXPECT_EQ(Run(), 1);
  const Lines failed = Executed(kModprobe, 0, 1);
  ExpectJournal({Staged(), kImage, Connected(), WaitDisabled(), kToolFound, Executed(kLsmod, 0, 1), failed,
                 "sleep 1000", failed, "sleep 1000", failed, "record MSGID_BMC_0009_F 2A", kEnd});
}

TEST_F(FlashToolMethodTest, FailsWithItsCodeInFrontWhenTheDriverGetsLost) {
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

TEST_F(FlashToolMethodTest, FailsWhenTheFlashCommandFailsThreeTimes) {
  FlashEnds({0, 5, ""}, 3);
  EXPECT_EQ(Run(), 1);
  const Lines failed = {Prepared(), FlashFailed(5)};
  ExpectJournal({Staged(), kImage, failed, Disconnected(), failed, Disconnected(), failed,
                 GivenUp("MSGID_BMC_0013_F 161616", "Failed to execute update command " + FlashCommand())});
}

TEST_F(FlashToolMethodTest, FailsWithACodeOfItsOwnAtAnExitStatusOfMinusTwo) {
  FlashEnds({0, static_cast<unsigned long>(-2), ""}, 2);
  FlashEnds({0, 4294967294UL, ""});  // a host that keeps 32 bits of it
  EXPECT_EQ(Run(), 1);
  const Lines failed = {Prepared(), FlashFailed(-2)};
  ExpectJournal({Staged(), kImage, failed, Disconnected(), failed, Disconnected(), failed,
                 GivenUp("MSGID_BMC_0013_F 1E1E1E", "Failed to execute update command " + FlashCommand())});
}

TEST_F(FlashToolMethodTest, FailsWithTheCodesOfDifferentRunsNewestFirst) {
  FlashEnds({0, static_cast<unsigned long>(-2), ""});
  FlashEnds({0, 5, ""});
  FlashEnds({0, 254, ""});  // not the same as -2
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kImage, Prepared(), FlashFailed(-2), Disconnected(), Prepared(), FlashFailed(5),
                 Disconnected(), Prepared(), FlashFailed(254),
                 GivenUp("MSGID_BMC_0013_F 16161E", "Failed to execute update command " + FlashCommand())});
}

TEST_F(FlashToolMethodTest, FailsWithoutACodeWhenTheFlashCommandCannotBeRun) {
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

TEST_F(FlashToolMethodTest, FailsWithoutALineAtAnyOtherResult) {
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

TEST_F(FlashToolMethodTest, FailsWhenTheDisconnectionFails) {
  FlashEnds({0, 5, ""});
  host_.Answer(kDisconnect, "c0");
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kImage, Prepared(), FlashFailed(5), "sleep 1000", MakersRequest(kDisconnect),
                 GivenUp("MSGID_BMC_0012_F 16", "Failed to disconnect virtual device. CompletionCode c0")});
}

TEST_F(FlashToolMethodTest, FailsWithTheCodesOfAllRunsWhenTheDisconnectionFails) {
  FlashEnds({0, 5, ""});
  FlashEnds({0, static_cast<unsigned long>(-2), ""});
  host_.Answer(kDisconnect, "00");
  host_.Answer(kDisconnect, "c0");
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kImage, Prepared(), FlashFailed(5), Disconnected(), Prepared(), FlashFailed(-2),
                 "sleep 1000", MakersRequest(kDisconnect),
                 GivenUp("MSGID_BMC_0012_F 1E16", "Failed to disconnect virtual device. CompletionCode c0")});
}

TEST_F(FlashToolMethodTest, FailsWithNoCodeAtAllWhenTheDisconnectionFails) {
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

TEST_F(FlashToolMethodTest, FailsWhenTheMarkerCannotBeCreated) {
  FlashEnds({0, 0, ""});
  host_.System(kTouch, 256);
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kImage, Prepared(), Flashed(), Completed(),
                 GivenUp("MSGID_BMC_0009_F 17", "Failed to create ExistUpdate.txt")});
}

TEST_F(FlashToolMethodTest, FailsWhenTheMarkerCannotBeCreatedAfterTheTimeLimitToo) {
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
