#include "orvhost/trace/send_watch.h"

#include <gtest/gtest.h>

#include "tests/orvhost/trace/levels.h"

namespace orvhost {

namespace {

class Sending : public testing::Test {
 protected:
  void Line(int level, const std::string& text) { Write({level, "bmc", "", "", text}); }
  void Record(const std::string& id) { Write({0, "bmc", id, "29", id + " It failed."}); }
  void StartOs() { Line(kFlow, "CBMC_KESTREL_Firmware::ExecSendOSInfo [START]"); }
  void StartDisks() { Line(kFlow, "CBMC_KESTREL_Firmware::ExecSendHddInfo [START]"); }
  void EndOs() { Line(kFlow, "CBMC_KESTREL_Firmware::ExecSendInfoToSVP [END]"); }
  void EndDisks() { Line(kFlow, "CBMC_KESTREL_Firmware::ExecSendHDDInfo [END]"); }
  void Attempt(int level, const std::string& step) {
    Line(level, "Failed to execute IPMI command(" + step + ") CompletionCode:C0");
  }

  std::string Os() const { return InWords(watch_.Results()[0]); }
  std::string Disks() const { return InWords(watch_.Results()[1]); }

  // Three attempts, each of which ipmitool leaves with that on its standard error.
  void AskInVain(const std::string& complaint) {
    for (int attempt = 0; attempt < 3; ++attempt) {
      trace_.CommandStarts();
      trace_.TakeErrorText({complaint});
      Line(kError, "Failed to execute command \"/usr/bin/ipmitool\" raw 0x3c 0x04 > \"/i/R\" return 1");
      Line(kRetry, "Get Capability Failed");
    }
  }
  void RefuseOs() {
    Line(kInfo, "Send OS Information not supported");
    Line(kFlow, "CBMC_KESTREL_Firmware::ExecSendOSInfo [END]");
  }
  void RefuseDisks() {
    Line(kInfo, "Send HDD Information not supported");
    Line(kFlow, "CBMC_KESTREL_Firmware::ExecSendHddInfo [END]");
  }

 private:
  void Write(const refhost::TraceRecord& record) {
    trace_.Write(record);
    watch_.Write(record);
  }

  TraceWatch trace_;
  SendWatch watch_{trace_};
};

constexpr const char* kBusy =
    "Unable to send RAW command (channel=0x0 netfn=0x3c lun=0x0 cmd=0x4 rsp=0xc0): Node busy\n";
constexpr const char* kInvalid =
    "Unable to send RAW command (channel=0x0 netfn=0x3c lun=0x0 cmd=0x4 rsp=0xc1): Invalid command\n";

TEST_F(Sending, AtFirstNothingIsKnown) {
  EXPECT_EQ(Os(), "unknown (the plug-in does not say)");
  EXPECT_EQ(Disks(), "unknown (the plug-in does not say)");
}

TEST_F(Sending, LinesBeforeASenderStartsMeanNothing) {
  EndOs();
  Record("MSGID_BMC_0021_F");
  Line(kInfo, "Send OS Information not supported");
  EXPECT_EQ(Os(), "unknown (the plug-in does not say)");
}

TEST_F(Sending, BothAreSent) {
  StartOs();
  Line(kFlow, "17:03");
  Line(kFlow, "17:03 SendInfoToSVP Support info");
  EndOs();
  EXPECT_EQ(Disks(), "unknown (the plug-in does not say)");
  StartDisks();
  Line(kInfo, "ErrCode:[] WrnCode:[]");
  EndDisks();
  EXPECT_EQ(Os(), "sent");
  EXPECT_EQ(Disks(), "sent");
}

TEST_F(Sending, AttemptsThatWereRepeatedAreForgottenOnceAllWentWell) {
  StartOs();
  Line(kRetry, "Get Capability Failed");
  Attempt(kRetry, "OEM Lock Server Config File");
  EndOs();
  EXPECT_EQ(Os(), "sent");
}

TEST_F(Sending, EveryStepOfATransferIsNamed) {
  const std::pair<const char*, const char*> steps[] = {
      {"OEM Lock Server Config File", "failed at locking the file"},
      {"OEM Write Server Config File", "failed at writing the file"},
      {"OEM Write Server Config File [Signature]", "failed at writing the file's signature"},
      {"OEM UnLock Server Config File", "failed at unlocking the file"},
      {"OEM Notify ORV Event", "failed at announcing the file"}};
  for (const auto& [step, words] : steps) {
    // The operating system's sender ends before its record; that of the disks tells its last attempt by the record
    // alone.
    StartOs();
    Attempt(kRetry, step);
    Attempt(kError, step);
    EndOs();
    Record("MSGID_BMC_0021_F");
    StartDisks();
    Attempt(kRetry, step);
    Record("MSGID_BMC_0021_F");
    EXPECT_EQ(Os(), words);
    EXPECT_EQ(Disks(), words);
  }
}

TEST_F(Sending, AnEarlierStepThatWentWellInTheEndIsNotTheOneThatFailed) {
  StartDisks();
  Attempt(kRetry, "OEM Lock Server Config File");
  Attempt(kRetry, "OEM Write Server Config File");
  Record("MSGID_BMC_0021_F");
  EXPECT_EQ(Disks(), "failed at writing the file");
}

TEST_F(Sending, TheUnlockAfterAFailureIsNotTheStepThatFailed) {
  StartOs();
  Attempt(kError, "OEM Write Server Config File [Signature]");
  EndOs();
  Record("MSGID_BMC_0021_F");
  Attempt(kRetry, "OEM UnLock Server Config File");
  EXPECT_EQ(Os(), "failed at writing the file's signature");
}

TEST_F(Sending, AFailedStepOfOneRecordIsNotThatOfTheNext) {
  StartOs();
  Attempt(kError, "OEM Lock Server Config File");
  EndOs();
  Record("MSGID_BMC_0021_F");
  StartDisks();
  Record("MSGID_BMC_0021_F");
  EXPECT_EQ(Disks(), "failed at an unknown step");
}

TEST_F(Sending, InformationThatCannotBeHadIsAFailureOfItsOwn) {
  StartOs();
  Line(kError, "Feiled to get hostname");
  EndOs();
  Record("MSGID_BMC_0022_F");
  EXPECT_EQ(Os(), "failed at reading the host name");
  const std::pair<const char*, const char*> lines[] = {
      {"Failed to createCBMC_MngLib. try catch error", "failed at loading the management library"},
      {"Failed to createCBMC_MngLib. pMngLib == NULL", "failed at loading the management library"},
      {"GetHddInfoToSVP Error!", "failed at asking the management library"},
      {"Invalid send data [123]", "failed at checking what the management library gave"}};
  for (const auto& [line, words] : lines) {
    StartDisks();
    Line(kError, line);
    Record("MSGID_BMC_0023_F");
    EXPECT_EQ(Disks(), words);
  }
}

// The plug-in takes it for one that supports nothing.
TEST_F(Sending, ABmcThatDoesNotAnswerIsAFailure) {
  for (const char* complaint : {kBusy, "sh: cannot create: No space left on device\n", ""}) {
    StartOs();
    AskInVain(complaint);
    RefuseOs();
    StartDisks();
    AskInVain(complaint);
    RefuseDisks();
    EXPECT_EQ(Os(), "failed at asking the BMC for its capabilities");
    EXPECT_EQ(Disks(), "failed at asking the BMC for its capabilities");
  }
}

TEST_F(Sending, ABmcThatDoesNotKnowTheCommandDoesNotSupportIt) {
  const char* words = "not supported by this BMC (it does not know the command that asks for its capabilities)";
  StartOs();
  AskInVain(kInvalid);
  RefuseOs();
  EXPECT_EQ(Os(), words);
  StartDisks();
  Line(kFlow, "0:C1");
  RefuseDisks();
  EXPECT_EQ(Disks(), words);
}

TEST_F(Sending, AnAnswerThatWasLostIsAFailure) {
  StartDisks();
  Line(kFlow, "0:00");
  RefuseDisks();
  EXPECT_EQ(Disks(), "failed at asking the BMC for its capabilities");
}

TEST_F(Sending, ABmcThatRefusesToSayWhatItSupportsIsAFailure) {
  StartOs();
  Line(kFlow, "0:C0");
  RefuseOs();
  StartDisks();
  Line(kFlow, "0:abc");
  RefuseDisks();
  EXPECT_EQ(Os(), "failed at asking the BMC for its capabilities");
  EXPECT_EQ(Disks(), "failed at asking the BMC for its capabilities");
}

TEST_F(Sending, WhatTheFirstRecordsQuestionCameToIsForgottenForTheNext) {
  StartOs();
  AskInVain(kBusy);
  RefuseOs();
  StartDisks();
  Line(kFlow, "0:00");
  Line(kFlow, "17:01");
  Line(kFlow, "17:01 SendInfoToSVP Support info");
  RefuseDisks();
  EXPECT_EQ(Os(), "failed at asking the BMC for its capabilities");
  EXPECT_EQ(Disks(), "not supported by this BMC (its capabilities are 01)");
}

TEST_F(Sending, ABmcWhoseBitIsClearDoesNotSupportIt) {
  StartDisks();
  Line(kRetry, "Get Capability Failed");
  Line(kFlow, "0:00");
  Line(kFlow, "17:01");
  Line(kFlow, "17:01 SendInfoToSVP Support info");
  Line(kFlow, "18:00");
  Line(kInfo, "Send HDD Information not supported");
  EndDisks();
  EXPECT_EQ(Disks(), "not supported by this BMC (its capabilities are 01)");
}

TEST_F(Sending, AnAnswerThatIsTooShortDoesNotSupportIt) {
  StartOs();
  Line(kFlow, "0:00");
  Line(kFlow, "1:00");
  Line(kInfo, "Send OS Information not supported");
  EXPECT_EQ(Os(), "not supported by this BMC (its answer is too short to state its capabilities)");
  StartDisks();
  Line(kInfo, "Send HDD Information not supported");
  EXPECT_EQ(Disks(), "not supported by this BMC");
}

}  // namespace
}  // namespace orvhost
