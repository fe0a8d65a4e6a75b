// Which IPMI tool is chosen.
#include "ipmi/tool_selection.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/support/scripted_host.h"

namespace kestrel {

namespace {

class ToolSelection : public testing::Test {
 protected:
  ScriptedHost host_;
  std::string errorCode_ = "before";
};

TEST_F(ToolSelection, MakersToolWinsWhenBothAreThere) {
  host_.readableFiles = {kMakersTool, kIpmitool};
  EXPECT_EQ(SelectIpmiTool(&errorCode_), "/opt/kestrel/node_keeper/ipmi_tools/ipmicmd");
  EXPECT_EQ(errorCode_, "before");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {"probe /opt/kestrel/node_keeper/ipmi_tools/ipmicmd"}));
}

TEST_F(ToolSelection, IpmitoolIsTheSecondChoice) {
  host_.readableFiles = {kIpmitool};
  EXPECT_EQ(SelectIpmiTool(&errorCode_), "/usr/bin/ipmitool");
  EXPECT_EQ(errorCode_, "before");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {"probe /opt/kestrel/node_keeper/ipmi_tools/ipmicmd",
                                              "1 ipmicmd is nothing", "probe /usr/bin/ipmitool"}));
}

TEST_F(ToolSelection, FailsWithoutEitherAndPutsItsCodeInFront) {
  host_.readableFiles = {};
  EXPECT_EQ(SelectIpmiTool(&errorCode_), "");
  EXPECT_EQ(errorCode_, "23before");
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {"probe /opt/kestrel/node_keeper/ipmi_tools/ipmicmd", "1 ipmicmd is nothing",
                                      "probe /usr/bin/ipmitool", "1 ipmitool is nothing"}));
}

TEST(ToolForm, IsKnownByTheLastSevenCharacters) {
  EXPECT_TRUE(IsMakersTool("ipmicmd"));
  EXPECT_TRUE(IsMakersTool("/a/b/my-ipmicmd"));
  EXPECT_FALSE(IsMakersTool("/usr/bin/ipmitool"));
  EXPECT_FALSE(IsMakersTool("/usr/bin/ipmicmd2"));
  EXPECT_THROW((void)IsMakersTool("ipmicm"), std::out_of_range);
  EXPECT_THROW((void)IsMakersTool(""), std::out_of_range);
}

}  // namespace
}  // namespace kestrel
