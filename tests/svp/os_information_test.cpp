// The OS information record byte for byte, and its sender: which BMC it is sent to and which names it holds. How each
// step of its transfer fails is tested in sender_steps_test.cpp.
#include "svp/os_information.h"

#include <gtest/gtest.h>

#include "tests/svp/transfer_lines.h"

namespace kestrel {

namespace {

const char* const kAskOs = "cat /etc/redhat-release";

const Lines kStart = "4 CBMC_KESTREL_Firmware::ExecSendOSInfo [START]";
const Lines kEnd = "4 CBMC_KESTREL_Firmware::ExecSendInfoToSVP [END]";
const Lines kNotSupportedLines = {"1 Send OS Information not supported",
                                  "4 CBMC_KESTREL_Firmware::ExecSendOSInfo [END]"};

const std::string kLock = "3c 6a 05 40 01 00 00 00 00 00";
const std::string kSignature = "3c 69 05 40 00 00 00 00 00 00 51 54 4c 4d 50";
const std::string kUnlock = "3c 6b 05 40 00 00 00 00 00 00";
const std::string kNotify = "34 39 01";

// The record of the OS name "Linux 9" and the host name "node7", and the requests that write it.
const std::string kRecordOfNode7 =
    "00 00 00 00 00 00 00 00 30 00 00 00 00 00 00 00 "
    "03 4f 53 00 08 00 4c 69 6e 75 78 20 39 00 "
    "09 48 6f 73 74 6e 61 6d 65 00 06 00 6e 6f 64 65 37 00";
const std::string kFirstWrite =
    "3c 69 05 40 00 00 00 00 00 00 00 00 00 00 00 00 00 00 30 00 00 00 00 00 00 00 03 4f 53 00 08 00 4c 69 6e 75 78 20 "
    "39 00 09 48";
const std::string kSecondWrite = "3c 69 05 40 00 00 20 00 00 00 6f 73 74 6e 61 6d 65 00 06 00 6e 6f 64 65 37 00";

std::string Text(const std::list<std::string>& bytes) {
  std::string text;
  for (const std::string& byte : bytes) {
    text += (text.empty() ? "" : " ") + byte;
  }
  return text;
}

// `count` times the byte `byte`, each with a blank behind it.
std::string Repeated(int count, const std::string& byte) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += byte + " ";
  }
  return text;
}

// A record; `length` is its total length, `os` and `host` are the names' lengths and bytes.
std::string RecordText(const std::string& length, const std::string& os, const std::string& host) {
  return "00 00 00 00 00 00 00 00 " + length + " 00 00 00 00 03 4f 53 00 " + os + " 09 48 6f 73 74 6e 61 6d 65 00 " +
         host;
}

TEST(OsInformationRecord, OfSevenAndFiveCharactersHas48Bytes) {
  EXPECT_EQ(Text(BuildOsInformationRecord("Linux 9", "node7")), kRecordOfNode7);
  EXPECT_EQ(BuildOsInformationRecord("Linux 9", "node7").size(), 48U);
}

TEST(OsInformationRecord, OfEmptyNamesHasTheirZeroBytes) {
  EXPECT_EQ(Text(BuildOsInformationRecord("", "")), RecordText("24 00 00 00", "01 00 00", "01 00 00"));
}

TEST(OsInformationRecord, LeavesCharactersAbove127OutAndUncounted) {
  EXPECT_EQ(Text(BuildOsInformationRecord("\xc3\x9cn\x80i\xffx\x7f", "h\xc3\xb6st")),
            RecordText("2b 00 00 00", "05 00 6e 69 78 7f 00", "04 00 68 73 74 00"));
  EXPECT_EQ(Text(BuildOsInformationRecord("\xc3\xa4", "\xff")), RecordText("24 00 00 00", "01 00 00", "01 00 00"));
}

TEST(OsInformationRecord, KeepsBlanksTabsAndControlCharacters) {
  EXPECT_EQ(Text(BuildOsInformationRecord(" \ta ", std::string("b\x01\n\0c", 5))),
            RecordText("2d 00 00 00", "05 00 20 09 61 20 00", "06 00 62 01 0a 00 63 00"));
}

TEST(OsInformationRecord, CountsNamesInTwoBytes) {
  EXPECT_EQ(Text(BuildOsInformationRecord(std::string(254, 'a'), std::string(255, 'b'))),
            RecordText("21 02 00 00", "ff 00 " + Repeated(254, "61") + "00", "00 01 " + Repeated(255, "62") + "00"));
  EXPECT_EQ(Text(BuildOsInformationRecord(std::string(65534, 'a'), "b")),
            RecordText("23 00 01 00", "ff ff " + Repeated(65534, "61") + "00", "02 00 62 00"));
}

TEST(OsInformationRecord, LosesTheHigherDigitsOfALengthThatTwoBytesCannotHold) {
  EXPECT_EQ(Text(BuildOsInformationRecord(std::string(65535, 'a'), "b")),
            RecordText("24 00 01 00", "00 00 " + Repeated(65535, "61") + "00", "02 00 62 00"));
  EXPECT_EQ(Text(BuildOsInformationRecord(std::string(70000, 'a'), "b")),
            RecordText("95 11 01 00", "71 11 " + Repeated(70000, "61") + "00", "02 00 62 00"));
}

class OsInformation : public testing::Test {
 protected:
  // The host has these names and the BMC takes the file.
  void Name(const std::string& osLine, const std::string& hostName) {
    host_.Answer("3c 04", CapabilityAnswer("01"));
    host_.ResultLine(kAskOs, osLine);
    host_.hostName = hostName;
  }

  static Lines NameLines(const std::string& osName, const std::string& hostName) {
    return {std::string("line ") + kAskOs, "1 osname=[" + osName + "]", "ask host name",
            "1 hostname=[" + hostName + "]"};
  }

  // Makes the BMC take the transfer of `record`; gives its journal.
  Lines Take(const std::string& record) {
    std::vector<std::string> requests = WriteRequests("40", record);
    requests.insert(requests.begin(), kLock);
    requests.insert(requests.end(), {kSignature, kUnlock, kNotify});
    Lines journal;
    for (const std::string& request : requests) {
      host_.Answer(request, "00");
      journal = {journal, Request(request)};
    }
    return journal;
  }

  void ExpectSent(const std::string& osLine, const std::string& osName, const std::string& hostName,
                  const std::string& record) {
    Name(osLine, hostName);
    const Lines transfer = Take(record);
    EXPECT_EQ(SendOsInformation(kIpmitoolPath, &detail_), 0);
    EXPECT_EQ(detail_, "");
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, CapabilityLines(kThroughIpmitool, "01"),
                                                NameLines(osName, hostName), transfer, kEnd}));
  }

  ScriptedHost host_;
  std::string detail_ = "from before";
};

TEST_F(OsInformation, IsSentInTwoPieces) {
  EXPECT_EQ(WriteRequests("40", kRecordOfNode7), (std::vector<std::string>{kFirstWrite, kSecondWrite}));
  ExpectSent("Linux 9", "Linux 9", "node7", kRecordOfNode7);
}

TEST_F(OsInformation, IsSentWithoutTheBlanksAroundTheOsName) {
  ExpectSent("   Linux 9  ", "Linux 9", "node7", kRecordOfNode7);
}

TEST_F(OsInformation, KeepsTabsAroundTheOsName) {
  ExpectSent("\tLinux \t", "\tLinux \t", "node7",
             RecordText("31 00 00 00", "09 00 09 4c 69 6e 75 78 20 09 00", "06 00 6e 6f 64 65 37 00"));
}

TEST_F(OsInformation, HasNoOsNameWhenTheReleaseFileIsMissingOrBlank) {
  for (const char* line : {"", " ", "    "}) {
    SCOPED_TRACE(line);
    ExpectSent(line, "", "node7", RecordText("29 00 00 00", "01 00 00", "06 00 6e 6f 64 65 37 00"));
  }
}

TEST_F(OsInformation, TracesCharactersThatItDoesNotSend) {
  ExpectSent("R\xc3\xa9seau 9", "R\xc3\xa9seau 9", "n\xc5\x93ud",
             RecordText("2e 00 00 00", "08 00 52 73 65 61 75 20 39 00", "04 00 6e 75 64 00"));
}

TEST_F(OsInformation, MayHaveAnEmptyHostName) {
  ExpectSent("Linux 9", "Linux 9", "", RecordText("2b 00 00 00", "08 00 4c 69 6e 75 78 20 39 00", "01 00 00"));
}

TEST_F(OsInformation, MayHaveNamesOf255Characters) {
  ExpectSent(std::string(255, 'a'), std::string(255, 'a'), std::string(255, 'b'),
             RecordText("22 02 00 00", "00 01 " + Repeated(255, "61") + "00", "00 01 " + Repeated(255, "62") + "00"));
}

TEST_F(OsInformation, CutsALongerHostNameAt255Characters) {
  for (const std::size_t length : {256U, 257U, 1000U}) {
    SCOPED_TRACE(length);
    const std::string record =
        RecordText("2a 01 00 00", "08 00 4c 69 6e 75 78 20 39 00", "00 01 " + Repeated(255, "62") + "00");
    Name("Linux 9", std::string(length, 'b'));
    const Lines transfer = Take(record);
    EXPECT_EQ(SendOsInformation(kIpmitoolPath, &detail_), 0);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, CapabilityLines(kThroughIpmitool, "01"),
                                                NameLines("Linux 9", std::string(255, 'b')), transfer, kEnd}));
  }
}

TEST_F(OsInformation, SendsAReleaseFileOfOneEndlessLineWhole) {
  const std::string endless(5000, 'a');
  ExpectSent(endless, endless, "node7",
             RecordText("b1 13 00 00", "89 13 " + Repeated(5000, "61") + "00", "06 00 6e 6f 64 65 37 00"));
}

TEST_F(OsInformation, FailsWithoutAHostName) {
  host_.Answer("3c 04", CapabilityAnswer("01"));
  host_.ResultLine(kAskOs, "Linux 9");
  host_.gethostnameResults = {-1};
  EXPECT_EQ(SendOsInformation(kIpmitoolPath, &detail_), -1);
  EXPECT_EQ(detail_, "26");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, CapabilityLines(kThroughIpmitool, "01"),
                                              std::string("line ") + kAskOs, "1 osname=[Linux 9]", "ask host name",
                                              "2 Feiled to get hostname", kEnd, "record MSGID_BMC_0022_F 26"}));
}

TEST_F(OsInformation, IsSupportedByBitZeroOfTheFlags) {
  for (const char* flags : {"01", "0F", "0f", "03", "05", "07", "09", "0b", "0B", "0d", "0D", "11", "f1", "FF"}) {
    SCOPED_TRACE(flags);
    host_.Answer("3c 04", CapabilityAnswer(flags));
    host_.ResultLine(kAskOs, "Linux 9");
    const Lines transfer = Take(kRecordOfNode7);
    EXPECT_EQ(SendOsInformation(kIpmitoolPath, &detail_), 0);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, CapabilityLines(kThroughIpmitool, flags),
                                                NameLines("Linux 9", "node7"), transfer, kEnd}));
  }
}

TEST_F(OsInformation, IsNotSupportedWithoutThatBit) {
  for (const char* flags : {"02", "00", "04", "06", "08", "0a", "0A", "0c", "0C", "0e", "0E", "10", "fe", "zz"}) {
    SCOPED_TRACE(flags);
    detail_ = "from before";
    host_.Answer("3c 04", CapabilityAnswer(flags));
    EXPECT_EQ(SendOsInformation(kIpmitoolPath, &detail_), 1);
    EXPECT_EQ(detail_, "");
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, CapabilityLines(kThroughIpmitool, flags), kNotSupportedLines}));
  }
}

TEST_F(OsInformation, IsNotSupportedByAnAnswerOfFewerThan18Elements) {
  host_.Answer("3c 04", "00 01");
  EXPECT_EQ(SendOsInformation(kIpmitoolPath, &detail_), 1);
  EXPECT_EQ(detail_, "");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Request("3c 04"), "4 0:00", "4 1:01", kNotSupportedLines}));
}

TEST_F(OsInformation, IsNotSupportedByARefusalWithoutFlags) {
  host_.Answer("3c 04", "c1");
  EXPECT_EQ(SendOsInformation(kMakersToolPath, &detail_), 1);
  EXPECT_EQ(detail_, "");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, MakersRequest("3c 04"), "4 0:c1", kNotSupportedLines}));
}

TEST_F(OsInformation, IsNotSupportedByABmcThatDoesNotAnswer) {
  host_.AnswerRaw("3c 04", {0, 1, ""}, 3);
  EXPECT_EQ(SendOsInformation(kIpmitoolPath, &detail_), 1);
  EXPECT_EQ(detail_, "");
  const Lines failed = {FailedRequest("3c 04"), "16 Get Capability Failed"};
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, failed, "sleep 5000", failed, "sleep 10000", failed, kNotSupportedLines}));
}

TEST_F(OsInformation, IsSentWhenTheCapabilityIsAnsweredAtTheThirdAttempt) {
  host_.AnswerRaw("3c 04", {0, 1, ""}, 2);
  Name("Linux 9", "node7");
  const Lines transfer = Take(kRecordOfNode7);
  EXPECT_EQ(SendOsInformation(kIpmitoolPath, &detail_), 0);
  const Lines failed = {FailedRequest("3c 04"), "16 Get Capability Failed"};
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, failed, "sleep 5000", failed, "sleep 10000", CapabilityLines(kThroughIpmitool, "01"),
                         NameLines("Linux 9", "node7"), transfer, kEnd}));
}

}  // namespace
}  // namespace kestrel
