#include "orvhost/trace/error_text.h"

#include <gtest/gtest.h>

#include "tests/refhost/support/host_test.h"

namespace orvhost {

namespace {

TEST(ErrorText, LinesEndAtALineEndAndAtACarriageReturn) {
  EXPECT_EQ(LinesOf(""), refhost::Lines{});
  EXPECT_EQ(LinesOf("\r\n\n"), refhost::Lines{});
  EXPECT_EQ(LinesOf("10 %\r20 %\r\nNode busy\n\nend"), (refhost::Lines{"10 %", "20 %", "Node busy", "end"}));
}

TEST(ErrorText, TheLastLinesAreKeptAndTheCutIsMarked) {
  ErrorLines kept;
  kept.Add({"1\n2\n3\n", false});
  kept.Add({"4\n5\n", false});
  EXPECT_EQ(kept.Lines(), (refhost::Lines{"1", "2", "3", "4", "5"}));
  kept.Add({"6\n", false});
  EXPECT_EQ(kept.Lines(), (refhost::Lines{"[...]", "2", "3", "4", "5", "6"}));
  kept.Clear();
  EXPECT_EQ(kept.Lines(), refhost::Lines{});
}

TEST(ErrorText, ATextWhoseBeginningIsMissingIsMarkedToo) {
  ErrorLines kept;
  kept.Add({"busy\n", true});
  EXPECT_EQ(kept.Lines(), (refhost::Lines{"[...]", "busy"}));
}

TEST(ErrorText, ALongLineIsCut) {
  ErrorLines kept;
  kept.Add({std::string(401, 'x') + "\n" + std::string(400, 'y'), false});
  EXPECT_EQ(kept.Lines(), (refhost::Lines{std::string(400, 'x') + "[...]", std::string(400, 'y')}));
}

}  // namespace
}  // namespace orvhost
