#include "orvhost/journal/diagnosis.h"

#include <gtest/gtest.h>

namespace orvhost {

namespace {

using nlohmann::json;

constexpr const char* kFlashTool = "\"/opt/orv/KV6KBMC/Yafuflash\"  -cd  \"a.ima\"";
constexpr const char* kUpdateAgain = "Run \"orvhost update /p.zip\" again.";
constexpr const char* kUpdateAgainPowered =
    "Keep the machine powered, do not reboot it, and run \"orvhost update /p.zip\" again.";
constexpr const char* kApply = "Run \"orvhost apply\", and when the machine is up again, \"orvhost verify\".";
constexpr const char* kShutDown =
    "Shut the machine down by hand (shutdown -h now), and when it is up again, run \"orvhost verify\".";
constexpr const char* kVerify = "Run \"orvhost verify\": it asks the BMC which firmware it runs and changes nothing.";
constexpr const char* kKeepWaiting =
    "Keep the machine powered and wait until what is at work has ended, then run \"orvhost diagnose\" again.";

constexpr const char* kAsksFirst = ": it asks the BMC first, and writes only what that has not taken yet.";

class DiagnosisOf : public testing::Test {
 protected:
  DiagnosisOf() { situation_.records.operating.info.moduleVersion = "01-23"; }

  void Add(json line) {
    line["s"] = 0.1;
    line["t"] = "2026-01-31T12:00:00.000000Z";
    situation_.run.entries.push_back({0.1, line["kind"], line});
  }
  void Begin(const std::string& command) {
    Add({{"kind", "begin"},
         {"command", command},
         {"options", {{"package", command == "update" ? "/p.zip" : ""}, {"dry_run", false}}}});
  }
  void Phases(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
      Add({{"kind", "phase"}, {"name", name}});
    }
  }
  void Trace(const std::string& text) { Add({{"kind", "trace"}, {"level", 1}, {"text", text}}); }
  void Flash() {
    Trace(std::string("Execute:") + kFlashTool);
    Add({{"kind", "command"}, {"n", 7}, {"line", kFlashTool}});
  }
  void FlashEnds(const char* result, json exitCode) {
    Add({{"kind", "command_end"}, {"n", 7}, {"result", result}, {"exit_code", exitCode}});
  }
  void End(const std::string& verdict) {
    Add({{"kind", "end"}, {"outcome", {{"verdict", verdict}, {"exit_code", 0}}}});
  }
  void BeginUpdateUpToTheFlash() {
    Begin("update");
    Phases({"register", "prepare", "write"});
  }
  void Record(int status, const std::string& operating, const std::string& update) {
    situation_.records.updateStatus = status;
    situation_.records.operating.info.moduleVersion = operating;
    situation_.records.update.info.moduleVersion = update;
  }
  void Expect(const std::string& verdict, bool flashTouched, const std::string& nextStep) const {
    const Diagnosis diagnosis = Diagnose(situation_);
    EXPECT_EQ(diagnosis.verdict, verdict);
    EXPECT_EQ(diagnosis.flashTouched, flashTouched);
    EXPECT_EQ(diagnosis.nextStep, nextStep);
    for (const std::string& text : {diagnosis.flash, diagnosis.bmc, diagnosis.marker}) {
      EXPECT_NE(text, "");
    }
  }

  Situation situation_;
};

TEST_F(DiagnosisOf, AnUpdateCutOffBeforeTheFlashRunsAgain) {
  BeginUpdateUpToTheFlash();
  Add({{"kind", "command"}, {"n", 6}, {"line", "tool raw 0x34 0x8c"}});
  Expect("flash-untouched", false, kUpdateAgain);
  EXPECT_EQ(Diagnose(situation_).unknown, "Whether the BMC's virtual media are connected.");
  situation_.machineWasRestarted = true;
  EXPECT_EQ(Diagnose(situation_).unknown, "");
}

TEST_F(DiagnosisOf, AFlashToolThatCouldNotBeStartedTouchesNothing) {
  BeginUpdateUpToTheFlash();
  Flash();
  FlashEnds("not-started", nullptr);
  End("update-failed");
  Expect("flash-untouched", false, kUpdateAgain);
}

TEST_F(DiagnosisOf, AnUpdateBeforeTheFlashAfterOneThatWasLeftInItKeepsTheMachinePowered) {
  BeginUpdateUpToTheFlash();
  situation_.unfinishedBefore = "00000001-x";
  Expect("flash-untouched", false, kUpdateAgainPowered);
}

TEST_F(DiagnosisOf, AnUpdateCutOffInTheFlashKeepsTheMachinePowered) {
  BeginUpdateUpToTheFlash();
  Flash();
  Expect("flash-incomplete", true, kUpdateAgainPowered);
  situation_.machineWasRestarted = true;
  Expect("flash-incomplete", true, kUpdateAgainPowered);
}

TEST_F(DiagnosisOf, AnUpdateWhoseScriptIsNotACommandOfTheHostIsInTheFlashToo) {
  BeginUpdateUpToTheFlash();
  Trace("[/opt/orv/tmp/KV6KBMC/BMC_FW/bmcup.sh < /opt/orv/tmp/KV6KBMC/BMC_FW/Yes]");
  Expect("flash-incomplete", true, kUpdateAgainPowered);
}

TEST_F(DiagnosisOf, AnUpdateCutOffAfterTheFlashIsWrittenAgain) {
  BeginUpdateUpToTheFlash();
  Flash();
  FlashEnds("exited", 0);
  Expect("written-not-recorded", true, kUpdateAgainPowered);
  EXPECT_EQ(Diagnose(situation_).marker, "unknown");
  Phases({"record"});
  Record(refhost::kUpdateWritten, "01-23", "01-24");
  Expect("written-not-recorded", true, kUpdateAgainPowered);
  EXPECT_EQ(Diagnose(situation_).marker, "made");
}

TEST_F(DiagnosisOf, AnUpdateThatWasRecordedBeforeItWasCutOffIsApplied) {
  BeginUpdateUpToTheFlash();
  Flash();
  FlashEnds("exited", 0);
  Phases({"record"});
  Record(refhost::kUpdateWritten, "01-24", "01-24");
  Expect("written", true, kApply);
  situation_.recordsAreReadable = false;
  Expect("written-not-recorded", true, kUpdateAgainPowered);
  EXPECT_EQ(Diagnose(situation_).unknown, "What the host recorded.");
}

TEST_F(DiagnosisOf, AFlashToolThatFailedOrIsTriedAgainIsNotTheEnd) {
  BeginUpdateUpToTheFlash();
  Flash();
  FlashEnds("exited", 5);
  Expect("flash-incomplete", true, kUpdateAgainPowered);
  EXPECT_EQ(Diagnose(situation_).flash, "writing it began and failed");
  Add({{"kind", "command"}, {"n", 9}, {"line", kFlashTool}});
  EXPECT_EQ(Diagnose(situation_).flash, "writing it had begun, and its end is not in the journal");
  Expect("flash-incomplete", true, kUpdateAgainPowered);
}

TEST_F(DiagnosisOf, TheEndOfAForkedChildsCommandIsNotTheFlashTools) {
  BeginUpdateUpToTheFlash();
  Flash();
  for (const char* result : {"exited", "not-started"}) {
    Add({{"kind", "command_end"}, {"n", 7}, {"child", 4711}, {"result", result}, {"exit_code", 0}});
    Expect("flash-incomplete", true, kUpdateAgainPowered);
    EXPECT_EQ(Diagnose(situation_).flash, "writing it had begun, and its end is not in the journal");
  }
}

TEST_F(DiagnosisOf, AnUpdateThatFailedIsIncomplete) {
  BeginUpdateUpToTheFlash();
  Flash();
  FlashEnds("exited", 0);
  End("update-failed");
  Expect("flash-incomplete", true, kUpdateAgainPowered);
}

TEST_F(DiagnosisOf, AnUpdateThatEndedWellIsApplied) {
  BeginUpdateUpToTheFlash();
  Flash();
  FlashEnds("exited", 0);
  Phases({"record"});
  End("updated");
  Expect("written", true, kApply);
  EXPECT_EQ(Diagnose(situation_).unknown, "");
}

TEST_F(DiagnosisOf, AWrittenUpdateWaitsAlsoWhenTheMachineWasStartedAnew) {
  BeginUpdateUpToTheFlash();
  Flash();
  End("updated");
  situation_.machineWasRestarted = true;
  Expect("written", true, kApply);
}

TEST_F(DiagnosisOf, WhatAScriptWroteIsGivenAgainWhenTheMachineWasStartedAnew) {
  BeginUpdateUpToTheFlash();
  Trace("[/opt/orv/tmp/KV6KBMC/BMC_FW/bmcup.sh < /opt/orv/tmp/KV6KBMC/BMC_FW/Yes]");
  End("updated");
  Expect("written", true, kApply);
  situation_.machineWasRestarted = true;
  situation_.scriptsFlagIsSpent = true;
  Expect("written", true, "Run \"orvhost update /p.zip\" again" + std::string(kAsksFirst));
}

TEST_F(DiagnosisOf, AnApplyOfWhatAScriptWroteGivesItAgainWhenTheMachineWasStartedAnew) {
  Begin("apply");
  Phases({"apply"});
  situation_.machineWasRestarted = true;
  situation_.scriptsFlagIsSpent = true;
  Expect("apply-incomplete", false, "Run \"orvhost update PACKAGE\" again" + std::string(kAsksFirst));
  situation_.verifiedAs = "version-not-expected";
  Expect("apply-incomplete", false, "Run \"orvhost update PACKAGE\" again" + std::string(kAsksFirst));
}

TEST_F(DiagnosisOf, AWrittenUpdateThatTheRecordsLostIsWrittenAgain) {
  BeginUpdateUpToTheFlash();
  Flash();
  End("updated");
  situation_.records = {};
  Expect("written", true, kUpdateAgainPowered);
}

TEST_F(DiagnosisOf, AnUpdateThatRanOutOfTimeLeavesADoubt) {
  BeginUpdateUpToTheFlash();
  Flash();
  FlashEnds("timed-out", nullptr);
  Phases({"record"});
  End("updated-after-time-out");
  Expect("written", true, kApply);
  EXPECT_NE(Diagnose(situation_).unknown, "");
}

TEST_F(DiagnosisOf, AnUpdateWithAVerifiedVersionIsDone) {
  BeginUpdateUpToTheFlash();
  Flash();
  End("updated");
  situation_.verifiedAs = "verified";
  Record(refhost::kUpdateVerified, "01-24", "01-24");
  Expect("verified", true, "Nothing to do.");
  situation_.verifiedAs = "version-not-expected";
  Expect("written", true, kApply);
}

TEST_F(DiagnosisOf, AnUpdateThatVerifyFoundNotAppliedIsToBeApplied) {
  BeginUpdateUpToTheFlash();
  Flash();
  End("updated");
  situation_.verifiedAs = "not-applied-yet";
  Expect("written", true, kApply);
  EXPECT_NE(Diagnose(situation_).bmc.find("what is written beside it waits"), std::string::npos);
}

TEST_F(DiagnosisOf, AnUpdateThatWasAllowedToGoBackIsRepeatedWithThat) {
  Add({{"kind", "begin"},
       {"command", "update"},
       {"options", {{"package", "/p.zip"}, {"allow_older", true}, {"allow_reinstall", true}}}});
  Phases({"register"});
  Expect("flash-untouched", false, "Run \"orvhost update /p.zip --allow-older --allow-reinstall\" again.");
}

TEST_F(DiagnosisOf, AnApplyCutOffBeforeItsMarkerWasDeletedRunsAgain) {
  Begin("apply");
  Phases({"apply"});
  Expect("apply-incomplete", false, kApply);
  EXPECT_EQ(Diagnose(situation_).unknown, "Whether the reboot flag is armed.");
  EXPECT_EQ(Diagnose(situation_).marker, "kept");
  situation_.machineWasRestarted = true;
  Expect("apply-incomplete", false, kVerify);
  situation_.verifiedAs = "version-not-expected";
  Expect("apply-incomplete", false, kApply);
}

TEST_F(DiagnosisOf, AnApplyThatTheBmcRefusedNamesTheWayToWriteThePackageAnew) {
  Begin("apply");
  Phases({"apply"});
  Add({{"kind", "end"}, {"outcome", {{"verdict", "not-applied"}}}});
  Expect("apply-incomplete", false,
         std::string(kApply) +
             " If the BMC refuses it again, write the package anew: \"orvhost update PACKAGE --allow-reinstall\".");
}

TEST_F(DiagnosisOf, AnApplyCutOffWithTheFlagArmedWantsAShutdownAndNoReboot) {
  Begin("apply");
  Phases({"apply"});
  Trace("Delete /opt/orv/tmp/KV6KBMC/ExistUpdate.txt");
  Expect("armed", false, kShutDown);
  EXPECT_EQ(Diagnose(situation_).marker, "unknown");
  Trace("shutdown -h now");
  Expect("going-down", false, kShutDown);
  EXPECT_EQ(Diagnose(situation_).marker, "deleted");
  situation_.machineWasRestarted = true;
  Expect("going-down", false, "Run \"orvhost update PACKAGE\" again" + std::string(kAsksFirst));
  End("going-down");
  Expect("going-down", false, kVerify);
  situation_.verifiedAs = "version-not-expected";
  Expect("going-down", false, "Run \"orvhost update PACKAGE\" again, then \"orvhost apply\".");
}

TEST_F(DiagnosisOf, AnApplyIsDoneWhenAVerifyWasCutOffBehindItsRecord) {
  Begin("apply");
  Phases({"apply"});
  Trace("Delete /opt/orv/tmp/KV6KBMC/ExistUpdate.txt");
  situation_.machineWasRestarted = true;
  situation_.verifyWasCutOff = true;
  Record(refhost::kUpdateVerified, "01-24", "01-24");
  Expect("verified", false, "Nothing to do.");
  Record(refhost::kUpdateWritten, "01-24", "01-24");
  Trace("shutdown -h now");
  End("going-down");
  Expect("going-down", false, kVerify);
  Record(refhost::kUpdateVerified, "01-24", "01-24");
  Expect("verified", false, "Nothing to do.");
  situation_.verifiedAs = "bmc-unreadable";
  Expect("going-down", false, kVerify);
}

TEST_F(DiagnosisOf, AnApplyIsNotDoneByARecordThatIsNoneOfALaterVerify) {
  Begin("apply");
  Phases({"apply"});
  Trace("Delete /opt/orv/tmp/KV6KBMC/ExistUpdate.txt");
  Trace("shutdown -h now");
  End("going-down");
  Record(refhost::kUpdateVerified, "01-24", "01-24");
  situation_.machineWasRestarted = true;
  Expect("going-down", false, kVerify);  // by another update's verify, or by one before the run
  situation_.machineWasRestarted = false;
  situation_.verifyWasCutOff = true;
  Expect("going-down", false, kShutDown);  // in the boot that armed the BMC
}

TEST_F(DiagnosisOf, AnApplyThatOnlyRestartedIsNotVerifiedByAnEarlierRecord) {
  Begin("apply");
  Phases({"apply"});
  Trace("shutdown -r now");
  End("restarting");
  Record(refhost::kUpdateVerified, "01-24", "01-24");
  situation_.machineWasRestarted = true;
  situation_.verifyWasCutOff = true;
  Expect("restarted-only", false, kVerify);
}

TEST_F(DiagnosisOf, AnApplyWithoutAMarkerOnlyRestarted) {
  Begin("apply");
  Phases({"apply"});
  Trace("shutdown -r now ");
  End("going-down");
  situation_.machineWasRestarted = true;
  Expect("restarted-only", false, kVerify);
}

TEST_F(DiagnosisOf, WhatIsAtWorkIsWaitedFor) {
  BeginUpdateUpToTheFlash();
  Flash();
  situation_.isAtWork = true;
  Expect("at-work", true, kKeepWaiting);
}

}  // namespace
}  // namespace orvhost
