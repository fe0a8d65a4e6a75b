#include "orvhost/terminal/progress_line.h"

#include <gtest/gtest.h>

namespace orvhost {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

const ProgressPlace kPlace{10, 11, seconds(65)};
const ProgressStep kFlashing{"Writing the firmware", 2, 3};
const ProgressWait kTool{ProgressWait::Kind::kCommand, "Yafuflash", seconds(900), milliseconds(12000)};

TEST(ProgressLine, TellsThePlaceTheStepTheAttemptTheTimeLeftAndWhatRuns) {
  EXPECT_EQ(ProgressLine(kPlace, kFlashing, kTool, 140),
            "[10 of 11, 1:05] Writing the firmware (try 2 of 3, at most 14:48 more): Yafuflash");
}

TEST(ProgressLine, APauseTellsHowMuchIsLeft) {
  const ProgressStep step{"Connecting the virtual media", 1, 3};
  EXPECT_EQ(ProgressLine(kPlace, step, {ProgressWait::Kind::kPause, "", seconds(10), milliseconds(3000)}, 140),
            "[10 of 11, 1:05] Connecting the virtual media (a pause, 0:07 more)");
  EXPECT_EQ(ProgressLine(kPlace, step, {ProgressWait::Kind::kPause, "", seconds(10), seconds(11)}, 140),
            "[10 of 11, 1:05] Connecting the virtual media (a pause, 0:00 more)");
}

TEST(ProgressLine, WithoutALimitNoTimeIsSaidToBeLeft) {
  EXPECT_EQ(ProgressLine({10, 11, seconds(4500)}, kFlashing, {ProgressWait::Kind::kCommand, "sh", {}, {}}, 140),
            "[10 of 11, 75:00] Writing the firmware (try 2 of 3): sh");
}

TEST(ProgressLine, TheFirstAttemptAndNoWaitingAreNotShown) {
  EXPECT_EQ(ProgressLine({1, 3, seconds(0)}, {"Starting the plug-in", 1, 3}, {}, 140),
            "[1 of 3, 0:00] Starting the plug-in");
}

TEST(ProgressLine, BeforeTheFirstPhaseNoneIsCounted) {
  EXPECT_EQ(ProgressLine({0, 3, seconds(0)}, {"Starting the plug-in", 1, 3}, {}, 140), "[0:00] Starting the plug-in");
}

TEST(ProgressLine, WhatDoesNotFitIsLeftOutFromTheEnd) {
  const std::string whole = "[10 of 11, 1:05] Writing the firmware (try 2 of 3, at most 14:48 more): Yafuflash";
  const auto line = [](std::size_t width) { return ProgressLine(kPlace, kFlashing, kTool, width); };
  EXPECT_EQ(line(whole.size()), whole);
  EXPECT_EQ(line(whole.size() - 1), "[10 of 11, 1:05] Writing the firmware (try 2 of 3, at most 14:48 more)");
  EXPECT_EQ(line(60), "[10 of 11, 1:05] Writing the firmware (try 2 of 3)");
  EXPECT_EQ(line(40), "[10 of 11, 1:05] Writing the firmware");
  EXPECT_EQ(line(20), "[10 of 11, 1:05] Wri");
  EXPECT_EQ(line(0), "");
}

TEST(ProgramOfACommand, IsTheOneThatPeopleKnow) {
  EXPECT_EQ(ProgramOf("\"/opt/orv/KV6KBMC/Yafuflash\"  -cd \"a.ima\""), "Yafuflash");
  EXPECT_EQ(ProgramOf("\"/usr/bin/ipmitool\" raw 0x06 0x01 > \"f\""), "ipmitool");
  EXPECT_EQ(ProgramOf("echo 18 01 | env -u LD_PRELOAD \"/opt/ipmicmd\" > \"f\""), "ipmicmd");
  EXPECT_EQ(ProgramOf("lsmod | grep sg"), "lsmod");
  EXPECT_EQ(ProgramOf("/sbin/other --all"), "other");
  EXPECT_EQ(ProgramOf("/sbin/\x1b[2Kother"), "\\x1b[2Kother");
  EXPECT_EQ(ProgramOf(""), "");
}

}  // namespace
}  // namespace orvhost
