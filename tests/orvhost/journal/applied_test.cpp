#include "orvhost/journal/applied.h"

#include <gtest/gtest.h>

#include "posix/boot_id.h"
#include "tests/refhost/support/temporary_folder.h"

namespace orvhost {

namespace {

constexpr const char* kByTool = R"("text":"Execute:\"/opt/orv/KV6KBMC/Yafuflash\" -cd \"image.ima\"")";
constexpr const char* kByScript =
    R"("text":"[/opt/orv/tmp/KV6KBMC/BMC_FW/bmcup.sh < /opt/orv/tmp/KV6KBMC/BMC_FW/Yes]")";

// What the journals say of how the last update wrote, and in which boot.
class LastUpdate : public testing::Test {
 protected:
  void Run(int number, const std::string& command, const std::string& bootId, const std::string& text) const {
    folder_.Write(
        "0000000" + std::to_string(number) + "-20260131T120000Z.jsonl",
        R"({"t":"2026-01-31T12:00:00.000000Z","s":0,"kind":"begin","command":")" + command +
            R"(","options":{"dry_run":false},"boot_id":")" + bootId + "\"}\n" +
            (text.empty() ? ""
                          : R"({"t":"2026-01-31T12:00:01.000000Z","s":1,"kind":"trace","level":1,)" + text + "}\n"));
  }

  void UpdateEnds(int number, const std::string& text, const std::string& verdict, const std::string& before,
                  const std::string& after) const {
    Run(number, "update", "before",
        text +
            R"(})"
            "\n"
            R"({"t":"2026-01-31T12:00:02.000000Z","s":2,"kind":"end","outcome":{"exit_code":0,"verdict":")" +
            verdict + R"(","before":")" + before + R"(","after":")" + after + "\"}");
  }

  const refhost::TemporaryFolder folder_;
};

TEST_F(LastUpdate, LeavesAMarkerWhenItWroteByTheFlashToolUntilAnApplyTakesIt) {
  EXPECT_FALSE(MarkerIsLeft(folder_.Path()));
  Run(1, "update", "before", kByTool);
  EXPECT_TRUE(MarkerIsLeft(folder_.Path()));
  Run(2, "update", "before", "");  // wrote nothing
  Run(3, "apply", "before", "");
  EXPECT_TRUE(MarkerIsLeft(folder_.Path()));
  Run(4, "apply", "before", R"("text":"shutdown -r now ")");
  EXPECT_TRUE(MarkerIsLeft(folder_.Path()));
  for (const char* taken : {R"("text":"Delete /opt/orv/tmp/KV6KBMC/ExistUpdate.txt")", R"("text":"shutdown -h now")"}) {
    Run(5, "apply", "before", taken);
    EXPECT_FALSE(MarkerIsLeft(folder_.Path())) << taken;
  }
  Run(6, "update", "before", kByTool);
  EXPECT_TRUE(MarkerIsLeft(folder_.Path()));
  Run(7, "update", "before", kByScript);
  EXPECT_FALSE(MarkerIsLeft(folder_.Path()));
}

TEST_F(LastUpdate, WasAppliedWhenALaterUpdateFindsItsVersionRunning) {
  EXPECT_EQ(WasApplied(folder_.Path()), std::nullopt);
  UpdateEnds(1, kByTool, "updated", "01-23", "01-24");
  EXPECT_EQ(WasApplied(folder_.Path()), false);
  EXPECT_TRUE(ShowsUpdateNotApplied(folder_.Path()));
  const std::string line = R"("text":"anything")";
  UpdateEnds(2, line, "nothing-to-do", "01-23", "01-24");  // it waits
  UpdateEnds(3, line, "nothing-to-do", "01-23", "01-23");  // another package
  UpdateEnds(4, line, "older", "01-24", "01-24");
  EXPECT_EQ(WasApplied(folder_.Path()), false);
  UpdateEnds(5, line, "nothing-to-do", "01-24", "01-24");
  EXPECT_EQ(WasApplied(folder_.Path()), true);
  EXPECT_FALSE(ShowsUpdateNotApplied(folder_.Path()));
  UpdateEnds(6, kByTool, "updated", "01-24", "01-24");  // the same once more
  EXPECT_EQ(WasApplied(folder_.Path()), false);
  UpdateEnds(7, line, "nothing-to-do", "01-24", "01-24");
  EXPECT_EQ(WasApplied(folder_.Path()), false);
  UpdateEnds(8, kByTool, "", "", "");  // cut off
  UpdateEnds(9, line, "nothing-to-do", "", "");
  EXPECT_EQ(WasApplied(folder_.Path()), false);
}

TEST_F(LastUpdate, IsNotClearedByAVersionThatRunsWhereARunBetweenIsUnclear) {
  const std::string line = R"("text":"anything")";
  UpdateEnds(1, kByTool, "updated", "01-23", "01-24");
  EXPECT_TRUE(ShowsUpdateNotApplied(folder_.Path()));
  EXPECT_TRUE(ShowsUpdateNotApplied(folder_.Path(), "01-23"));
  EXPECT_FALSE(ShowsUpdateNotApplied(folder_.Path(), "01-24"));
  UpdateEnds(3, line, "nothing-to-do", "01-24", "01-24");
  EXPECT_FALSE(ShowsUpdateNotApplied(folder_.Path()));
  folder_.Write("00000002-20260131T120000Z.jsonl", "a journal that tells nothing\n");
  EXPECT_TRUE(ShowsUpdateNotApplied(folder_.Path()));
  EXPECT_TRUE(ShowsUpdateNotApplied(folder_.Path(), "01-24"));
  EXPECT_EQ(WasApplied(folder_.Path()), std::nullopt);
}

TEST_F(LastUpdate, HasSpentItsFlagWhenAScriptWroteBeforeTheMachineWasStartedAnew) {
  EXPECT_FALSE(ScriptsFlagIsSpent(folder_.Path()));
  Run(1, "update", posix::BootId(), kByScript);
  EXPECT_FALSE(ScriptsFlagIsSpent(folder_.Path()));
  Run(2, "update", "before", kByScript);
  Run(3, "verify", posix::BootId(), "");
  EXPECT_TRUE(ScriptsFlagIsSpent(folder_.Path()));
  Run(4, "update", "before", kByTool);
  EXPECT_FALSE(ScriptsFlagIsSpent(folder_.Path()));
}

}  // namespace
}  // namespace orvhost
