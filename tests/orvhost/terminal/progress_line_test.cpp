#include "orvhost/terminal/progress_line.h"

#include <gtest/gtest.h>

namespace orvhost {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

const ProgressStep kFlashing{"Writing the firmware", 2, 3};
const ProgressWait kTool{ProgressWait::Kind::kCommand, "Yafuflash", seconds(900), milliseconds(12999)};

TEST(ProgressLine, TellsTheStepTheTimeTheAttemptAndWhatIsWaitedFor) {
  EXPECT_EQ(ProgressLine(kFlashing, kTool, seconds(65), 140),
            "[1:05] Writing the firmware (2 of 3): Yafuflash for 0:12, 15:00 at most");
}

TEST(ProgressLine, APauseTellsHowMuchIsLeft) {
  const ProgressStep step{"Connecting the virtual media", 1, 3};
  EXPECT_EQ(ProgressLine(step, {ProgressWait::Kind::kPause, "", seconds(10), milliseconds(3000)}, seconds(9), 140),
            "[0:09] Connecting the virtual media: a pause of 0:10, 0:07 left");
  EXPECT_EQ(ProgressLine(step, {ProgressWait::Kind::kPause, "", seconds(10), seconds(11)}, seconds(9), 140),
            "[0:09] Connecting the virtual media: a pause of 0:10, 0:00 left");
}

TEST(ProgressLine, WithoutALimitNoneIsShown) {
  EXPECT_EQ(ProgressLine(kFlashing, {ProgressWait::Kind::kCommand, "sh", {}, {}}, seconds(4500), 140),
            "[75:00] Writing the firmware (2 of 3): sh for 0:00");
}

TEST(ProgressLine, TheFirstAttemptAndNoWaitingAreNotShown) {
  EXPECT_EQ(ProgressLine({"Preparing the update", 1, 1}, {}, seconds(0), 140), "[0:00] Preparing the update");
}

TEST(ProgressLine, WhatDoesNotFitIsLeftOutFromTheEnd) {
  const std::string whole = "[1:05] Writing the firmware (2 of 3): Yafuflash for 0:12, 15:00 at most";
  const auto line = [](std::size_t width) { return ProgressLine(kFlashing, kTool, seconds(65), width); };
  EXPECT_EQ(line(whole.size()), whole);
  EXPECT_EQ(line(whole.size() - 1), "[1:05] Writing the firmware (2 of 3): Yafuflash for 0:12");
  EXPECT_EQ(line(50), "[1:05] Writing the firmware (2 of 3)");
  EXPECT_EQ(line(30), "[1:05] Writing the firmware");
  EXPECT_EQ(line(10), "[1:05] Wri");
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
