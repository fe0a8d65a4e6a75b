#include "orvhost/terminal/progress_steps.h"

#include <gtest/gtest.h>

#include "tests/orvhost/trace/levels.h"
#include "tests/refhost/support/host_test.h"

namespace orvhost {

namespace {

class Steps : public testing::Test {
 protected:
  void Line(int level, const std::string& text) { steps_.Take({level, "bmc", "", "", text}); }
  void Ask(const std::string& bytes) {
    Line(kInfo, "Execute command [\"/usr/bin/ipmitool\" raw " + bytes + " > \"f\"]");
  }
  void Fail() { Line(kRetry, "Failed to execute ipmi command"); }

  // "Words 1/3".
  std::string Current() const {
    const ProgressStep& step = steps_.Current();
    return std::string(step.words) + " " + std::to_string(step.attempt) + "/" + std::to_string(step.attempts);
  }

  // Feeds a recorded trace; every step that it goes through, each run's title included.
  refhost::Lines Feed(const std::string& name) {
    std::ifstream file(GOLDEN_TRACES "/" + name);
    refhost::Lines steps;
    for (std::string line; std::getline(file, line);) {
      if (line.starts_with("==")) {
        steps.push_back(line);
        continue;
      }
      const std::size_t blank = line.find(' ');
      const std::string level = line.substr(0, blank);
      Line(level == "R" ? 0 : std::stoi(level), line.substr(blank + 1));
      const ProgressStep& now = steps_.Current();
      EXPECT_NE(now.words, "") << line;
      EXPECT_LE(now.attempt, now.attempts) << line;
      const std::string words(now.words);
      const std::string step = now.attempt > 1 ? words + ", attempt " + std::to_string(now.attempt) : words;
      if (steps.back() != step) {
        steps.push_back(step);
      }
    }
    return steps;
  }

  ProgressSteps steps_;
};

const refhost::Lines kWholeUpdate = {"== update",
                                     "Starting the plug-in",
                                     "Looking for what the plug-in needs",
                                     "Checking whether the package fits",
                                     "Reading the BMC's firmware version",
                                     "Preparing the update",
                                     "Comparing the versions",
                                     "Reading the BMC's firmware version",
                                     "Connecting the virtual media",
                                     "Stopping the BMC's own waiting",
                                     "Loading the SCSI generic driver",
                                     "Writing the firmware",
                                     "Finishing the update",
                                     "Ending the plug-in",
                                     "== apply",
                                     "Starting the plug-in",
                                     "Putting the firmware into operation",
                                     "Arming the BMC's reboot flag",
                                     "Taking the machine down",
                                     "Ending the plug-in",
                                     "== verify",
                                     "Starting the plug-in",
                                     "Comparing the running version with the installed one",
                                     "Reading the BMC's firmware version",
                                     "Ending the plug-in"};

TEST_F(Steps, OfAWholeUpdateWithIpmitool) {
  EXPECT_EQ(Feed("update_with_ipmitool.trace"), kWholeUpdate);
}

TEST_F(Steps, OfAWholeUpdateWithTheMakersTool) {
  EXPECT_EQ(Feed("update_with_the_makers_tool.trace"), kWholeUpdate);
}

TEST_F(Steps, OfAWholeUpdateByScript) {
  EXPECT_EQ(Feed("update_by_script.trace"), (refhost::Lines{"== update",
                                                            "Starting the plug-in",
                                                            "Looking for what the plug-in needs",
                                                            "Checking whether the package fits",
                                                            "Reading the BMC's firmware version",
                                                            "Reading the sensor records' version",
                                                            "Reading the BMC's firmware version",
                                                            "Reading the sensor records' version",
                                                            "Preparing the update",
                                                            "Preparing the update script",
                                                            "Writing the firmware by its script",
                                                            "Ending the plug-in",
                                                            "== apply",
                                                            "Starting the plug-in",
                                                            "Putting the firmware into operation",
                                                            "Taking the machine down",
                                                            "Ending the plug-in",
                                                            "== verify",
                                                            "Starting the plug-in",
                                                            "Comparing the running version with the installed one",
                                                            "Reading the BMC's firmware version",
                                                            "Reading the sensor records' version",
                                                            "Ending the plug-in"}));
}

TEST_F(Steps, OfAWalkThroughTheSensorRecords) {
  EXPECT_EQ(Feed("sdr_with_an_unreadable_record.trace"),
            (refhost::Lines{"== identify", "Starting the plug-in", "Looking for what the plug-in needs",
                            "Reading the machine's serial number", "Reading the BMC's firmware version",
                            "Reading the sensor records' version", "Ending the plug-in"}));
}

TEST_F(Steps, EveryRecordedTraceLeadsThroughSteps) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(GOLDEN_TRACES)) {
    if (entry.path().extension() != ".trace") {
      continue;
    }
    EXPECT_GT(Feed(entry.path().filename()).size(), 4U) << entry.path();
    ++count;
  }
  EXPECT_GE(count, 4);
}

TEST_F(Steps, AnotherSensorRecordIsAskedForAnew) {
  Ask("0x0a 0x23 0x00 0x00 0x2b 0x01 0x00 0xff");
  Fail();
  EXPECT_EQ(Current(), "Reading the sensor records' version 2/3");
  Line(kInfo, "Record Num [2a][01]");
  EXPECT_EQ(Current(), "Reading the sensor records' version 1/3");
}

TEST_F(Steps, AtFirstThereIsNone) {
  EXPECT_EQ(Current(), " 1/1");
  Line(kFlow, "CBMC_KESTREL_Firmware::ExecIPMICommand() [START]");
  EXPECT_EQ(Current(), " 1/1");
}

TEST_F(Steps, AFailedAttemptIsFollowedByTheNextOfTheSameStep) {
  Ask("0x34 0x8c 0x55 0xaa 0x01");
  EXPECT_EQ(Current(), "Connecting the virtual media 1/3");
  Ask("0x34 0x8d");
  Fail();
  EXPECT_EQ(Current(), "Connecting the virtual media 2/3");
  Ask("0x34 0x8c 0x55 0xaa 0x01");
  EXPECT_EQ(Current(), "Connecting the virtual media 2/3");
  Fail();
  Fail();
  EXPECT_EQ(Current(), "Connecting the virtual media 3/3");
  Ask("0x34 0x2c 0x00");
  EXPECT_EQ(Current(), "Stopping the BMC's own waiting 1/3");
}

TEST_F(Steps, RunsOfTheFlashToolAreCountedFromTheStartOfTheUpdate) {
  for (int update = 0; update < 2; ++update) {
    Line(kFlow, "CBMC_KESTREL_Firmware::Update() [START]");
    Line(kInfo, "Execute:\"/opt/orv/KV6KBMC/Yafuflash\" a.ima");
    EXPECT_EQ(Current(), "Writing the firmware 1/3");
    Line(kRetry, "Failed to execute update command:ReturnCode=3");
    EXPECT_EQ(Current(), "Writing the firmware 1/3");
    Ask("0x34 0x8c 0x55 0xaa 0x00");
    EXPECT_EQ(Current(), "Disconnecting the virtual media 1/3");
    Line(kInfo, "Execute:\"/opt/orv/KV6KBMC/Yafuflash\" a.ima");
    EXPECT_EQ(Current(), "Writing the firmware 2/3");
  }
}

TEST_F(Steps, OfAnUpdateByScript) {
  Line(kInfo, "[chmod +x -R /opt/orv/tmp/KV6KBMC/BMC_FW/*]");
  EXPECT_EQ(Current(), "Preparing the update script 1/1");
  Line(kInfo, "[/opt/orv/tmp/KV6KBMC/BMC_FW/bmcup.sh < /opt/orv/tmp/KV6KBMC/BMC_FW/Yes]");
  EXPECT_EQ(Current(), "Writing the firmware by its script 1/1");
}

TEST_F(Steps, OfSendingAndReporting) {
  Line(kFlow, "CBMC_KESTREL_Firmware::ExecSendOSInfo [START]");
  Ask("0x3c 0x6a 0x05 0x40");
  EXPECT_EQ(Current(), "Sending the operating system's record 1/1");
  Line(kFlow, "CBMC_KESTREL_Firmware::ExecSendHddInfo [START]");
  EXPECT_EQ(Current(), "Sending the disks' record 1/1");
  Line(kFlow, "CBMC_KESTREL_Vendor::ExecOutputDeviceConfigInfo() [START]");
  EXPECT_EQ(Current(), "Gathering the report 1/1");
}

TEST(RequestInALine, IsTheSameOfBothTools) {
  EXPECT_EQ(RequestIn("Execute command [\"/usr/bin/ipmitool\" raw 0x34 0x8c 0x55 0xaa 0x01 > \"/a b/IPMIResult\"]"),
            "34 8c 55 aa 01");
  EXPECT_EQ(RequestIn("Execute command [echo d0 8c 55 aa 01 | env -u LD_PRELOAD \"/opt/ipmicmd\" > \"f\"]"),
            "34 8c 55 aa 01");
  EXPECT_EQ(RequestIn("Execute command [echo 18 01 | env]"), "06 01");
}

TEST(RequestInALine, IsNothingInOtherLines) {
  for (const char* line : {"", "Execute command [", "Execute command [ls]", "Execute command [echo ]",
                           "Execute command [tool raw ]", "Execute:\"tool\" raw 0x34", "Exec [modprobe sg]. iret[0]"}) {
    EXPECT_EQ(RequestIn(line), "") << line;
  }
}

}  // namespace
}  // namespace orvhost
