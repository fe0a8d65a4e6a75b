// The disk information sender: which BMC it is sent to, the library and every way in which it has nothing to give, and
// the text that it gives. How each step of its transfer fails is tested in sender_steps_test.cpp.
#include "svp/disk_information.h"

#include <gtest/gtest.h>

#include "tests/svp/management_library_file.h"
#include "tests/svp/transfer_lines.h"

namespace kestrel {

namespace {

const Lines kStart = "4 CBMC_KESTREL_Firmware::ExecSendHddInfo [START]";
const Lines kEnd = "4 CBMC_KESTREL_Firmware::ExecSendHDDInfo [END]";
const Lines kNotSupportedLine = "1 Send HDD Information not supported";
const Lines kRecord = "record MSGID_BMC_0021_F 29";
const Lines kNoDataRecord = "record MSGID_BMC_0023_F 28";

const std::string kLock = "3c 6a 05 41 01 00 00 00 00 00";
const std::string kSignature = "3c 69 05 41 00 00 00 00 00 00 51 54 4c 4d 50";
const std::string kUnlock = "3c 6b 05 41 00 00 00 00 00 00";
const std::string kNotify = "34 39 02";

// Disk information of 40 bytes, and the requests that write it.
const std::string kForty = "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1fA0A1A2A3A4A5A6A7";
const std::string kFirstWrite =
    "3c 69 05 41 00 00 00 00 00 00 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12 13 14 15 16 17 18 19 1a 1b "
    "1c 1d 1e 1f";
const std::string kSecondWrite = "3c 69 05 41 00 00 20 00 00 00 A0 A1 A2 A3 A4 A5 A6 A7";

// The library is asked, and has left these codes.
Lines Asked(const std::string& errorCode, const std::string& warningCode, const Lines& between = {}) {
  return {LibraryOpened(),
          "4 CBMC_MngLib::GetHddInfoToSVP [START]",
          "library GetHddInfoToSVP",
          between,
          "4 CBMC_MngLib::GetHddInfoToSVP [END]",
          LibraryClosed(),
          "1 ErrCode:[" + errorCode + "] WrnCode:[" + warningCode + "]"};
}

class DiskInformation : public testing::Test {
 protected:
  void SupportFile() { host_.Answer("3c 04", CapabilityAnswer("02")); }

  // Makes the BMC take the requests; gives their journal.
  Lines Take(const std::vector<std::string>& requests) {
    Lines journal;
    for (const std::string& request : requests) {
      host_.Answer(request, "00");
      journal = {journal, Request(request)};
    }
    return journal;
  }

  // With this text of the library the transfer is these requests.
  void ExpectSent(const std::string& info, const std::vector<std::string>& requests) {
    SupportFile();
    host_.managementLibrary.info = info;
    const Lines transfer = Take(requests);
    EXPECT_EQ(SendDiskInformation(kIpmitoolPath, &detail_), 0);
    EXPECT_EQ(detail_, "");
    EXPECT_TRUE(SameLines(host_.TakeJournal(),
                          {kStart, CapabilityLines(kThroughIpmitool, "02"), Asked("", ""), transfer, kEnd}));
  }

  // The library gives nothing that could be sent, and nothing is; `lines` are those after the capability's.
  void ExpectNothingSent(const std::string& detail, const Lines& lines) {
    SupportFile();
    EXPECT_EQ(SendDiskInformation(kIpmitoolPath, &detail_), -1);
    EXPECT_EQ(detail_, detail);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, CapabilityLines(kThroughIpmitool, "02"), lines}));
  }

  ScriptedHost host_;
  std::string detail_ = "from before";
};

TEST_F(DiskInformation, IsSentAsTheLibraryGivesIt) {
  InstallManagementLibrary(host_, "whole");
  ExpectSent(kForty, {kLock, kFirstWrite, kSecondWrite, kSignature, kUnlock, kNotify});
  EXPECT_FALSE(ManagementLibraryIsLoaded(host_));
}

TEST_F(DiskInformation, ThatIsEmptyIsASignatureOnly) {
  InstallManagementLibrary(host_, "whole");
  ExpectSent("", {kLock, kSignature, kUnlock, kNotify});
}

TEST_F(DiskInformation, GoesOutInPiecesOf32Bytes) {
  InstallManagementLibrary(host_, "whole");
  const std::string at0 = "3c 69 05 41 00 00 00 00 00 00";
  const std::string at32 = "3c 69 05 41 00 00 20 00 00 00";
  const auto bytes = [](int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
      text += " 5b";
    }
    return text;
  };
  const auto digits = [](int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
      text += "5b";
    }
    return text;
  };
  ExpectSent(digits(1), {kLock, at0 + " 5b", kSignature, kUnlock, kNotify});
  ExpectSent(digits(31), {kLock, at0 + bytes(31), kSignature, kUnlock, kNotify});
  ExpectSent(digits(32), {kLock, at0 + bytes(32), kSignature, kUnlock, kNotify});
  ExpectSent(digits(33), {kLock, at0 + bytes(32), at32 + " 5b", kSignature, kUnlock, kNotify});
  ExpectSent(digits(64), {kLock, at0 + bytes(32), at32 + bytes(32), kSignature, kUnlock, kNotify});
  ExpectSent(digits(65), {kLock, at0 + bytes(32), at32 + bytes(32), "3c 69 05 41 00 00 40 00 00 00 5b", kSignature,
                          kUnlock, kNotify});
}

TEST_F(DiskInformation, ThatIsNotHexadecimalIsSentAllTheSame) {
  InstallManagementLibrary(host_, "whole");
  ExpectSent("zzG1", {kLock, "3c 69 05 41 00 00 00 00 00 00 zz G1", kSignature, kUnlock, kNotify});
}

TEST_F(DiskInformation, FailsWhenTheBmcRefusesWhatIsNotHexadecimalAndLeavesNothingLocked) {
  InstallManagementLibrary(host_, "whole");
  SupportFile();
  host_.managementLibrary.info = "zz";
  const std::string write = "3c 69 05 41 00 00 00 00 00 00 zz";
  const Lines locked = Take({kLock});
  host_.AnswerRaw(write, {0, 1, ""}, 3);
  const Lines unlocked = Take({kUnlock});
  EXPECT_EQ(SendDiskInformation(kIpmitoolPath, &detail_), -1);
  EXPECT_EQ(detail_, "29");
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, CapabilityLines(kThroughIpmitool, "02"), Asked("", ""), locked,
                         Attempts(kThroughIpmitool, write,
                                  "Failed to execute IPMI command(OEM Write Server Config File) CompletionCode:", 3),
                         kRecord, unlocked}));
}

TEST_F(DiskInformation, FailsWithACharacterLeftOver) {
  InstallManagementLibrary(host_, "whole");
  for (const std::string& info : {std::string("a"), std::string("0a1"), std::string(65, 'b')}) {
    SCOPED_TRACE(info);
    host_.managementLibrary.info = info;
    ExpectNothingSent("28", {Asked("", ""), "2 Invalid send data [" + info + "]", kNoDataRecord});
  }
}

TEST_F(DiskInformation, FailsWithoutTheLibrary) {
  ExpectNothingSent(
      "28", {"4 CBMC_MngLib::CBMC_MngLib [START]", "4 CBMC_MngLib::Load [START]",
             std::string("open library ") + kManagementLibrary,
             "2 Failed to load MngSrv_OrvLib Library(" + std::string(kManagementLibrary) +
                 ": cannot open shared object file: No such file or directory).",
             "4 CBMC_MngLib::Load [END]", "2 CBMC_MngLib::CBMC_MngLib() Error End.", "4 CBMC_MngLib::Unload [START]",
             "4 CBMC_MngLib::Unload [END]", "2 Failed to createCBMC_MngLib. try catch error", kNoDataRecord});
}

TEST_F(DiskInformation, FailsWhenTheLibraryIsNone) {
  InstallNoLibrary(host_, "#!/bin/sh\n");
  ExpectNothingSent(
      "28", {"4 CBMC_MngLib::CBMC_MngLib [START]", "4 CBMC_MngLib::Load [START]",
             std::string("open library ") + kManagementLibrary,
             "2 Failed to load MngSrv_OrvLib Library(" + std::string(kManagementLibrary) + ": file too short).",
             "4 CBMC_MngLib::Load [END]", "2 CBMC_MngLib::CBMC_MngLib() Error End.", "4 CBMC_MngLib::Unload [START]",
             "4 CBMC_MngLib::Unload [END]", "2 Failed to createCBMC_MngLib. try catch error", kNoDataRecord});
}

TEST_F(DiskInformation, FailsWhenTheLibraryLacksAnEntryPoint) {
  InstallManagementLibrary(host_, "without_delete_item_disp");
  ExpectNothingSent("28", {"4 CBMC_MngLib::CBMC_MngLib [START]", "4 CBMC_MngLib::Load [START]",
                           std::string("open library ") + kManagementLibrary,
                           "2 Failed to load MngSrv_OrvLib Library(" + std::string(kManagementLibrary) +
                               ": undefined symbol: DeleteItemDisp) .",
                           "4 CBMC_MngLib::Load [END]", "2 CBMC_MngLib::CBMC_MngLib() Error End.",
                           "4 CBMC_MngLib::Unload [START]", "close library", "4 CBMC_MngLib::Unload [END]",
                           "2 Failed to createCBMC_MngLib. try catch error", kNoDataRecord});
}

TEST_F(DiskInformation, FailsWithoutAnInterfaceObject) {
  InstallManagementLibrary(host_, "whole");
  host_.managementLibrary.hasInterface = false;
  ExpectNothingSent(
      "28", {"4 CBMC_MngLib::CBMC_MngLib [START]", "4 CBMC_MngLib::Load [START]",
             std::string("open library ") + kManagementLibrary, "4 CBMC_MngLib::Load [END]", "library CreateLibIF",
             "2 Failed to initialize OrvLibIF.", "4 CBMC_MngLib::Unload [START]", "close library",
             "4 CBMC_MngLib::Unload [END]", "2 Failed to createCBMC_MngLib. try catch error", kNoDataRecord});
}

TEST_F(DiskInformation, FailsWhenMemoryIsOut) {
  InstallManagementLibrary(host_, "whole");
  host_.memoryForNextNothrowNew = false;
  ExpectNothingSent("28", {"2 Failed to createCBMC_MngLib. pMngLib == NULL", kNoDataRecord});
}

TEST_F(DiskInformation, FailsWithARecordByTheErrorCodeOfTheLibrary) {
  InstallManagementLibrary(host_, "whole");
  host_.managementLibrary.succeeds = false;
  host_.managementLibrary.info = "a";  // of no interest then
  host_.managementLibrary.warningCode = "01";
  const struct {
    const char* errorCode;
    const char* record;
  } cases[] = {
      {"02", "record MSGID_BMC_0024_F"},    {"01", "record MSGID_BMC_0025_F"},     {"03", "record MSGID_BMC_0026_F 28"},
      {"00", "record MSGID_BMC_0026_F 28"}, {"", "record MSGID_BMC_0026_F 28"},    {"1", "record MSGID_BMC_0026_F 28"},
      {"2", "record MSGID_BMC_0026_F 28"},  {"010", "record MSGID_BMC_0026_F 28"},
  };
  for (const auto& [errorCode, record] : cases) {
    SCOPED_TRACE(errorCode);
    detail_ = "from before";
    host_.managementLibrary.errorCode = errorCode;
    ExpectNothingSent("", {Asked(errorCode, "01"), "2 GetHddInfoToSVP Error!", record});
  }
}

TEST_F(DiskInformation, IsSentWithAnyCodesOfAQueryThatSucceeded) {
  InstallManagementLibrary(host_, "whole");
  SupportFile();
  host_.managementLibrary.info = "7e";
  host_.managementLibrary.errorCode = "02";
  host_.managementLibrary.warningCode = "03";
  const Lines transfer = Take({kLock, "3c 69 05 41 00 00 00 00 00 00 7e", kSignature, kUnlock, kNotify});
  EXPECT_EQ(SendDiskInformation(kIpmitoolPath, &detail_), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, CapabilityLines(kThroughIpmitool, "02"), Asked("02", "03"), transfer, kEnd}));
}

TEST_F(DiskInformation, FailsWhenTheLibraryThrowsFromItsQuery) {
  InstallManagementLibrary(host_, "whole");
  host_.managementLibrary.info = "7e";
  host_.managementLibrary.throwsFrom = "GetHddInfoToSVP";
  ExpectNothingSent("", {Asked("", "", "2 MngSrv_OrvLib API(GetHddInfoToSVP) threw an exception. no such disk"),
                         "2 GetHddInfoToSVP Error!", "record MSGID_BMC_0026_F 28"});
  EXPECT_FALSE(ManagementLibraryIsLoaded(host_));
  host_.managementLibrary.throwsOwnClass = true;
  ExpectNothingSent(
      "", {Asked("", "", {"2 MngSrv_OrvLib API(GetHddInfoToSVP) threw an unknown exception.", "library ~OwnException"}),
           "2 GetHddInfoToSVP Error!", "record MSGID_BMC_0026_F 28"});
  EXPECT_FALSE(ManagementLibraryIsLoaded(host_));
}

TEST_F(DiskInformation, FailsWhenTheLibraryThrowsFromItsCreation) {
  InstallManagementLibrary(host_, "whole");
  host_.managementLibrary.throwsFrom = "CreateLibIF";
  ExpectNothingSent(
      "28", {"4 CBMC_MngLib::CBMC_MngLib [START]", "4 CBMC_MngLib::Load [START]",
             std::string("open library ") + kManagementLibrary, "4 CBMC_MngLib::Load [END]", "library CreateLibIF",
             "2 MngSrv_OrvLib API(CreateLibIF) threw an exception. no such disk", "2 Failed to initialize OrvLibIF.",
             "4 CBMC_MngLib::Unload [START]", "close library", "4 CBMC_MngLib::Unload [END]",
             "2 Failed to createCBMC_MngLib. try catch error", kNoDataRecord});
}

TEST_F(DiskInformation, IsSupportedByBitOneOfTheFlags) {
  InstallManagementLibrary(host_, "whole");
  for (const char* flags : {"02", "0a", "0A", "03", "06", "07", "0b", "0B", "0e", "0E", "0f", "0F", "12", "f2", "FF"}) {
    SCOPED_TRACE(flags);
    host_.Answer("3c 04", CapabilityAnswer(flags));
    const Lines transfer = Take({kLock, kSignature, kUnlock, kNotify});
    EXPECT_EQ(SendDiskInformation(kIpmitoolPath, &detail_), 0);
    EXPECT_TRUE(SameLines(host_.TakeJournal(),
                          {kStart, CapabilityLines(kThroughIpmitool, flags), Asked("", ""), transfer, kEnd}));
  }
}

TEST_F(DiskInformation, IsNotSupportedWithoutThatBit) {
  for (const char* flags : {"01", "00", "04", "05", "08", "09", "0c", "0C", "0d", "0D", "20", "fd", "zz"}) {
    SCOPED_TRACE(flags);
    detail_ = "from before";
    host_.Answer("3c 04", CapabilityAnswer(flags));
    EXPECT_EQ(SendDiskInformation(kIpmitoolPath, &detail_), 1);
    EXPECT_EQ(detail_, "");
    EXPECT_TRUE(
        SameLines(host_.TakeJournal(), {kStart, CapabilityLines(kThroughIpmitool, flags), kNotSupportedLine, kEnd}));
  }
}

TEST_F(DiskInformation, IsNotSupportedByAnAnswerOfFewerThan18Elements) {
  host_.Answer("3c 04", "00 02");
  EXPECT_EQ(SendDiskInformation(kIpmitoolPath, &detail_), 1);
  EXPECT_EQ(detail_, "");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Request("3c 04"), "4 0:00", "4 1:02", kNotSupportedLine, kEnd}));
}

TEST_F(DiskInformation, IsNotSupportedByARefusalWithoutFlags) {
  host_.Answer("3c 04", "c1");
  EXPECT_EQ(SendDiskInformation(kMakersToolPath, &detail_), 1);
  EXPECT_EQ(detail_, "");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, MakersRequest("3c 04"), "4 0:c1", kNotSupportedLine, kEnd}));
}

// The end line of attempts that are tried again, and of the exit without an answer.
const Lines kUnansweredEnd = "4 CBMC_KESTREL_Firmware::ExecSendHddInfo [END]";

TEST_F(DiskInformation, IsNotSupportedByABmcThatDoesNotAnswer) {
  host_.AnswerRaw("3c 04", {0, 1, ""}, 3);
  EXPECT_EQ(SendDiskInformation(kIpmitoolPath, &detail_), 1);
  EXPECT_EQ(detail_, "");
  const Lines triedAgain = {FailedRequest("3c 04"), "16 Get Capability Failed", kUnansweredEnd};
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, triedAgain, "sleep 5000", triedAgain, "sleep 10000",
                                              FailedRequest("3c 04"), kNotSupportedLine, kUnansweredEnd}));
}

TEST_F(DiskInformation, IsSentWhenTheCapabilityIsAnsweredAtTheThirdAttempt) {
  InstallManagementLibrary(host_, "whole");
  host_.AnswerRaw("3c 04", {0, 1, ""}, 2);
  SupportFile();
  const Lines transfer = Take({kLock, kSignature, kUnlock, kNotify});
  EXPECT_EQ(SendDiskInformation(kIpmitoolPath, &detail_), 0);
  const Lines triedAgain = {FailedRequest("3c 04"), "16 Get Capability Failed", kUnansweredEnd};
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, triedAgain, "sleep 5000", triedAgain, "sleep 10000",
                                              CapabilityLines(kThroughIpmitool, "02"), Asked("", ""), transfer, kEnd}));
}

}  // namespace
}  // namespace kestrel
