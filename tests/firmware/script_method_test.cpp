// The update by the package's own script. The scripts are real shell scripts in the work folder, their console is a
// file; what they take of time is scripted. Each journal is that of the whole update.
#include "firmware/script_method.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "firmware/update.h"
#include "tests/support/scripted_firmware.h"
#include "tests/support/scripted_host.h"

namespace kestrel {

namespace {

const std::string kFolder = "$I/tmp/KV6KBMC/BMC_FW";
const std::string kScript = kFolder + "/bmcup.sh";
const std::string kCommand = kScript + " < " + kFolder + "/Yes";
const std::string kChmod = "chmod +x -R " + kFolder + "/*";
const std::string kSdrGood = "SDR data was successfully written!";
const std::string kFlashGood = "Update is successful. Reboot is required for changeover to new FW.";

const Lines kStart = {"4 CBMC_KESTREL_Firmware::Update() [START]",
                      "ask server type",
                      "delete folder " + kFolder,
                      "mkdir " + kFolder,
                      "unpack /packages/bmc.zip to " + kFolder,
                      "1 [" + kChmod + "]",
                      "exec " + kChmod + " limit none"};
const Lines kScriptFound = {"ask architecture", "exists " + kScript};
const Lines kScriptRun = {"1 [" + kCommand + "]", "exists " + kFolder};
const Lines kScriptStarted = {"1 open [/dev/console]", "1 open [/dev/console]"};  // by the child
const Lines kTimedOut = {Lines("sleep 1000").Times(900), "sleep 0"};
const Lines kEnd = "4 CBMC_KESTREL_Firmware::Update() [END]";
const Lines kDone = {kEnd, "show CBMC_KESTREL_Firmware::Update()|CBMC_KESTREL_Firmware::Update - Debug"};

// The end of a failure that the script's run or its logs show.
Lines Failed(const std::string& detail, int result, int exitCode) {
  return {"record MSGID_BMC_0027_F " + detail, "2 Failed to execute update command [" + kCommand + "] iret[" +
                                                   std::to_string(result) + "] dret[" + std::to_string(exitCode) + "]"};
}

class ScriptMethodTest : public testing::Test {
 protected:
  ScriptMethodTest() {
    host_.serverType = "kv6000rt";
    host_.Command(kChmod, {0, 0, ""});
    Write("Yes", "y\n");
    WriteScript("exit 0");
  }

  int Run() { return RunUpdate(firmware_, kIpmitoolPath, "/packages/bmc.zip", nullptr, false); }

  void WriteScript(const std::string& body) {
    Write("bmcup.sh", "#!/bin/sh\n" + body + "\n");
    std::filesystem::permissions(Folder() / "bmcup.sh", std::filesystem::perms::owner_all);
  }
  void WriteLogs(const std::string& sdr, const std::string& flash) {
    Write("x64sdr/sdronup.log", sdr + "\n");
    Write("x64/BmcFlash_log.txt", flash + "\n");
  }
  void Write(const std::string& name, const std::string& content) {
    std::filesystem::create_directories((Folder() / name).parent_path());
    std::ofstream(Folder() / name) << content;
  }
  std::string Console() const {
    std::ostringstream text;
    text << std::ifstream(host_.InstallPath() / "console").rdbuf();
    return text.str();
  }
  std::filesystem::path Folder() const { return host_.InstallPath() / "tmp/KV6KBMC/BMC_FW"; }

  ScriptedHost host_;
  ScriptedFirmware firmware_;
};

TEST_F(ScriptMethodTest, TheScriptWritesFirmwareAndSdr) {
  WriteScript(
      "read answer; echo \"answered $answer in $(pwd -P)\"\n"
      "mkdir x64sdr x64\n"
      "printf 'start\\nSDR data was successfully written! (12)\\nend\\n' > x64sdr/sdronup.log\n"
      "printf '\\n>> Update is successful. Reboot is required for changeover to new FW.' > x64/BmcFlash_log.txt");
  EXPECT_EQ(Run(), 0);
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {kStart, kScriptFound, kScriptRun, "1 [start]", "1 [" + kSdrGood + " (12)]",
                                      "1 [end]", "1 []", "1 [>> " + kFlashGood + "]", kDone}));
  EXPECT_TRUE(SameLines(host_.TakeChildJournal(), kScriptStarted));
  EXPECT_EQ(host_.localesAskedFor, (std::vector<std::string>{"japanese", "japanese"}));  // one for each log
  EXPECT_EQ(Console(), "answered y in " + std::filesystem::canonical(Folder()).string() + "\n");
  EXPECT_TRUE(std::filesystem::exists(Folder()));
}

TEST_F(ScriptMethodTest, OnAnotherArchitectureTheLogsLieElsewhere) {
  host_.architecture = "i686";
  Write("x86sdr/sdronup.log", kSdrGood + "\n");
  Write("x86/BmcFlash_log.txt", kFlashGood + "\n");
  WriteLogs("not this one", "nor this one");
  EXPECT_EQ(Run(), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, kScriptFound, kScriptRun, "1 [" + kSdrGood + "]", "1 [" + kFlashGood + "]", kDone}));
}

TEST_F(ScriptMethodTest, TheArchitectureMayBeSaidInMoreWords) {
  host_.architecture = "Linux x86_64 GNU";
  WriteLogs(kSdrGood, kFlashGood);
  EXPECT_EQ(Run(), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, kScriptFound, kScriptRun, "1 [" + kSdrGood + "]", "1 [" + kFlashGood + "]", kDone}));
}

// The logs hold texts in two encodings, some of them cut within a character.
TEST_F(ScriptMethodTest, ALocaleThatIsThereOrLackingChangesNothing) {
  const std::string sdr[] = {"\x93\xfa\x96\x7b \x8f\x49\x97\xb9\x81", "\xe6\x97\xa5" + kSdrGood + "\x93\xfa",
                             "\xe6\x97"};
  const std::string flash[] = {"\x93" + kFlashGood + "\xff", "\x80"};
  host_.Command(kChmod, {0, 0, ""});
  Write("x64sdr/sdronup.log", sdr[0] + "\n" + sdr[1] + "\n" + sdr[2]);
  Write("x64/BmcFlash_log.txt", flash[0] + "\n" + flash[1] + "\n");
  for (const bool there : {true, false}) {
    SCOPED_TRACE(there ? "there" : "lacking");
    host_.locales = {{"japanese", there}};
    host_.localesAskedFor.clear();
    EXPECT_EQ(Run(), 0);
    EXPECT_TRUE(
        SameLines(host_.TakeJournal(), {kStart, kScriptFound, kScriptRun, "1 [" + sdr[0] + "]", "1 [" + sdr[1] + "]",
                                        "1 [" + sdr[2] + "]", "1 [" + flash[0] + "]", "1 [" + flash[1] + "]", kDone}));
    EXPECT_TRUE(SameLines(host_.TakeChildJournal(), kScriptStarted));
    EXPECT_EQ(host_.localesAskedFor, (std::vector<std::string>{"japanese", "japanese"}));
  }
}

TEST_F(ScriptMethodTest, FailsWithoutAScript) {
  std::filesystem::remove(Folder() / "bmcup.sh");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, kScriptFound, "record MSGID_BMC_0020_F 11", "2 Failed to find update module", kEnd}));
  EXPECT_TRUE(SameLines(host_.TakeChildJournal(), {}));
}

TEST_F(ScriptMethodTest, FailsWithAFolderOfTheScriptsName) {
  std::filesystem::remove(Folder() / "bmcup.sh");
  std::filesystem::create_directory(Folder() / "bmcup.sh");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, kScriptFound, "record MSGID_BMC_0020_F 11", "2 Failed to find update module", kEnd}));
  EXPECT_TRUE(SameLines(host_.TakeChildJournal(), {}));
}

// The shell ends with 126 when it finds what it may not run.
TEST_F(ScriptMethodTest, FailsWithAFolderThatTheHostTakesForTheScript) {
  std::filesystem::remove(Folder() / "bmcup.sh");
  std::filesystem::create_directory(Folder() / "bmcup.sh");
  host_.readableFiles.insert(kScript);
  WriteLogs(kSdrGood, kFlashGood);
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, kScriptFound, kScriptRun, "1 [" + kSdrGood + "]",
                                              "1 [" + kFlashGood + "]", Failed("2B", 0, 126), kEnd}));
  EXPECT_TRUE(SameLines(host_.TakeChildJournal(), kScriptStarted));
}

TEST_F(ScriptMethodTest, FailsWhenTheScriptIsNotExecutable) {
  WriteScript("mkdir ran");
  std::filesystem::permissions(Folder() / "bmcup.sh",
                               std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  WriteLogs(kSdrGood, kFlashGood);
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, kScriptFound, kScriptRun, "1 [" + kSdrGood + "]",
                                              "1 [" + kFlashGood + "]", Failed("2B", 0, 126), kEnd}));
  EXPECT_TRUE(SameLines(host_.TakeChildJournal(), kScriptStarted));
  EXPECT_NE(Console(), "");  // the shell's own words
  EXPECT_FALSE(std::filesystem::exists(Folder() / "ran"));
}

TEST_F(ScriptMethodTest, FailsWhenTheScriptGetsNoConsole) {
  host_.consoleOpens = {false};
  WriteScript("mkdir ran");
  WriteLogs(kSdrGood, kFlashGood);
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, kScriptFound, kScriptRun, "1 [" + kSdrGood + "]",
                                              "1 [" + kFlashGood + "]", Failed("2B", 0, 1), kEnd}));
  EXPECT_TRUE(SameLines(host_.TakeChildJournal(), {"1 open [/dev/console]", "2 failed to open [/dev/console] 1 "}));
  EXPECT_FALSE(std::filesystem::exists(Folder() / "ran"));
}

TEST_F(ScriptMethodTest, FailsWithoutAnEndLineWhenTheSdrLogIsMissing) {
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(SameLines(
      host_.TakeJournal(),
      {kStart, kScriptFound, kScriptRun, "2 file open error:" + kFolder + "/x64sdr/sdronup.log", Failed("2C", 0, 0)}));
}

TEST_F(ScriptMethodTest, FailsByTheMissingSdrLogWhichHidesThatTheScriptFailed) {
  WriteScript("exit 4");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(SameLines(
      host_.TakeJournal(),
      {kStart, kScriptFound, kScriptRun, "2 file open error:" + kFolder + "/x64sdr/sdronup.log", Failed("2C", 0, 4)}));
}

TEST_F(ScriptMethodTest, FailsWithoutAnEndLineWhenTheFlashLogIsMissing) {
  Write("x64sdr/sdronup.log", "no SDR written\n");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {kStart, kScriptFound, kScriptRun, "1 [no SDR written]",
                                      "2 file open error:" + kFolder + "/x64/BmcFlash_log.txt", Failed("2D", 0, 0)}));
}

TEST_F(ScriptMethodTest, FailsWithEmptyLogs) {
  Write("x64sdr/sdronup.log", "");
  Write("x64/BmcFlash_log.txt", "");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, kScriptFound, kScriptRun, Failed("2F2E2B", 0, 0), kEnd}));
}

TEST_F(ScriptMethodTest, FailsWhenEachLogHoldsTheTextOfTheOther) {
  WriteLogs(kFlashGood, kSdrGood);
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, kScriptFound, kScriptRun, "1 [" + kFlashGood + "]",
                                              "1 [" + kSdrGood + "]", Failed("2F2E2B", 0, 0), kEnd}));
}

// How the script's run ended, and what its logs then are worth.
struct Outcome {
  const char* name;
  const char* script;
  bool forkFails;
  bool timesOut;
  int result;
  int exitCode;
  // The detail code by the logs that say success: both, flash only, SDR only, none; "" for no failure.
  const char* details[4];
};

class ScriptOutcome : public ScriptMethodTest, public testing::WithParamInterface<std::tuple<Outcome, int>> {};

TEST_P(ScriptOutcome, IsJudgedTogetherWithBothLogs) {
  const auto& [outcome, logs] = GetParam();
  const std::string sdr = logs == 0 || logs == 2 ? kSdrGood : "SDR failed";
  const std::string flash = logs == 0 || logs == 1 ? kFlashGood : "flash failed";
  WriteScript(outcome.script);
  WriteLogs(sdr, flash);
  host_.forkFails = outcome.forkFails;
  host_.pollsWhileRunning = outcome.timesOut ? 901 : 0;
  const std::string detail = outcome.details[logs];

  EXPECT_EQ(Run(), detail.empty() ? 0 : 1);

  const Lines waited = outcome.timesOut ? kTimedOut : Lines();
  const Lines timeOutLine = outcome.timesOut ? Lines("2 Failed to execute update command:TIMEOUT") : Lines();
  const Lines ending =
      detail.empty() ? kDone : Lines{timeOutLine, Failed(detail, outcome.result, outcome.exitCode), kEnd};
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, kScriptFound, kScriptRun, waited, "1 [" + sdr + "]", "1 [" + flash + "]", ending}));
  if (outcome.timesOut) {
    EXPECT_EQ(waitpid(host_.lastChild, nullptr, 0), host_.lastChild);  // it runs on
  }
  EXPECT_TRUE(SameLines(host_.TakeChildJournal(), outcome.forkFails ? Lines() : kScriptStarted));
}

const Outcome kOutcomes[] = {
    {"Good", "exit 0", false, false, 0, 0, {"", "2E2B", "2F2B", "2F2E2B"}},
    {"ExitStatus3", "exit 3", false, false, 0, 3, {"2B", "2E2B", "2F2B", "2F2E2B"}},
    {"NotRun", "exit 0", true, false, 1, 255, {"2B", "2E2B", "2F2B", "2F2E2B"}},
    {"TimedOut", "exit 0", false, true, 255, 255, {"152B", "2E152B", "2F152B", "2F2E152B"}},
};

std::string OutcomeName(const testing::TestParamInfo<ScriptOutcome::ParamType>& outcome) {
  const char* const logs[] = {"BothLogsGood", "FlashLogGood", "SdrLogGood", "NoLogGood"};
  return std::string(std::get<0>(outcome.param).name) + logs[std::get<1>(outcome.param)];
}

INSTANTIATE_TEST_SUITE_P(Every, ScriptOutcome, testing::Combine(testing::ValuesIn(kOutcomes), testing::Range(0, 4)),
                         OutcomeName);

class ScriptPermissions : public testing::Test {
 protected:
  ScriptedHost host_;
  ScriptedFirmware firmware_;
};

TEST_F(ScriptPermissions, FailWithoutARecordWhenChmodFails) {
  host_.serverType = "kv6000rt";
  host_.Command(kChmod, {0, 1, ""});
  EXPECT_EQ(RunUpdate(firmware_, kIpmitoolPath, "/packages/bmc.zip", nullptr, false), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, "2 Failed to chmod. iRtn:[0], dRtn:[1]", kEnd}));
}

TEST_F(ScriptPermissions, FailWithoutARecordWhenChmodCannotBeRun) {
  host_.serverType = "kv6000rt";
  host_.Command(kChmod, {255, 0, ""});
  EXPECT_EQ(RunUpdate(firmware_, kIpmitoolPath, "/packages/bmc.zip", nullptr, false), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, "2 Failed to chmod. iRtn:[255], dRtn:[0]", kEnd}));
}

TEST_F(ScriptPermissions, AnExitStatusThatTheHostLeavesOpenIsZero) {
  host_.serverType = "kv6000rt";
  host_.Command(kChmod, {0, std::nullopt, ""});
  EXPECT_EQ(RunUpdate(firmware_, kIpmitoolPath, "/packages/bmc.zip", nullptr, false), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, kScriptFound, "record MSGID_BMC_0020_F 11", "2 Failed to find update module", kEnd}));
  host_.Command(kChmod, {1, std::nullopt, ""});
  EXPECT_EQ(RunUpdate(firmware_, kIpmitoolPath, "/packages/bmc.zip", nullptr, false), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, "2 Failed to chmod. iRtn:[1], dRtn:[0]", kEnd}));
}

}  // namespace
}  // namespace kestrel
