// The update by the flash tool: its road through either IPMI tool, and every way in which it fails before the
// virtual media are asked for. Each journal is that of the whole update.
#include "tests/firmware/flash_tool_road.h"

namespace kestrel {

namespace {

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

TEST_F(FlashToolMethodTest, FailsWhenTheWorkFolderCannotBeListed) {
  host_.folderCanBeListed = false;
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kListed, GivenUp("MSGID_BMC_0009_F 17", "Failed to open directory " + kFolder)});
}

TEST_F(FlashToolMethodTest, FailsWithAnEmptyWorkFolder) {
  host_.workFolderEntries = {};
  EXPECT_EQ(Run(), 1);
  ExpectJournal({Staged(), kListed, GivenUp("MSGID_BMC_0020_F 11", "Failed to find module")});
}

TEST_F(FlashToolMethodTest, FailsWithAWorkFolderWithoutAnImage) {
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

TEST_F(FlashToolMethodTest, FailsWhenTheBmcCannotBeAsked) {
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

TEST_F(FlashToolMethodTest, FailsWhenThePhraseIsRefusedThreeTimes) {
  firmware_.operatingVersion = "16-01";
  host_.Answer(WriteModeRequest(), "d4", 3);
  EXPECT_EQ(Run(), 1);
  const Lines refused = {MakersRequest(WriteModeRequest()), Retried(WriteModeFailed("d4"))};
  ExpectJournal({Staged(), kImage, refused.Times(2), MakersRequest(WriteModeRequest()),
                 GivenUp("MSGID_BMC_0012_F 13", WriteModeFailed("d4"))});
}

TEST_F(FlashToolMethodTest, FailsWithTheCodeOfEachRefusedPhrase) {
  firmware_.operatingVersion = "06-01";
  host_.Answer(WriteModeRequest(), "c1");
  host_.AnswerRaw(WriteModeRequest(), {0, 1, ""});
  host_.Answer(WriteModeRequest(), "c3");
  EXPECT_EQ(Run(), 1);
  const Lines asked = MakersRequest(WriteModeRequest());
  ExpectJournal({Staged(), kImage, asked, Retried(WriteModeFailed("c1")), FailedMakersRequest(WriteModeRequest()),
                 Retried(WriteModeFailed("")), asked, GivenUp("MSGID_BMC_0012_F 13", WriteModeFailed("c3"))});
}

TEST_F(FlashToolMethodTest, FailsWithoutACodeWhenThePhraseIsRefusedThroughIpmitool) {
  firmware_.operatingVersion = "06-01";
  host_.Answer(WriteModeRequest(), "d4", 3);
  EXPECT_EQ(Run(kIpmitoolPath), 1);
  const Lines refused = {FailedRequest(WriteModeRequest()), Retried(WriteModeFailed(""))};
  ExpectJournal({Staged(Request), kImage, refused.Times(2), FailedRequest(WriteModeRequest()),
                 GivenUp("MSGID_BMC_0012_F 13", WriteModeFailed(""))});
}

}  // namespace
}  // namespace kestrel
