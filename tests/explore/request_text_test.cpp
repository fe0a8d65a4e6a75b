#include "explore/request_text.h"

#include <gtest/gtest.h>

namespace {

using explore::ParseToolCommand;
using kv6000::Bytes;

TEST(RequestText, ReadsIpmitoolsCommand) {
  const auto command = ParseToolCommand("\"/usr/bin/ipmitool\" raw 0x34 0x8c 0x55 > \"/srv/orv/tmp/answer\"");
  ASSERT_TRUE(command);
  EXPECT_FALSE(command->makersTool);
  EXPECT_EQ(command->request, (Bytes{0x34, 0x8c, 0x55}));
  EXPECT_EQ(command->outputFile, "/srv/orv/tmp/answer");
}

TEST(RequestText, ReadsTheMakersToolsCommand) {
  const auto command = ParseToolCommand("echo d0 8c 55 | env -u LD_PRELOAD \"/opt/x/ipmicmd\" > \"/srv/answer\"");
  ASSERT_TRUE(command);
  EXPECT_TRUE(command->makersTool);
  EXPECT_EQ(command->request, (Bytes{0x34, 0x8c, 0x55}));
  EXPECT_EQ(command->outputFile, "/srv/answer");
}

TEST(RequestText, FailsOnOtherCommands) {
  for (const char* line :
       {"", "lsmod", "modprobe sg", "echo hello | cat > \"/x\"", "\"/usr/bin/ipmitool\" raw > \"/x\""}) {
    EXPECT_FALSE(ParseToolCommand(line)) << line;
  }
}

TEST(RequestText, PrintsAsIpmitoolDoes) {
  EXPECT_EQ(explore::IpmitoolText({0x00, 0x20, 0x01}), " 20 01\n");
  EXPECT_EQ(explore::IpmitoolText({0x00}), "\n");
  const std::string two = explore::IpmitoolText(Bytes(18, 0x00));
  EXPECT_EQ(two, " 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n 00\n");
  EXPECT_EQ(explore::IpmitoolFailure({0x34, 0x8c}, 0xc0),
            "Unable to send RAW command (channel=0x0 netfn=0x34 lun=0x0 cmd=0x8c rsp=0xc0): Node busy\n");
}

TEST(RequestText, PrintsAsTheMakersToolDoes) {
  EXPECT_EQ(explore::MakersToolText({0x06, 0x01}, {0x00, 0x20}), "Request : 18 01\nResponse : 1c 01 00 20\n");
}

}  // namespace
