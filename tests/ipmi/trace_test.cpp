// Start and end lines of an operation.
#include "ipmi/trace.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/support/scripted_host.h"

namespace kestrel {

namespace {

class OperationTraceTest : public testing::Test {
 protected:
  ScriptedHost host_;
};

TEST_F(OperationTraceTest, TheEndLineComesOnReturn) {
  {
    const OperationTrace trace("X() [START]", "X() [END]");
    host_.Note("work");
  }
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {"4 X() [START]", "work", "4 X() [END]"}));
}

TEST_F(OperationTraceTest, AnEndLineWrittenEarlyIsNotRepeated) {
  {
    OperationTrace trace("X() [START]", "X() [END]");
    trace.End();
    host_.Note("work");
  }
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {"4 X() [START]", "4 X() [END]", "work"}));
}

TEST_F(OperationTraceTest, AnExitMayEndWithAnotherLine) {
  {
    OperationTrace trace("X() [START]", "X() [END]");
    trace.EndAs("[LEAVE] X()");
  }
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {"4 X() [START]", "4 [LEAVE] X()"}));
}

TEST_F(OperationTraceTest, AnExitMayHaveNone) {
  {
    OperationTrace trace("X() [START]", "X() [END]");
    trace.NoEnd();
  }
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {"4 X() [START]"}));
}

TEST_F(OperationTraceTest, AnExceptionLeavesWithoutOne) {
  try {
    const OperationTrace trace("X() [START]", "X() [END]");
    throw std::runtime_error("thrown on purpose");
  } catch (const std::runtime_error&) {
    const OperationTrace handler("Y() [START]", "Y() [END]");
  }
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {"4 X() [START]", "4 Y() [START]", "4 Y() [END]"}));
}

TEST_F(OperationTraceTest, APercentSignInALineIsPrinted) {
  { const OperationTrace trace("%s [START]", "%d [END]"); }
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {"4 %s [START]", "4 %d [END]"}));
}

}  // namespace
}  // namespace kestrel
