// Real shell commands; limits are a thousand times shorter than they are given.
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/time.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdio>

#include "host/DllCommon.h"
#include "tests/refhost/support/host_test.h"

namespace refhost {

namespace {

constexpr unsigned long kNoLimit = ~0UL;

class Processes : public HostTest {
 protected:
  int Run(const std::string& command, unsigned long limitMs = kNoLimit, const std::string& outputFile = "",
          const std::string& workDir = "") {
    exitCode_ = kUntouched;
    return CCommon_Information::ExecForeignModule(command, outputFile, workDir, &exitCode_, limitMs);
  }

  unsigned long exitCode_ = kUntouched;
};

TEST_F(Processes, ACommandThatRanToItsEndLeavesItsExitStatus) {
  EXPECT_EQ(Run("exit 0"), 0);
  EXPECT_EQ(exitCode_, 0U);
  EXPECT_EQ(Run("exit 3"), 0);
  EXPECT_EQ(exitCode_, 3U);
}

TEST_F(Processes, TheExitStatusMayBeUnwanted) {
  EXPECT_EQ(CCommon_Information::ExecForeignModule("exit 3", "", "", nullptr, kNoLimit), 0);
}

TEST_F(Processes, AMissingProgramIsTheShellsExitStatus) {
  EXPECT_EQ(Run("no-such-program 2>/dev/null"), 0);
  EXPECT_EQ(exitCode_, 127U);
}

TEST_F(Processes, FailWhenASignalEndsTheCommand) {
  EXPECT_EQ(Run("kill -KILL $$"), 1);
  EXPECT_EQ(exitCode_, kUntouched);
}

TEST_F(Processes, FailWithoutACommandOrItsFolder) {
  EXPECT_EQ(Run(""), 1);
  EXPECT_EQ(Run("exit 0", kNoLimit, "", folder_ / "missing"), 1);
  EXPECT_EQ(Run("exit 0", kNoLimit, folder_ / "missing/output"), 1);
  EXPECT_EQ(exitCode_, kUntouched);
}

TEST_F(Processes, OutputGoesToTheFileWhichIsTruncated) {
  folder_.Write("output", "something longer than the new content");
  EXPECT_EQ(Run("echo out", kNoLimit, folder_ / "output"), 0);
  EXPECT_EQ(folder_.Read("output"), "out\n");
}

TEST_F(Processes, TheCommandMayRedirectItsOutputItself) {
  EXPECT_EQ(Run("echo out > \"" + folder_ / "output" + "\""), 0);
  EXPECT_EQ(folder_.Read("output"), "out\n");
}

TEST_F(Processes, WithoutAnOutputFileTheOutputIsDiscarded) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(Run("echo out"), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(Processes, TheCommandRunsInItsFolder) {
  std::filesystem::create_directories(folder_ / "work");
  EXPECT_EQ(Run("pwd > where", kNoLimit, "", folder_ / "work"), 0);
  EXPECT_EQ(folder_.Read("work/where"), (folder_ / "work") + "\n");
}

TEST_F(Processes, TheCommandFindsNothingOnItsInput) {
  EXPECT_EQ(Run("test -z \"$(cat)\""), 0);
  EXPECT_EQ(exitCode_, 0U);
}

TEST_F(Processes, TheCommandInheritsNoDescriptorOfTheHost) {
  const std::string list = "ls /proc/self/fd > \"" + folder_ / "here" + "\"";
  ASSERT_EQ(system(list.c_str()), 0);
  EXPECT_EQ(Run("ls /proc/self/fd", kNoLimit, folder_ / "there"), 0);
  EXPECT_EQ(folder_.Read("there"), folder_.Read("here"));
}

TEST_F(Processes, ASignalThatTheHostIgnoresStillEndsTheCommand) {
  const auto before = signal(SIGPIPE, SIG_IGN);
  EXPECT_EQ(Run("kill -PIPE $$; exit 3"), 1);
  signal(SIGPIPE, before);
}

TEST_F(Processes, SignalsToTheHostDoNotCutTheWaitShort) {
  struct sigaction action {};
  struct sigaction before {};
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, &before);
  const itimerval eachMillisecond{{0, 1000}, {0, 1000}};
  setitimer(ITIMER_REAL, &eachMillisecond, nullptr);
  EXPECT_EQ(Run("sleep 0.02; exit 3", 60000000), 0);
  EXPECT_EQ(exitCode_, 3U);
  const itimerval off{};
  setitimer(ITIMER_REAL, &off, nullptr);
  sigaction(SIGALRM, &before, nullptr);
}

TEST_F(Processes, ACommandThatNeverEndsIsEndedAtTheLimit) {
  EXPECT_EQ(Run("sleep 1000", 5000), 255);
  EXPECT_EQ(exitCode_, kUntouched);
}

TEST_F(Processes, NothingOfTheGroupSurvivesTheLimit) {
  // What the shell leaves behind comes to this process, so that its end can be waited for.
  ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
  const std::string stubborn = "sh -c \"trap '' TERM; echo ready >> ready; while :; do sleep 1000; done\"";
  EXPECT_EQ(Run(stubborn + " & " + stubborn, 700000, "", folder_.Path()), 255);  // time to start on a busy machine
  EXPECT_EQ(folder_.Read("ready"), "ready\nready\n");
  int status = 0;
  while (waitpid(-1, &status, 0) > 0) {
    EXPECT_TRUE(WIFSIGNALED(status));
  }
  EXPECT_EQ(errno, ECHILD);
  prctl(PR_SET_CHILD_SUBREAPER, 0);
}

TEST_F(Processes, TheGroupMayTidyUpBeforeItIsKilled) {
  setenv("ORVHOST_LAB_SLEEP_SCALE", "0.25", 1);  // time to start and to tidy up on a busy machine
  EXPECT_EQ(Run("trap 'echo tidy > tidy; exit 0' TERM; echo x > ready; while :; do sleep 0.01; done", 2000, "",
                folder_.Path()),
            255);
  EXPECT_EQ(folder_.Read("tidy"), "tidy\n");
}

TEST_F(Processes, AllOnesIsNoLimit) {
  setenv("ORVHOST_LAB_SLEEP_SCALE", "0.000000000001", 1);
  EXPECT_EQ(Run("sleep 0.01; exit 3", kNoLimit), 0);
  EXPECT_EQ(exitCode_, 3U);
}

TEST_F(Processes, AVeryLongLimitIsNotAShortOne) {
  EXPECT_EQ(Run("exit 3", kNoLimit - 1), 0);
  EXPECT_EQ(exitCode_, 3U);
}

TEST_F(Processes, TheResultLineIsTheFirstWithoutItsEnd) {
  EXPECT_EQ(CCommon_Information::GetResultLine("echo one; echo two"), "one");
  EXPECT_EQ(CCommon_Information::GetResultLine("printf one"), "one");
  EXPECT_EQ(CCommon_Information::GetResultLine("printf '\\tSerial Number: ABC \\n'"), "\tSerial Number: ABC ");
  EXPECT_EQ(CCommon_Information::GetResultLine("seq 100000"), "1");
  EXPECT_EQ(CCommon_Information::GetResultLine("head -c 65536 /dev/zero | tr '\\0' x; echo; echo two"),
            std::string(65536, 'x'));
}

TEST_F(Processes, TheResultLineIsEmptyWhenNothingWasPrinted) {
  EXPECT_EQ(CCommon_Information::GetResultLine(""), "");
  EXPECT_EQ(CCommon_Information::GetResultLine("true"), "");
  EXPECT_EQ(CCommon_Information::GetResultLine("no-such-program 2>/dev/null"), "");
  EXPECT_EQ(CCommon_Information::GetResultLine("echo; echo two"), "");
  EXPECT_EQ(CCommon_Information::GetResultLine("head -c 65537 /dev/zero | tr '\\0' x"), "");
  EXPECT_EQ(CCommon_Information::GetResultLine("head -c 10000000 /dev/zero | tr '\\0' x; echo two"), "");
}

TEST_F(Processes, TheResultLineOfAKilledCommandIsEmpty) {
  EXPECT_EQ(CCommon_Information::GetResultLine("echo one; kill -KILL $$"), "");
}

TEST_F(Processes, TheResultLineOfACommandThatNeverEndsIsEmpty) {
  setenv("ORVHOST_LAB_SLEEP_SCALE", "0.0001", 1);
  EXPECT_EQ(CCommon_Information::GetResultLine("echo one; sleep 1000"), "");
}

TEST_F(Processes, WhatACommandLeavesRunningIsNotWaitedFor) {
  const std::string pid = CCommon_Information::GetResultLine("sleep 1000 & echo $!");
  ASSERT_FALSE(pid.empty());
  EXPECT_EQ(kill(std::stoi(pid), SIGKILL), 0);
}

TEST_F(Processes, ThreadsHaveDifferentIds) {
  EXPECT_EQ(GetCurrentThreadId(), static_cast<unsigned long>(getpid()));
}

}  // namespace
}  // namespace refhost
