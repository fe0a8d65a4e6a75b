// What the scripted host itself notices, beyond the journals that the tests of the plug-in compare.
#include "tests/support/scripted_host.h"

#include <fcntl.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>

#include "host/DllCommon.h"

namespace {

// Does it in a child, which then becomes a program that knows of no test.
template <typename Act>
void InAChild(Act act) {
  const pid_t child = fork();
  if (child == 0) {
    act();
    execlp("true", "true", nullptr);
    _exit(1);
  }
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_EQ(status, 0);
}

TEST(ScriptedHost, FailsTheTestWhenACheckFailsInAForkedChild) {
  auto host = std::make_unique<ScriptedHost>();
  InAChild([] { close(open("/dev/console", O_RDONLY)); });
  EXPECT_NONFATAL_FAILURE(host.reset(), "failed in a forked child");
}

TEST(ScriptedHost, SaysWhichCheckFailedInEachForkedChild) {
  auto host = std::make_unique<ScriptedHost>();
  InAChild([] { CTraceUtility::WriteDebug("other", CTraceUtility::TRACE_DBG_INFO, "line"); });
  InAChild([] { CTraceUtility::WriteDebug("another", CTraceUtility::TRACE_DBG_INFO, "line"); });
  testing::TestPartResultArray failures;
  {
    const testing::ScopedFakeTestPartResultReporter reporter(
        testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &failures);
    host.reset();
  }
  ASSERT_EQ(failures.size(), 1);
  const std::string failure = failures.GetTestPartResult(0).message();
  EXPECT_NE(failure.find("\"other\""), std::string::npos) << failure;
  EXPECT_NE(failure.find("\"another\""), std::string::npos) << failure;
}

TEST(ScriptedHost, FailsNoTestForChildrenInWhichNothingFailed) {
  ScriptedHost host;
  InAChild([] { CTraceUtility::WriteDebug("bmc", CTraceUtility::TRACE_DBG_INFO, "line"); });
  EXPECT_TRUE(SameLines(host.TakeChildJournal(), "1 line"));
}

}  // namespace
