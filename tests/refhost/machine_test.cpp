// Another machine in the place of the real one: the services work on it and on nothing else.
#include "refhost/machine.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/DllCommon.h"
#include "host/Results.h"
#include "refhost/trace_sink.h"

namespace {

using refhost::ShellEnd;

// Says what it was asked for, and does nothing.
class WrittenMachine : public refhost::Machine {
 public:
  WrittenMachine() { refhost::SetMachine(this); }
  ~WrittenMachine() override { refhost::SetMachine(nullptr); }

  ShellEnd Run(const refhost::ShellCommand& command) override {
    asked.push_back(command.line + " in [" + command.workDir + "] up to " + std::to_string(command.limitMs));
    return end;
  }
  refhost::WorkResult RunApart(const std::function<refhost::WorkResult()>& work, const refhost::WorkLimits&,
                               int) override {
    asked.emplace_back("work");
    return work();
  }
  bool Pause(unsigned long milliseconds) override {
    asked.push_back("pause " + std::to_string(milliseconds));
    return true;
  }
  void Rest(std::chrono::milliseconds) override {}
  std::chrono::system_clock::time_point Now() const override {
    return std::chrono::system_clock::time_point(std::chrono::hours(24));
  }
  std::chrono::steady_clock::time_point SteadyNow() const override { return {}; }
  std::string BootId() const override { return "boot"; }

  std::vector<std::string> asked;
  ShellEnd end{ShellEnd::How::kExited, 3, "a line"};
};

TEST(Machine, RunsTheCommandsOfTheServices) {
  WrittenMachine machine;
  unsigned long exitCode = 0;
  EXPECT_EQ(CCommon_Information::ExecForeignModule("no-such-program", "", "/", &exitCode, 5000), host::kCommandRan);
  EXPECT_EQ(exitCode, 3U);
  EXPECT_EQ(CCommon_Information::GetResultLine("no-such-question"), "a line");
  EXPECT_EQ(machine.asked,
            (std::vector<std::string>{"no-such-program in [/] up to 5000", "no-such-question in [] up to 60000"}));
}

TEST(Machine, FailsAsItsCommandsFail) {
  WrittenMachine machine;
  unsigned long exitCode = 0;
  machine.end = {ShellEnd::How::kTimedOut, 0, "a line"};
  EXPECT_EQ(CCommon_Information::ExecForeignModule("x", "", "", &exitCode, 1), host::kCommandTimedOut);
  EXPECT_EQ(CCommon_Information::GetResultLine("x"), "");
  for (const auto how :
       {ShellEnd::How::kNotStarted, ShellEnd::How::kSignalled, ShellEnd::How::kInterrupted, ShellEnd::How::kLost}) {
    machine.end.how = how;
    EXPECT_EQ(CCommon_Information::ExecForeignModule("x", "", "", &exitCode, 1), host::kCommandNotRun);
  }
}

TEST(Machine, KeepsTheTimeAndThePauses) {
  WrittenMachine machine;
  Sleep(3600000);
  EXPECT_EQ(machine.asked, std::vector<std::string>{"pause 3600000"});
  EXPECT_EQ(refhost::UtcNow(), "1970-01-02T00:00:00.000000Z");
}

TEST(Machine, IsTheRealOneOtherwise) {
  { WrittenMachine machine; }
  EXPECT_EQ(CCommon_Information::GetResultLine("echo real"), "real");
  EXPECT_GT(refhost::UtcNow(), "2020");
}

}  // namespace
