// What the services answer a plug-in whose program is asked to end. The waits are real and long: a service that does
// not give up keeps the test.
#include "refhost/interruption.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <functional>

#include "host/DllCommon.h"
#include "posix/file_descriptor.h"
#include "tests/refhost/support/host_test.h"

namespace refhost {

namespace {

constexpr unsigned long kHour = 3600000;

class Interruption : public HostTest {
 protected:
  Interruption() {
    setenv("ORVHOST_LAB_SLEEP_SCALE", "1", 1);
    SetInterruptDescriptor(event_.Get());
  }
  ~Interruption() override { SetInterruptDescriptor(-1); }

  void Interrupt() const { ASSERT_EQ(eventfd_write(event_.Get(), 1), 0); }

  // Runs `test` in a child, since what was given up stays known; the number of the line that failed, or 0.
  static int InAChild(const std::function<int()>& test) {
    const pid_t child = fork();
    if (child == 0) {
      _exit(test());
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  int Run(const std::string& command) {
    exitCode_ = kUntouched;
    return CCommon_Information::ExecForeignModule(command, "", folder_.Path(), &exitCode_, kHour);
  }

  const posix::FileDescriptor event_{eventfd(0, EFD_CLOEXEC)};
  unsigned long exitCode_ = kUntouched;
};

TEST_F(Interruption, WithoutOneNothingIsGivenUp) {
  EXPECT_EQ(InAChild([this] {
              setenv("ORVHOST_LAB_SLEEP_SCALE", "0.001", 1);
              Sleep(10);
              if (Run("exit 3") != 0 || CCommon_Information::GetResultLine("echo one") != "one") {
                return __LINE__;
              }
              return WasInterrupted() ? __LINE__ : 0;
            }),
            0);
}

TEST_F(Interruption, EndsAPause) {
  EXPECT_EQ(InAChild([this] {
              Interrupt();
              Sleep(kHour);
              return WasInterrupted() ? 0 : __LINE__;
            }),
            0);
}

TEST_F(Interruption, LetsNoFurtherCommandStart) {
  EXPECT_EQ(InAChild([this] {
              Interrupt();
              if (Run("touch started") != 1 || exitCode_ != kUntouched) {
                return __LINE__;
              }
              return WasInterrupted() ? 0 : __LINE__;
            }),
            0);
  EXPECT_EQ(InAChild([this] {
              Interrupt();
              if (!CCommon_Information::GetResultLine("echo one; touch \"" + (folder_ / "started") + "\"").empty()) {
                return __LINE__;
              }
              return WasInterrupted() ? 0 : __LINE__;
            }),
            0);
  EXPECT_FALSE(folder_.Has("started"));
}

TEST_F(Interruption, EndsACommandThatRunsWithItsGroup) {
  mkfifo((folder_ / "ready").c_str(), 0600);
  EXPECT_EQ(InAChild([this] {
              // Interrupts when the command is at work, and sees that all of its group ends.
              const pid_t watcher = fork();
              if (watcher == 0) {
                const posix::FileDescriptor ready(open((folder_ / "ready").c_str(), O_RDONLY));
                char byte = 0;
                if (read(ready.Get(), &byte, 1) == 1) {
                  Interrupt();
                }
                _exit(read(ready.Get(), &byte, 1) == 0 ? 0 : 1);
              }
              if (Run("exec 3> ready; printf x >&3; sleep 3600 & sleep 3600") != 1 || exitCode_ != kUntouched) {
                return __LINE__;
              }
              int status = -1;
              waitpid(watcher, &status, 0);
              return WasInterrupted() && status == 0 ? 0 : __LINE__;
            }),
            0);
}

TEST_F(Interruption, EndsAQuestionToTheMachine) {
  mkfifo((folder_ / "ready").c_str(), 0600);
  EXPECT_EQ(InAChild([this] {
              const pid_t watcher = fork();
              if (watcher == 0) {
                const posix::FileDescriptor ready(open((folder_ / "ready").c_str(), O_RDONLY));
                char byte = 0;
                (void)!read(ready.Get(), &byte, 1);
                Interrupt();
                _exit(0);
              }
              const std::string answer =
                  CCommon_Information::GetResultLine("printf x > \"" + (folder_ / "ready") + "\"; sleep 3600");
              waitpid(watcher, nullptr, 0);
              return answer.empty() && WasInterrupted() ? 0 : __LINE__;
            }),
            0);
}

TEST_F(Interruption, IsNotLookedAtAnyMoreWithoutADescriptor) {
  Interrupt();
  SetInterruptDescriptor(-1);
  EXPECT_EQ(Run("exit 3"), 0);
  EXPECT_EQ(exitCode_, 3U);
  EXPECT_FALSE(WasInterrupted());
}

}  // namespace
}  // namespace refhost
