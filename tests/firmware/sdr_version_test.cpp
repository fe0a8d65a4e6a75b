// The walk through the sensor data records: where it starts, what it passes over, where it ends, and its failures.
#include "firmware/sdr_version.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>

#include "tests/support/scripted_host.h"

namespace kestrel {

namespace {

const Lines kStart = "4 CBMC_KESTREL_Firmware::GetSDRVersion() [START]";
const char* const kInfo = "0a 20";

// A record that holds no version, one that holds "A1", and one that promises a byte more than it holds; as the BMC
// answers them and as they are written to the trace.
const char* const kSensor = "00 02 00 01 00 51 01 0b 20 00 04";
const char* const kSensorText = "1 Record [0200010051010B200004]";
const char* const kVersion = "00 ff ff 03 00 51 c0 11 00 00 00 53 44 52 20 56 65 72 73 69 6f 6e 20 41 31";
const char* const kVersionText = "1 Record [FFFF030051C0110000005344522056657273696F6E204131]";
const char* const kShort = "00 ff ff 03 00 51 c0 12 00 00 00 53 44 52 20 56 65 72 73 69 6f 6e 20 41 31";
const char* const kShortText = "1 Record [FFFF030051C0120000005344522056657273696F6E204131]";

Lines End(const std::string& version) {
  return "4 CBMC_KESTREL_Firmware::GetSDRVersion() [" + version + "] [END]";
}

// Get SDR for the record with these ID bytes.
std::string Get(const std::string& low, const std::string& high) {
  return "0a 23 00 00 " + low + " " + high + " 00 ff";
}

Lines Counted(const std::string& low, const std::string& high) {
  return {Request(kInfo), "1 Record Count [" + low + "][" + high + "]"};
}

Lines Number(const std::string& low, const std::string& high) {
  return "1 Record Num [" + low + "][" + high + "]";
}

// A record that was read at once.
Lines Read(const std::string& low, const std::string& high, const Lines& text) {
  return {Number(low, high), "1 Exec Get SDR Data", Request(Get(low, high)), text};
}

std::string Hex(unsigned int byte) {
  std::array<char, 9> text{};
  std::snprintf(text.data(), text.size(), "%02x", byte);
  return text.data();
}

class SdrVersion : public testing::Test {
 protected:
  ScriptedHost host_;
};

TEST_F(SdrVersion, IsReadFromTheLastRecord) {
  host_.Answer(kInfo, "00 51 03 00");
  host_.Answer(Get("03", "00"), kVersion);
  EXPECT_EQ(ReadSdrVersion(kIpmitoolPath), "A1");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Counted("03", "00"), Read("03", "00", kVersionText), End("A1")}));
}

TEST_F(SdrVersion, ThroughTheMakersToolIsTheSame) {
  host_.Answer(kInfo, "00 51 03 00");
  host_.Answer(Get("03", "00"), kVersion);
  EXPECT_EQ(ReadSdrVersion(kMakersToolPath), "A1");
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {kStart, MakersRequest(kInfo), "1 Record Count [03][00]", Number("03", "00"),
                                      "1 Exec Get SDR Data", MakersRequest(Get("03", "00")), kVersionText, End("A1")}));
}

TEST_F(SdrVersion, IsLookedForDownwardsAndNotBeyondItsRecord) {
  host_.Answer(kInfo, "00 51 04 00 ff ff");
  host_.Answer(Get("04", "00"), kSensor);
  host_.Answer(Get("03", "00"), "00");  // an empty record
  host_.Answer(Get("02", "00"), kVersion);
  EXPECT_EQ(ReadSdrVersion(kIpmitoolPath), "A1");
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {kStart, Counted("04", "00"), Read("04", "00", kSensorText),
                                      Read("03", "00", "1 Record []"), Read("02", "00", kVersionText), End("A1")}));
}

TEST_F(SdrVersion, OfARepositoryWithoutTheRecordIsEmpty) {
  host_.Answer(kInfo, "00 51 02 00");
  host_.Answer(Get("02", "00"), kSensor);
  host_.Answer(Get("01", "00"), kSensor);
  EXPECT_EQ(ReadSdrVersion(kIpmitoolPath), "");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Counted("02", "00"), Read("02", "00", kSensorText),
                                              Read("01", "00", kSensorText), End("")}));
}

TEST_F(SdrVersion, MayBeEmptyAndStillEndsTheWalk) {
  host_.Answer(kInfo, "00 51 02 00");
  host_.Answer(Get("02", "00"), "00 ff ff 02 00 51 c0 0f 00 00 00 53 44 52 20 56 65 72 73 69 6f 6e 20 41 31");
  EXPECT_EQ(ReadSdrVersion(kIpmitoolPath), "");
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, Counted("02", "00"),
                         Read("02", "00", "1 Record [FFFF020051C00F0000005344522056657273696F6E204131]"), End("")}));
}

TEST_F(SdrVersion, OfElevenCharactersHasTheLengthByte1A) {
  host_.Answer(kInfo, "00 51 01 00");
  host_.Answer(Get("01", "00"),
               "00 ff ff 01 00 51 c0 1A 00 00 00 53 44 52 20 56 65 72 73 69 6F 6E 20 31 2e 30 32 2d 52 31 30 20 30 30");
  EXPECT_EQ(ReadSdrVersion(kIpmitoolPath), "1.02-R10 00");
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(),
                {kStart, Counted("01", "00"),
                 Read("01", "00", "1 Record [FFFF010051C01A0000005344522056657273696F6E20312E30322D523130203030]"),
                 End("1.02-R10 00")}));
}

TEST_F(SdrVersion, IsTheRestOfARecordWhoseLengthLeavesNoRoomForIt) {
  host_.Answer(kInfo, "00 51 01 00");
  host_.Answer(Get("01", "00"), "00 ff ff 01 00 51 c0 0e 00 00 00 53 44 52 20 56 65 72 73 69 6f 6e 20 41 31 32 33");
  EXPECT_EQ(ReadSdrVersion(kIpmitoolPath), "A123");
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(),
                {kStart, Counted("01", "00"),
                 Read("01", "00", "1 Record [FFFF010051C00E0000005344522056657273696F6E2041313233]"), End("A123")}));
}

TEST_F(SdrVersion, OfARecordThatPromisesMoreThanItHoldsIsEmptyAndEndsTheWalkThere) {
  host_.Answer(kInfo, "00 51 03 00");
  host_.Answer(Get("03", "00"), kShort);
  EXPECT_EQ(ReadSdrVersion(kIpmitoolPath), "");
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, Counted("03", "00"), Read("03", "00", kShortText),
                         "2 Failed to get SDR Version. Record[FFFF030051C0120000005344522056657273696F6E204131]"}));
}

TEST_F(SdrVersion, WithoutRepositoryInfoIsEmptyAfterThreeAttempts) {
  host_.AnswerRaw(kInfo, {0, 1, ""}, 3);
  EXPECT_EQ(ReadSdrVersion(kIpmitoolPath), "");
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {kStart, Lines{FailedRequest(kInfo), "sleep 10000"}.Times(2), FailedRequest(kInfo),
                                      "2 Failed to execute Get SDR Repository Info Command"}));
}

TEST_F(SdrVersion, WithABadCompletionCodeOfTheRepositoryInfoIsEmptyToo) {
  host_.Answer(kInfo, "c1 51 03 00", 3);
  EXPECT_EQ(ReadSdrVersion(kMakersToolPath), "");
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {kStart, Lines{MakersRequest(kInfo), "sleep 10000"}.Times(2), MakersRequest(kInfo),
                                      "2 Failed to execute Get SDR Repository Info Command"}));
}

TEST_F(SdrVersion, WithoutAToolIsEmptyAfterThreeAttemptsThatRunNothing) {
  EXPECT_EQ(ReadSdrVersion(""), "");
  const Lines refused = {"4 CBMC_KESTREL_Firmware::ExecIPMICommand() [START]", "2 Tool path is empty",
                         "4 CBMC_KESTREL_Firmware::ExecIPMICommand() [END]"};
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Lines{refused, "sleep 10000"}.Times(2), refused,
                                              "2 Failed to execute Get SDR Repository Info Command"}));
}

TEST_F(SdrVersion, OfBrokenRepositoryInfoIsEmptyThoughTheCountIsThere) {
  host_.AnswerRaw(kInfo, {0, 0, "51 03 00 broken\n"}, 3);
  EXPECT_EQ(ReadSdrVersion(kIpmitoolPath), "");
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {kStart, Lines{BrokenRequest(kInfo), "sleep 10000"}.Times(2), BrokenRequest(kInfo),
                                      "2 Failed to execute Get SDR Repository Info Command"}));
}

TEST_F(SdrVersion, RepositoryInfoMayComeAtTheThirdAttempt) {
  host_.AnswerRaw(kInfo, {0, 1, ""}, 2);
  host_.Answer(kInfo, "00 51 01 00");
  host_.Answer(Get("01", "00"), kVersion);
  EXPECT_EQ(ReadSdrVersion(kIpmitoolPath), "A1");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Lines{FailedRequest(kInfo), "sleep 10000"}.Times(2),
                                              Counted("01", "00"), Read("01", "00", kVersionText), End("A1")}));
}

TEST_F(SdrVersion, WithoutTheLowCountByteIsEmptyAtOnce) {
  for (const char* answer : {"00", "00 51"}) {
    SCOPED_TRACE(answer);
    host_.Answer(kInfo, answer);
    EXPECT_EQ(ReadSdrVersion(kIpmitoolPath), "");
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Request(kInfo), "2 Failed to get SDR Record Count(Lw)"}));
  }
}

TEST_F(SdrVersion, WithoutTheHighCountByteIsEmptyAtOnce) {
  host_.Answer(kInfo, "00 51 03");
  EXPECT_EQ(ReadSdrVersion(kIpmitoolPath), "");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Request(kInfo), "2 Failed to get SDR Record Count(Up)"}));
}

TEST_F(SdrVersion, ARecordThatCannotBeReadIsPassedOverAfterThreeAttempts) {
  host_.Answer(kInfo, "00 51 03 00");
  host_.AnswerRaw(Get("03", "00"), {0, 1, ""}, 3);
  host_.Answer(Get("02", "00"), kSensor);
  host_.AnswerRaw(Get("01", "00"), {0, 1, ""}, 3);
  EXPECT_EQ(ReadSdrVersion(kIpmitoolPath), "");
  const auto unreadable = [](const std::string& low) -> Lines {
    const Lines attempt = {"1 Exec Get SDR Data", FailedRequest(Get(low, "00"))};
    return {Number(low, "00"), Lines{attempt, "sleep 10000"}.Times(2), attempt};
  };
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Counted("03", "00"), unreadable("03"),
                                              Read("02", "00", kSensorText), unreadable("01"), End("")}));
}

TEST_F(SdrVersion, ABrokenRecordIsPassedOverThoughTheVersionIsInIt) {
  host_.Answer(kInfo, "00 51 02 00");
  host_.AnswerRaw(Get("02", "00"),
                  {0, 0, "ff ff 02 00 51 c0 11 00 00 00 53 44 52 20 56 65 72 73 69 6f 6e 20 42 32 broken\n"}, 3);
  host_.Answer(Get("01", "00"), kVersion);
  EXPECT_EQ(ReadSdrVersion(kIpmitoolPath), "A1");
  const Lines attempt = {"1 Exec Get SDR Data", BrokenRequest(Get("02", "00"))};
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, Counted("02", "00"), Number("02", "00"), Lines{attempt, "sleep 10000"}.Times(2),
                         attempt, Read("01", "00", kVersionText), End("A1")}));
}

TEST_F(SdrVersion, AttemptsAreCountedAnewForEachRecord) {
  host_.Answer(kInfo, "00 51 02 00");
  host_.Answer(Get("02", "00"), "c5", 2);
  host_.Answer(Get("02", "00"), kSensor);
  host_.Answer(Get("01", "00"), "c5", 2);
  host_.Answer(Get("01", "00"), kVersion);
  EXPECT_EQ(ReadSdrVersion(kMakersToolPath), "A1");
  const auto atTheThird = [](const std::string& low, const Lines& text) -> Lines {
    const Lines attempt = {"1 Exec Get SDR Data", MakersRequest(Get(low, "00"))};
    return {Number(low, "00"), Lines{attempt, "sleep 10000"}.Times(2), attempt, text};
  };
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {kStart, MakersRequest(kInfo), "1 Record Count [02][00]",
                                      atTheThird("02", kSensorText), atTheThird("01", kVersionText), End("A1")}));
}

TEST_F(SdrVersion, OfManyRecordsIsLookedForInEveryOne) {
  host_.Answer(kInfo, "00 51 00 01");
  Lines scan = Read("00", "01", kSensorText);
  host_.Answer(Get("00", "01"), kSensor);
  for (unsigned int id = 255; id > 0; --id) {
    host_.Answer(Get(Hex(id), "00"), kSensor);
    scan = {scan, Read(Hex(id), "00", kSensorText)};
  }
  EXPECT_EQ(ReadSdrVersion(kIpmitoolPath), "");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Counted("00", "01"), scan, End("")}));
}

TEST_F(SdrVersion, WalkStartsAtAnyCount) {
  const struct {
    const char* low;
    const char* high;
  } counts[] = {{"01", "00"}, {"0a", "00"}, {"ff", "00"}, {"00", "01"}, {"2c", "01"}, {"cd", "ab"}, {"ff", "ff"}};
  for (const auto& [low, high] : counts) {
    SCOPED_TRACE(std::string(high) + low);
    host_.Answer(kInfo, std::string("00 51 ") + low + " " + high);
    host_.Answer(Get(low, high), kVersion);
    EXPECT_EQ(ReadSdrVersion(kIpmitoolPath), "A1");
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Counted(low, high), Read(low, high, kVersionText), End("A1")}));
  }
}

// The highest ID has five digits, 10000, of which the first four are sent.
TEST_F(SdrVersion, WalkStartsAtTheHighestIdWhenTheCountIsNoIdsText) {
  const struct {
    const char* low;
    const char* high;
  } counts[] = {{"00", "00"}, {"0A", "00"}, {"Ff", "00"}, {"00", "0B"}, {"zz", "00"}, {"0x", "12"},
                {"12", "0x"}, {"-0", "00"}, {"12", "-0"}, {"+0", "00"}, {"12", "+0"}};
  for (const auto& [low, high] : counts) {
    SCOPED_TRACE(std::string(high) + low);
    host_.Answer(kInfo, std::string("00 51 ") + low + " " + high);
    host_.Answer(Get("00", "10"), kVersion);
    EXPECT_EQ(ReadSdrVersion(kIpmitoolPath), "A1");
    EXPECT_TRUE(
        SameLines(host_.TakeJournal(), {kStart, Counted(low, high), Read("00", "10", kVersionText), End("A1")}));
  }
}

TEST_F(SdrVersion, WalkGoesOnBelowTheHighestId) {
  host_.Answer(kInfo, "00 51 00 00");
  host_.Answer(Get("00", "10"), kSensor);
  host_.Answer(Get("ff", "ff"), kSensor);
  host_.Answer(Get("fe", "ff"), kVersion);
  EXPECT_EQ(ReadSdrVersion(kIpmitoolPath), "A1");
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {kStart, Counted("00", "00"), Read("00", "10", kSensorText),
                                      Read("ff", "ff", kSensorText), Read("fe", "ff", kVersionText), End("A1")}));
}

TEST_F(SdrVersion, WalkFromTheHighestIdGoesDownToOne) {
  const std::string resultFile = (host_.InstallPath() / "tmp/KV6KBMC/IPMIResult00001a2b").string();
  const std::string get = "raw 0x0a 0x23 0x00 0x00 0x";  // and the two bytes of the ID, the lower one first
  std::vector<std::string> ids;
  host_.quickTool = [&](const std::string& commandLine) {
    const std::size_t at = commandLine.find(get);
    if (at != std::string::npos) {
      ids.push_back(commandLine.substr(at + get.size(), 7));
    }
    if (ids.size() < 2) {  // the number of records and then, for good, an empty record
      std::ofstream(resultFile) << (ids.empty() ? "51 00 00\n" : "\n");
    }
  };
  EXPECT_EQ(ReadSdrVersion(kIpmitoolPath), "");
  host_.quickTool = nullptr;
  std::vector<std::string> expected = {"00 0x10"};
  for (unsigned int id = 0xffff; id > 0; --id) {
    expected.push_back(Hex(id % 256) + " 0x" + Hex(id / 256));
  }
  EXPECT_TRUE(ids == expected) << ids.size() << " requests, the last one for " << ids.back();
}

TEST_F(SdrVersion, WithAZeroByteIsCutThereOnlyInTheTrace) {
  host_.Answer(kInfo, "00 51 01 00");
  host_.Answer(Get("01", "00"), "00 ff ff 01 00 51 c0 12 00 00 00 53 44 52 20 56 65 72 73 69 6f 6e 20 41 00 31");
  EXPECT_EQ(ReadSdrVersion(kIpmitoolPath), std::string("A\0"
                                                       "1",
                                                       3));
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, Counted("01", "00"),
                         Read("01", "00", "1 Record [FFFF010051C0120000005344522056657273696F6E20410031]"), End("A")}));
}

}  // namespace
}  // namespace kestrel
