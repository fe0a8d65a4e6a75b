// The BMC's version: its forms on the server families, its retries, and every way in which it cannot be read.
#include "firmware/operating_version.h"

#include <gtest/gtest.h>

#include "tests/support/scripted_host.h"

namespace kestrel {

namespace {

const Lines kStart = "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [START]";
const Lines kEnd = "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [END]";
const Lines kAsked = {Request("06 01"), "ask server type"};

// The journal from the tool's answer on when the version was read.
Lines Read(const std::string& version, const std::string& serverType) {
  return {"4 [" + version + "][" + serverType + "]",
          "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [" + version + "] [END]"};
}

// The lines of a failed attempt, at the level of one that is tried again.
Lines Retried(const std::string& completionCode) {
  return {"16 Failed to execute ipmi command(GetDeviceID) CompletionCode:" + completionCode, "sleep 10000"};
}

// The lines of the last failed attempt.
Lines GivenUp(const std::string& completionCode) {
  return {"2 Failed to execute ipmi command(GetDeviceID) CompletionCode:" + completionCode, kEnd};
}

class OperatingVersion : public testing::Test {
 protected:
  ScriptedHost host_;
};

TEST_F(OperatingVersion, IsTheTwoRevisionBytes) {
  host_.Answer("06 01", "00 20 01 01 23 02 bf");
  EXPECT_EQ(ReadOperatingVersion(kIpmitoolPath), "01-23");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, kAsked, Read("01-23", "kv6000")}));
}

TEST_F(OperatingVersion, ThroughTheMakersToolIsTheSame) {
  host_.Answer("06 01", "00 20 01 01 23 02 bf");
  EXPECT_EQ(ReadOperatingVersion(kMakersToolPath), "01-23");
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {kStart, MakersRequest("06 01"), "ask server type", Read("01-23", "kv6000")}));
}

TEST_F(OperatingVersion, WithoutAToolIsAbnormalAndNothingIsAsked) {
  EXPECT_EQ(ReadOperatingVersion(""), "abnormal");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, "16 No IPMI tool", kEnd}));
}

TEST_F(OperatingVersion, KeepsHexadecimalDigitsAsTheToolPrintsThem) {
  host_.Answer("06 01", "00 20 01 0a 23");
  EXPECT_EQ(ReadOperatingVersion(kIpmitoolPath), "0a-23");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, kAsked, Read("0a-23", "kv6000")}));
  host_.Answer("06 01", "00 20 01 0A 2F");
  EXPECT_EQ(ReadOperatingVersion(kIpmitoolPath), "0A-2F");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, kAsked, Read("0A-2F", "kv6000")}));
}

TEST_F(OperatingVersion, HasADecimalMajorOnTheFamiliesThatCountSo) {
  const struct {
    const char* serverType;
    const char* answer;
    const char* version;
  } cases[] = {
      {"mx4000", "00 20 01 0a 23", "10-23"}, {"mx4000", "00 20 01 05 23", "05-23"},
      {"mx4000", "00 20 01 00 0a", "00-0a"}, {"mx4000", "00 20 01 ff 23", "255-23"},
      {"mx400", "00 20 01 0A 23", "10-23"},  {"xmx4002", "00 20 01 63 99", "99-99"},
      {"mx4000", "00 20 01 09 23", "09-23"}, {"mx40", "00 20 01 0a 23", "0a-23"},
      {"kv6000", "00 20 01 0a 23", "0a-23"}, {"", "00 20 01 0a 23", "0a-23"},
  };
  for (const auto& [serverType, answer, version] : cases) {
    SCOPED_TRACE(std::string(serverType) + ": " + answer);
    host_.serverType = serverType;
    host_.Answer("06 01", answer);
    EXPECT_EQ(ReadOperatingVersion(kIpmitoolPath), version);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, kAsked, Read(version, serverType)}));
  }
}

TEST_F(OperatingVersion, IsReadAtTheSecondAttempt) {
  host_.AnswerRaw("06 01", {0, 1, ""});
  host_.Answer("06 01", "00 20 01 01 23");
  EXPECT_EQ(ReadOperatingVersion(kIpmitoolPath), "01-23");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, FailedRequest("06 01"), "ask server type", Retried(""), kAsked,
                                              Read("01-23", "kv6000")}));
}

TEST_F(OperatingVersion, IsReadAtTheThirdAttempt) {
  host_.Answer("06 01", "c0", 2);
  host_.Answer("06 01", "00 20 01 01 23");
  EXPECT_EQ(ReadOperatingVersion(kMakersToolPath), "01-23");
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {kStart, Lines{MakersRequest("06 01"), "ask server type", Retried("c0")}.Times(2),
                                      MakersRequest("06 01"), "ask server type", Read("01-23", "kv6000")}));
}

TEST_F(OperatingVersion, IsAbnormalAfterThreeBadCompletionCodesAndTwoPauses) {
  host_.Answer("06 01", "c0 20 01 01 23", 3);
  EXPECT_EQ(ReadOperatingVersion(kMakersToolPath), "abnormal");
  const Lines asked = {MakersRequest("06 01"), "ask server type"};
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Lines{asked, Retried("c0")}.Times(2), asked, GivenUp("c0")}));
}

TEST_F(OperatingVersion, IsAbnormalWhenTheToolFailsThreeTimes) {
  host_.AnswerRaw("06 01", {0, 1, ""}, 3);
  EXPECT_EQ(ReadOperatingVersion(kIpmitoolPath), "abnormal");
  const Lines asked = {FailedRequest("06 01"), "ask server type"};
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Lines{asked, Retried("")}.Times(2), asked, GivenUp("")}));
}

TEST_F(OperatingVersion, WithoutAMinorByteIsAFailedAttempt) {
  for (const char* answer : {"00 20 01 01", "00 20 01", "00"}) {
    SCOPED_TRACE(answer);
    host_.Answer("06 01", answer, 3);
    EXPECT_EQ(ReadOperatingVersion(kIpmitoolPath), "abnormal");
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Lines{kAsked, Retried("00")}.Times(2), kAsked, GivenUp("00")}));
  }
}

TEST_F(OperatingVersion, OfABrokenAnswerIsNotTakenThoughBothBytesAreThere) {
  host_.AnswerRaw("06 01", {0, 0, "20 01 01 23 broken\n"});
  host_.Answer("06 01", "00 20 01 02 00");
  EXPECT_EQ(ReadOperatingVersion(kIpmitoolPath), "02-00");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, BrokenRequest("06 01"), "ask server type", Retried("00"), kAsked,
                                              Read("02-00", "kv6000")}));
}

TEST_F(OperatingVersion, OfAFailedAttemptIsForgotten) {
  host_.Answer("06 01", "c3 20 01 09 99");
  host_.Answer("06 01", "00 20 01", 2);
  EXPECT_EQ(ReadOperatingVersion(kMakersToolPath), "abnormal");
  const Lines asked = {MakersRequest("06 01"), "ask server type"};
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {kStart, asked, Retried("c3"), asked, Retried("00"), asked, GivenUp("00")}));
}

// A repository of one record, which holds the version A1, and the journal of a version that carries it.
const char* const kOneRecord = "00 51 01 00";
const char* const kRecordOfA1 = "00 ff ff 01 00 51 c0 11 00 00 00 53 44 52 20 56 65 72 73 69 6f 6e 20 41 31";

Lines ReadWithSdr(const std::string& serverType) {
  return {"4 [01-23][" + serverType + "]",
          "4 CBMC_KESTREL_Firmware::GetSDRVersion() [START]",
          Request("0a 20"),
          "1 Record Count [01][00]",
          "1 Record Num [01][00]",
          "1 Exec Get SDR Data",
          Request("0a 23 00 00 01 00 00 ff"),
          "1 Record [FFFF010051C0110000005344522056657273696F6E204131]",
          "4 CBMC_KESTREL_Firmware::GetSDRVersion() [A1] [END]",
          "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [BMC:01-23,SDR:A1] [END]"};
}

TEST_F(OperatingVersion, OnARackServerCarriesTheSdrVersionToo) {
  for (const char* serverType : {"kv6000rt", "xkv6000rt-2"}) {
    SCOPED_TRACE(serverType);
    host_.serverType = serverType;
    host_.Answer("06 01", "00 20 01 01 23");
    host_.Answer("0a 20", kOneRecord);
    host_.Answer("0a 23 00 00 01 00 00 ff", kRecordOfA1);
    EXPECT_EQ(ReadOperatingVersion(kIpmitoolPath), "BMC:01-23,SDR:A1");
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, kAsked, ReadWithSdr(serverType)}));
  }
}

TEST_F(OperatingVersion, OnARackServerThatCannotBeAskedIsAbnormalAlone) {
  host_.serverType = "kv6000rt";
  host_.AnswerRaw("06 01", {0, 1, ""}, 3);
  EXPECT_EQ(ReadOperatingVersion(kIpmitoolPath), "abnormal");
  const Lines asked = {FailedRequest("06 01"), "ask server type"};
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Lines{asked, Retried("")}.Times(2), asked, GivenUp("")}));
}

TEST_F(OperatingVersion, IsThatOfTheServerTypeWhichTheLastAttemptFinds) {
  host_.serverType = "kv6000rt";
  host_.AnswerRaw("06 01", {0, 1, ""});
  host_.AnswerRaw("06 01", {0, 0, "20 01 0a 23\n", [this] { host_.serverType = "mx4000"; }});
  EXPECT_EQ(ReadOperatingVersion(kIpmitoolPath), "10-23");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, FailedRequest("06 01"), "ask server type", Retried(""), kAsked,
                                              Read("10-23", "mx4000")}));
  host_.AnswerRaw("06 01", {0, 1, ""}, 2);
  host_.AnswerRaw("06 01", {0, 0, "20 01 01 23\n", [this] { host_.serverType = "kv6000rt"; }});
  host_.Answer("0a 20", kOneRecord);
  host_.Answer("0a 23 00 00 01 00 00 ff", kRecordOfA1);
  EXPECT_EQ(ReadOperatingVersion(kIpmitoolPath), "BMC:01-23,SDR:A1");
  const Lines failed = {FailedRequest("06 01"), "ask server type", Retried("")};
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, failed.Times(2), kAsked, ReadWithSdr("kv6000rt")}));
}

TEST_F(OperatingVersion, OnARackServerNamesAnEmptySdrVersionAllTheSame) {
  host_.serverType = "kv6000rt";
  host_.Answer("06 01", "00 20 01 0a 23");
  host_.Answer("0a 20", "00 51 01");
  EXPECT_EQ(ReadOperatingVersion(kIpmitoolPath), "BMC:0a-23,SDR:");
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, kAsked, "4 [0a-23][kv6000rt]", "4 CBMC_KESTREL_Firmware::GetSDRVersion() [START]",
                         Request("0a 20"), "2 Failed to get SDR Record Count(Up)",
                         "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [BMC:0a-23,SDR:] [END]"}));
}

}  // namespace
}  // namespace kestrel
