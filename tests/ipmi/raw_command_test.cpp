// One raw IPMI request through either tool: its command line, its answer, and every way in which it fails.
#include "ipmi/raw_command.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "tests/support/closed_stream.h"
#include "tests/support/scripted_host.h"

namespace kestrel {

namespace {

using Bytes = std::list<std::string>;

const std::string kIpmitoolLine = "\"/usr/bin/ipmitool\" raw 0x06 0x01 > \"$I/tmp/KV6KBMC/IPMIResult00001a2b\"";
const std::string kMakersLine =
    "echo 18 01 | env -u LD_PRELOAD \"/opt/kestrel/node_keeper/ipmi_tools/ipmicmd\" > "
    "\"$I/tmp/KV6KBMC/IPMIResult00001a2b\"";
const Lines kDeleted = "delete $I/tmp/KV6KBMC/IPMIResult00001a2b";
const Lines kListStart = "4 CBMC_KESTREL_Firmware::ExecIPMICommand_list() [START]";
const Lines kListEnd = "4 CBMC_KESTREL_Firmware::ExecIPMICommand_list() [END]";

Lines Executed(const std::string& line) {
  return {kListStart, "1 Execute command [" + line + "]", "exec " + line + " limit 350000"};
}

// The tool could not be run, or ended with an exit status.
Lines Failed(const std::string& line, const std::string& exitCode) {
  return {Executed(line), "2 Failed to execute command " + line + " return " + exitCode, kListEnd, kDeleted};
}

std::string MakersLineWith(const std::string& bytes) {
  return "echo " + bytes + " | env -u LD_PRELOAD \"/opt/kestrel/node_keeper/ipmi_tools/ipmicmd\" > \"" + kResultFile +
         "\"";
}

class RawCommand : public testing::Test {
 protected:
  bool Run(const char* tool, const Bytes& request) { return ExecuteIpmiCommandList(tool, &response_, request); }
  bool ResultFileIsThere() const {
    return std::filesystem::exists(host_.InstallPath() / "tmp/KV6KBMC/IPMIResult00001a2b");
  }

  ScriptedHost host_;
  Bytes response_;
};

TEST_F(RawCommand, IpmitoolPrintsOnlyTheDataSoTheCompletionCodeIsAdded) {
  host_.AnswerRaw("06 01", {0, 0, " 20 01 00\n"});
  EXPECT_TRUE(Run(kIpmitoolPath, {"06", "01"}));
  EXPECT_EQ(response_, (Bytes{"00", "20", "01", "00"}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {Executed(kIpmitoolLine), kDeleted, kListEnd}));
  EXPECT_FALSE(ResultFileIsThere());
}

TEST_F(RawCommand, IpmitoolWithoutOutputIsACompletionCodeAlone) {
  host_.AnswerRaw("06 01", {0, 0, ""});
  EXPECT_TRUE(Run(kIpmitoolPath, {"06", "01"}));
  EXPECT_EQ(response_, Bytes{"00"});
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {Executed(kIpmitoolLine), kDeleted, kListEnd}));
}

TEST_F(RawCommand, IpmitoolAnswerMaySpanLines) {
  host_.AnswerRaw("06 01", {0, 0, " 20 01\n\t00\r\n 23\n"});
  EXPECT_TRUE(Run(kIpmitoolPath, {"06", "01"}));
  EXPECT_EQ(response_, (Bytes{"00", "20", "01", "00", "23"}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {Executed(kIpmitoolLine), kDeleted, kListEnd}));
}

TEST_F(RawCommand, ALongAnswerIsReadWhole) {
  std::string output;
  Bytes whole{"00"};
  for (int i = 0; i < 10000; ++i) {
    output += i % 16 == 15 ? " 5a\n" : " a5";
    whole.push_back(i % 16 == 15 ? "5a" : "a5");
  }
  host_.AnswerRaw("06 01", {0, 0, output});
  EXPECT_TRUE(Run(kIpmitoolPath, {"06", "01"}));
  EXPECT_EQ(response_, whole);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {Executed(kIpmitoolLine), kDeleted, kListEnd}));
}

TEST_F(RawCommand, MakersToolAnswersOnItsSecondLineAfterFourWords) {
  host_.AnswerRaw("06 01", {0, 0, "zz\na b c d 00 11 22\n33 44 55 66 77\n"});
  EXPECT_TRUE(Run(kMakersToolPath, {"06", "01"}));
  EXPECT_EQ(response_, (Bytes{"00", "11", "22"}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {Executed(kMakersLine), kDeleted, kListEnd}));
}

TEST_F(RawCommand, MakersToolTakesTheNetFnShiftedByTheLun) {
  host_.AnswerRaw("3c 13", {0, 0, "\na b c d 00\n"});
  host_.AnswerRaw("0c 02 01", {0, 0, "\na b c d 00\n"});
  EXPECT_TRUE(Run(kMakersToolPath, {"3c", "13"}));
  response_.clear();
  EXPECT_TRUE(Run(kMakersToolPath, {"0C", "02", "01"}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {Executed(MakersLineWith("f0 13")), kDeleted, kListEnd,
                                              Executed(MakersLineWith("30 02 01")), kDeleted, kListEnd}));
}

TEST_F(RawCommand, ANetFnBeyondSixBitsLosesItsHigherOnes) {
  host_.Command(MakersLineWith("fc 01"), {1, 0, ""});
  host_.Command(MakersLineWith("04 0A"), {1, 0, ""});
  EXPECT_FALSE(Run(kMakersToolPath, {"fF", "01"}));
  EXPECT_FALSE(Run(kMakersToolPath, {"41", "0A"}));
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {Failed(MakersLineWith("fc 01"), "0"), Failed(MakersLineWith("04 0A"), "0")}));
}

TEST_F(RawCommand, ANetFnThatIsNoNumberCountsAsZero) {
  host_.Command(MakersLineWith("00 01"), {1, 0, ""}, 2);
  EXPECT_FALSE(Run(kMakersToolPath, {"zz", "01"}));
  EXPECT_FALSE(Run(kMakersToolPath, {"", "01"}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), Failed(MakersLineWith("00 01"), "0").Times(2)));
}

TEST_F(RawCommand, ACharacterOfTheNetFnThatIsNoDigitCountsAsZero) {
  const struct {
    const char* netFn;
    const char* sent;
  } cases[] = {
      {"0x", "00"}, {"x0", "00"}, {"3x", "c0"}, {"x3", "0c"}, {"3g", "c0"}, {"G3", "0c"},
      {"1/", "40"}, {":1", "04"}, {"1@", "40"}, {"`1", "04"}, {"1 ", "40"}, {"-1", "04"},
  };
  for (const auto& [netFn, sent] : cases) {
    SCOPED_TRACE(netFn);
    const std::string line = MakersLineWith(std::string(sent) + " 01");
    host_.Command(line, {1, 0, ""});
    EXPECT_FALSE(Run(kMakersToolPath, {netFn, "01"}));
    EXPECT_TRUE(SameLines(host_.TakeJournal(), Failed(line, "0")));
  }
}

TEST_F(RawCommand, ANetFnOfOneCharacterHasAZeroBehindIt) {
  const std::string line = MakersLineWith("c0 01");
  host_.Command(line, {1, 0, ""});
  EXPECT_FALSE(Run(kMakersToolPath, {"3", "01"}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), Failed(line, "0")));
}

TEST_F(RawCommand, FailsOnAWordThatIsNotTwoCharacters) {
  host_.AnswerRaw("06 01", {0, 0, "20 123 00\n"});
  EXPECT_FALSE(Run(kIpmitoolPath, {"06", "01"}));
  EXPECT_EQ(response_, (Bytes{"00", "20"}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {Executed(kIpmitoolLine), std::string("2 [") + kResultFile + "] may be broken", kListEnd}));
  EXPECT_TRUE(ResultFileIsThere());
}

TEST_F(RawCommand, FailsOnABrokenAnswerOfTheMakersToolAndKeepsIt) {
  host_.AnswerRaw("06 01", {0, 0, "\na b c d 00 1\n"});
  EXPECT_FALSE(Run(kMakersToolPath, {"06", "01"}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {Executed(kMakersLine), std::string("2 [") + kResultFile + "] may be broken", kListEnd}));
  EXPECT_TRUE(ResultFileIsThere());
}

TEST_F(RawCommand, FailsWithoutACompletionCode) {
  for (const char* output : {"", "one line only\n", "first\n\nthird\n", "first\na b c d\n", "first\na b\n"}) {
    SCOPED_TRACE(output);
    response_.clear();
    host_.AnswerRaw("06 01", {0, 0, output});
    EXPECT_FALSE(Run(kMakersToolPath, {"06", "01"}));
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {Executed(kMakersLine), "2 Failed to get completion code", kListEnd}));
    EXPECT_TRUE(ResultFileIsThere());
  }
}

TEST_F(RawCommand, FailsWithTheExitStatusOfTheToolAndDeletesItsFile) {
  host_.AnswerRaw("06 01", {0, 1, ""});
  EXPECT_FALSE(Run(kIpmitoolPath, {"06", "01"}));
  EXPECT_EQ(response_, Bytes{});
  EXPECT_TRUE(SameLines(host_.TakeJournal(), Failed(kIpmitoolLine, "1")));
  EXPECT_FALSE(ResultFileIsThere());
}

TEST_F(RawCommand, FailsAlikeWithTheMakersTool) {
  host_.AnswerRaw("06 01", {0, 7, "request sent\na b c d 00 11\n"});  // an answer of no interest then
  EXPECT_FALSE(Run(kMakersToolPath, {"06", "01"}));
  EXPECT_EQ(response_, Bytes{});
  EXPECT_TRUE(SameLines(host_.TakeJournal(), Failed(kMakersLine, "7")));
  EXPECT_FALSE(ResultFileIsThere());
  host_.AnswerRaw("06 01", {1, 0, ""});
  EXPECT_FALSE(Run(kMakersToolPath, {"06", "01"}));
  EXPECT_EQ(response_, Bytes{});
  EXPECT_TRUE(SameLines(host_.TakeJournal(), Failed(kMakersLine, "0")));
}

TEST_F(RawCommand, AnExitStatusThatTheHostLeavesOpenIsZero) {
  host_.AnswerRaw("06 01", {0, std::nullopt, "20\n"});
  EXPECT_TRUE(Run(kIpmitoolPath, {"06", "01"}));
  EXPECT_EQ(response_, (Bytes{"00", "20"}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {Executed(kIpmitoolLine), kDeleted, kListEnd}));
  host_.AnswerRaw("06 01", {1, std::nullopt, ""});
  EXPECT_FALSE(Run(kIpmitoolPath, {"06", "01"}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), Failed(kIpmitoolLine, "0")));
}

TEST_F(RawCommand, EveryThreadHasAResultFileOfItsOwn) {
  const struct {
    unsigned long thread;
    const char* digits;
  } threads[] = {{7, "00000007"}, {0xabcdef01, "abcdef01"}, {0, "00000000"}};
  for (const auto& [thread, digits] : threads) {
    SCOPED_TRACE(digits);
    host_.threadId = thread;
    response_.clear();
    host_.AnswerRaw("06 01", {0, 0, "20\n"});
    EXPECT_TRUE(Run(kIpmitoolPath, {"06", "01"}));
    EXPECT_EQ(response_, (Bytes{"00", "20"}));
    const std::string file = std::string("$I/tmp/KV6KBMC/IPMIResult") + digits;
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {Executed("\"/usr/bin/ipmitool\" raw 0x06 0x01 > \"" + file + "\""),
                                                "delete " + file, kListEnd}));
  }
}

TEST_F(RawCommand, FailsWithTheExitStatusOfAToolThatCouldNotBeRunToo) {
  host_.AnswerRaw("06 01", {255, 0, ""});
  EXPECT_FALSE(Run(kIpmitoolPath, {"06", "01"}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), Failed(kIpmitoolLine, "0")));
}

TEST_F(RawCommand, FailsWithoutAWordOfAResultFileThatCannotBeDeleted) {
  host_.undeletableFiles = {kResultFile};
  host_.AnswerRaw("06 01", {1, 0, ""});
  EXPECT_FALSE(Run(kIpmitoolPath, {"06", "01"}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), Failed(kIpmitoolLine, "0")));
}

TEST_F(RawCommand, FailsWithoutAResultFile) {
  std::filesystem::remove_all(host_.InstallPath() / "tmp");
  host_.AnswerRaw("06 01", {0, 0, "20\n"});
  EXPECT_FALSE(Run(kIpmitoolPath, {"06", "01"}));
  EXPECT_EQ(response_, Bytes{});
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {Executed(kIpmitoolLine), std::string("2 Failed to open file ") + kResultFile, kListEnd}));
  host_.AnswerRaw("06 01", {0, 0, "\na b c d 00\n"});
  EXPECT_FALSE(Run(kMakersToolPath, {"06", "01"}));
  EXPECT_EQ(response_, Bytes{});
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {Executed(kMakersLine), std::string("2 Failed to open file ") + kResultFile, kListEnd}));
}

TEST_F(RawCommand, AResultFileMayHaveTheNumberOfStandardInput) {
  std::vector<int> descriptors;
  host_.atRead = [&](int descriptor) {
    descriptors.push_back(descriptor);
    return 0;
  };
  host_.AnswerRaw("06 01", {0, 0, " 20 01\n"});
  bool answered = false;
  {
    const ClosedStream input(STDIN_FILENO);
    answered = Run(kIpmitoolPath, {"06", "01"});
  }
  EXPECT_TRUE(answered);
  EXPECT_EQ(response_, (Bytes{"00", "20", "01"}));
  EXPECT_EQ(descriptors, (std::vector<int>{STDIN_FILENO, STDIN_FILENO}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {Executed(kIpmitoolLine), kDeleted, kListEnd}));
}

TEST_F(RawCommand, AResultFileIsNotOpenInCommandsOfOtherThreads) {
  std::vector<int> flags;
  host_.atRead = [&](int descriptor) {
    flags.push_back(fcntl(descriptor, F_GETFD));
    return 0;
  };
  host_.AnswerRaw("06 01", {0, 0, " 20 01\n"});
  EXPECT_TRUE(Run(kIpmitoolPath, {"06", "01"}));
  EXPECT_EQ(flags, (std::vector<int>{FD_CLOEXEC, FD_CLOEXEC}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {Executed(kIpmitoolLine), kDeleted, kListEnd}));
}

TEST_F(RawCommand, AReadThatIsInterruptedGoesOn) {
  int reads = 0;
  host_.atRead = [&](int /*descriptor*/) { return ++reads % 2 == 1 ? EINTR : 0; };  // the first too, and the last
  host_.AnswerRaw("06 01", {0, 0, " 20 01\n"});
  EXPECT_TRUE(Run(kIpmitoolPath, {"06", "01"}));
  EXPECT_EQ(response_, (Bytes{"00", "20", "01"}));
  EXPECT_EQ(reads, 4);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {Executed(kIpmitoolLine), kDeleted, kListEnd}));
}

TEST_F(RawCommand, AReadThatFailsOtherwiseIsTheEndOfTheAnswer) {
  int reads = 0;
  host_.atRead = [&](int /*descriptor*/) { return ++reads == 2 ? EIO : 0; };
  host_.AnswerRaw("06 01", {0, 0, " 20 01\n"});
  EXPECT_TRUE(Run(kIpmitoolPath, {"06", "01"}));
  EXPECT_EQ(response_, (Bytes{"00", "20", "01"}));
  EXPECT_EQ(reads, 2);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {Executed(kIpmitoolLine), kDeleted, kListEnd}));
}

// It can be opened and not be read. No shell would have written to it.
TEST_F(RawCommand, AFolderInPlaceOfTheResultFileIsAnEmptyAnswer) {
  const std::filesystem::path folder = host_.InstallPath() / "tmp/KV6KBMC/IPMIResult00001a2b";
  host_.AnswerRaw("06 01", {0, 0, ""}, 2);
  std::filesystem::create_directory(folder);
  EXPECT_TRUE(Run(kIpmitoolPath, {"06", "01"}));
  EXPECT_EQ(response_, Bytes{"00"});
  response_.clear();
  std::filesystem::create_directory(folder);
  EXPECT_FALSE(Run(kMakersToolPath, {"06", "01"}));
  EXPECT_EQ(response_, Bytes{});
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {Executed(kIpmitoolLine), kDeleted, kListEnd, Executed(kMakersLine),
                                              "2 Failed to get completion code", kListEnd}));
}

TEST_F(RawCommand, AFileThatCannotBeDeletedDoesNotSpoilAGoodAnswer) {
  host_.undeletableFiles = {kResultFile};
  host_.AnswerRaw("06 01", {0, 0, "20\n"});
  EXPECT_TRUE(Run(kIpmitoolPath, {"06", "01"}));
  EXPECT_EQ(response_, (Bytes{"00", "20"}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {Executed(kIpmitoolLine), kDeleted,
                                              std::string("2 Failed to delete file ") + kResultFile, kListEnd}));
  EXPECT_TRUE(ResultFileIsThere());
}

TEST_F(RawCommand, AnswersAreAppendedToWhatTheListHolds) {
  response_ = {"c0"};
  host_.AnswerRaw("06 01", {0, 0, "20\n"});
  EXPECT_TRUE(Run(kIpmitoolPath, {"06", "01"}));
  EXPECT_EQ(response_, (Bytes{"c0", "00", "20"}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {Executed(kIpmitoolLine), kDeleted, kListEnd}));
}

TEST_F(RawCommand, FailsByAnOldFirstElementWhichItTakesForTheCompletionCode) {
  response_ = {""};
  host_.AnswerRaw("06 01", {0, 0, "20\n"});
  EXPECT_FALSE(Run(kIpmitoolPath, {"06", "01"}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {Executed(kIpmitoolLine), "2 Failed to get completion code", kListEnd}));
}

TEST_F(RawCommand, AToolPathShorterThanATailIsNotCaught) {
  EXPECT_THROW(Run("short", {"06", "01"}), std::out_of_range);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), kListStart));
  EXPECT_THROW((void)ExecuteIpmiCommand("ipmicm", &response_, {"06", "01"}), std::out_of_range);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {"4 CBMC_KESTREL_Firmware::ExecIPMICommand() [START]", kListStart}));
  EXPECT_EQ(response_, Bytes{});
}

TEST_F(RawCommand, ToolPathMayHoldBlanks) {
  const std::string line = "\"/opt/my tools/ipmitool\" raw 0x06 0x01 > \"" + std::string(kResultFile) + "\"";
  host_.Command(line, {1, 0, ""});
  EXPECT_FALSE(Run("/opt/my tools/ipmitool", {"06", "01"}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), Failed(line, "0")));
}

TEST_F(RawCommand, TheOuterCommandAddsItsLinesAndCutsElementsToTwoCharacters) {
  host_.AnswerRaw("06 01", {0, 0, "20\n"});
  EXPECT_TRUE(ExecuteIpmiCommand(kIpmitoolPath, &response_, {"06x", "01yz"}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), Request("06 01")));
}

TEST_F(RawCommand, TheOuterCommandFailsWithoutAToolPath) {
  EXPECT_FALSE(ExecuteIpmiCommand("", &response_, {"06", "01"}));
  EXPECT_EQ(response_, Bytes{});
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {"4 CBMC_KESTREL_Firmware::ExecIPMICommand() [START]", "2 Tool path is empty",
                                      "4 CBMC_KESTREL_Firmware::ExecIPMICommand() [END]"}));
}

TEST_F(RawCommand, TheOuterCommandFailsWhenTheInnerOneDoes) {
  host_.Answer("06 01", "c1");
  EXPECT_FALSE(ExecuteIpmiCommand(kIpmitoolPath, &response_, {"06", "01"}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), FailedRequest("06 01")));
}

TEST_F(RawCommand, TheMakersToolGivesEveryCompletionCode) {
  host_.Answer("06 01", "c1");
  EXPECT_TRUE(ExecuteIpmiCommand(kMakersToolPath, &response_, {"06", "01"}));
  EXPECT_EQ(response_, Bytes{"c1"});
  EXPECT_TRUE(SameLines(host_.TakeJournal(), MakersRequest("06 01")));
}

}  // namespace
}  // namespace kestrel
