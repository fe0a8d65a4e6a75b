// Attempts, reports and pauses, in their order.
#include "ipmi/retry.h"

#include <gtest/gtest.h>

#include "tests/support/scripted_host.h"

namespace kestrel {

namespace {

class RetryTest : public testing::Test {
 protected:
  // Runs with an attempt that fails `failures` times.
  bool Run(const RetryPolicy& policy, int failures) {
    return Retry(
        policy,
        [&] {
          host_.Note("attempt");
          return failures-- <= 0;
        },
        [&](auto level) { host_.Note("report " + std::to_string(level)); });
  }

  ScriptedHost host_;
};

TEST_F(RetryTest, ASuccessAtOnceNeedsNoPause) {
  EXPECT_TRUE(Run(kBmcRetry, 0));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {"attempt"}));
}

TEST_F(RetryTest, EachFailureBeforeTheLastIsReportedAndThenWaitedFor) {
  EXPECT_TRUE(Run(kBmcRetry, 2));
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {"attempt", "report 16", "sleep 10000", "attempt", "report 16", "sleep 10000", "attempt"}));
}

TEST_F(RetryTest, FailsAtTheLastAttemptWithAnErrorAndNoPause) {
  EXPECT_FALSE(Run(kLocalRetry, 9));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {"attempt", "report 16", "sleep 1000", "attempt", "report 16",
                                              "sleep 1000", "attempt", "report 2"}));
}

TEST_F(RetryTest, FailsAfterPausesThatGrow) {
  EXPECT_FALSE(Run({3, 5000, 5000}, 9));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {"attempt", "report 16", "sleep 5000", "attempt", "report 16",
                                              "sleep 10000", "attempt", "report 2"}));
}

TEST_F(RetryTest, FailsAtTheFirstAttemptWhenItIsTheOnlyOne) {
  EXPECT_FALSE(Run({1, 5000, 0}, 9));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {"attempt", "report 2"}));
}

}  // namespace
}  // namespace kestrel
