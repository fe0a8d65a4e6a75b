#include "refhost/common/limited_process.h"

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

#include "posix/file_descriptor.h"
#include "tests/support/descriptor_watch.h"

namespace refhost {

namespace {

class LimitedProcess : public testing::Test {
 protected:
  const DescriptorWatch descriptors_;
};

TEST_F(LimitedProcess, TellsWhatTheWorkReturned) {
  const WorkResult result = RunLimited([] { return WorkResult{'k', "text"}; });
  EXPECT_EQ(result.kind, 'k');
  EXPECT_EQ(result.text, "text");
}

TEST_F(LimitedProcess, RunsTheWorkInAProcessOfItsOwn) {
  int touched = 0;
  const WorkResult result = RunLimited([&touched] {
    touched = 1;
    return WorkResult{'k', std::to_string(getppid())};
  });
  EXPECT_EQ(result.text, std::to_string(getpid()));
  EXPECT_EQ(touched, 0);
}

TEST_F(LimitedProcess, ALongTextIsCut) {
  EXPECT_EQ(RunLimited([] { return WorkResult{'k', std::string(100000, 'x')}; }).text, std::string(4095, 'x'));
}

TEST_F(LimitedProcess, AnExceptionIsAResult) {
  const WorkResult result = RunLimited([]() -> WorkResult { throw std::out_of_range("nothing there"); });
  EXPECT_EQ(result.kind, kWorkCutOff);
  EXPECT_EQ(result.text, "nothing there");
}

TEST_F(LimitedProcess, ACrashIsAResult) {
  const WorkResult result = RunLimited([]() -> WorkResult {
    signal(SIGABRT, SIG_DFL);
    raise(SIGABRT);
    return {};
  });
  EXPECT_EQ(result.kind, kWorkCutOff);
  EXPECT_EQ(result.text, "its process was ended by signal 6 (Aborted)");
}

TEST_F(LimitedProcess, AnExitIsAResult) {
  const WorkResult result = RunLimited([]() -> WorkResult { _exit(0); });
  EXPECT_EQ(result.kind, kWorkCutOff);
  EXPECT_EQ(result.text, "its process ended without a result");
}

TEST_F(LimitedProcess, TooMuchProcessorTimeIsAResult) {
  const WorkResult result = RunLimited(
      []() -> WorkResult {
        for (volatile unsigned turns = 0;;) {
          turns = turns + 1;
        }
      },
      {WorkLimits().memory, 1});
  EXPECT_EQ(result.kind, kWorkCutOff);
  EXPECT_EQ(result.text, "it takes more than 1 s of processor time");
}

TEST_F(LimitedProcess, IsGivenUpWhenItsCallerIsAskedToEnd) {
  const posix::FileDescriptor event(eventfd(1, EFD_CLOEXEC));
  const WorkResult result = RunLimited(
      []() -> WorkResult {
        pause();
        return {};
      },
      {}, event.Get());
  EXPECT_EQ(result.kind, kWorkGivenUp);
}

}  // namespace
}  // namespace refhost
