#include "refhost/command_observer.h"

#include <gtest/gtest.h>

#include "host/DllCommon.h"
#include "tests/refhost/support/host_test.h"

namespace refhost {

namespace {

// Keeps what it sees; refuses commands when asked to.
class RecordingObserver : public CommandObserver {
 public:
  RecordingObserver() { SetCommandObserver(this); }
  ~RecordingObserver() override { SetCommandObserver(nullptr); }

  bool Allows(const CommandRequest& request) override {
    seen.push_back("may " + std::string(request.line));
    return !refuses;
  }
  void Starts(const CommandRequest& request) override {
    seen.push_back("runs " + std::string(request.line) + " for " +
                   (request.limitMs == ~0UL ? "ever" : std::to_string(request.limitMs)));
  }
  void Ended(const CommandRequest& request, const CommandResult& result) override {
    seen.push_back("ended " + std::string(request.line) + " with " + std::to_string(result.result));
  }
  void PauseStarts(unsigned long milliseconds) override { seen.push_back("pause " + std::to_string(milliseconds)); }
  void PauseEnded() override { seen.emplace_back("over"); }

  Lines seen;
  bool refuses = false;
};

class ObservedServices : public HostTest {
 protected:
  RecordingObserver observer_;
};

TEST_F(ObservedServices, CommandsAreSeenWithTheLimitThatWasAskedFor) {
  unsigned long exitCode = 77;
  EXPECT_EQ(CCommon_Information::ExecForeignModule("exit 3", "", "", &exitCode, 60000000), 0);
  CCommon_Information::ExecForeignModule("true", "", "", &exitCode, ~0UL);
  EXPECT_EQ(observer_.seen, (Lines{"may exit 3", "runs exit 3 for 60000000", "ended exit 3 with 0", "may true",
                                   "runs true for ever", "ended true with 0"}));
}

TEST_F(ObservedServices, PausesAreSeen) {
  Sleep(10000);
  EXPECT_EQ(observer_.seen, (Lines{"pause 10000", "over"}));
}

TEST_F(ObservedServices, ARefusedCommandIsNotRun) {
  observer_.refuses = true;
  unsigned long exitCode = 77;
  const std::string command = "touch \"" + (folder_ / "file") + "\"";
  EXPECT_EQ(CCommon_Information::ExecForeignModule(command, "", "", &exitCode, ~0UL), 1);
  EXPECT_EQ(exitCode, 77U);
  EXPECT_EQ(CCommon_Information::GetResultLine(command + "; echo one"), "");
  EXPECT_FALSE(folder_.Has("file"));
  EXPECT_EQ(observer_.seen, (Lines{"may " + command, "may " + command + "; echo one"}));
}

TEST_F(ObservedServices, WhatIsNoCommandIsNotSeen) {
  unsigned long exitCode = 77;
  EXPECT_EQ(CCommon_Information::ExecForeignModule("", "", "", &exitCode, ~0UL), 1);
  EXPECT_EQ(CCommon_Information::GetResultLine(""), "");
  EXPECT_EQ(observer_.seen, Lines{});
}

}  // namespace
}  // namespace refhost
