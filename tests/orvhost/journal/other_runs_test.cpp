// What later runs tell of one.
#include "orvhost/journal/other_runs.h"

#include <gtest/gtest.h>

#include "orvhost/journal/journal_folder.h"
#include "tests/refhost/support/temporary_folder.h"

namespace orvhost {

namespace {

class RunsBehind : public testing::Test {
 protected:
  // One that traced `text`, and ended with `verdict` if there is one.
  void Run(const std::string& command, const std::string& text, const std::string& verdict) {
    const std::string id = "0000000" + std::to_string(runs_.size() + 1) + "-20260131T120000Z";
    const std::string time = R"({"t":"2026-01-31T12:00:00.000000Z","s":0,)";
    folder_.Write(
        id + ".jsonl",
        time + R"("kind":"begin","command":")" + command + R"(","options":{"dry_run":false}})" + "\n" + time +
            R"("kind":"trace","level":1,"text":")" + text + "\"}\n" +
            (verdict.empty() ? ""
                             : time + R"("kind":"end","outcome":{"exit_code":0,"verdict":")" + verdict + "\"}}\n"));
    runs_.push_back(id);
  }

  // Of the first run.
  Situation Look() const {
    Situation situation;
    situation.run = ReadRun(folder_.Path(), runs_.front());
    EXPECT_TRUE(LookAtOtherRuns(folder_.Path(), runs_, &situation).empty());
    return situation;
  }

  const refhost::TemporaryFolder folder_;
  std::vector<std::string> runs_;
};

TEST_F(RunsBehind, TellWhetherAVerifyHasAVerdictOrWasCutOff) {
  Run("apply", "shutdown -h now", "going-down");
  EXPECT_FALSE(Look().verifyWasCutOff);
  Run("identify", "anything", "");
  EXPECT_FALSE(Look().verifyWasCutOff);
  Run("verify", "anything", "");
  EXPECT_TRUE(Look().verifyWasCutOff);
  EXPECT_EQ(Look().verifiedAs, "");
  Run("verify", "anything", "verified");
  EXPECT_EQ(Look().verifiedAs, "verified");
}

TEST_F(RunsBehind, TellNothingBehindAnotherThatReachedTheDevice) {
  Run("apply", "shutdown -h now", "going-down");
  Run("apply", "shutdown -h now", "going-down");
  Run("verify", "anything", "");
  Run("verify", "anything", "verified");
  EXPECT_FALSE(Look().verifyWasCutOff);
  EXPECT_EQ(Look().verifiedAs, "");
}

}  // namespace

}  // namespace orvhost
