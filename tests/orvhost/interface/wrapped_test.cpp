#include "orvhost/interface/wrapped.h"

#include <gtest/gtest.h>

namespace orvhost {

namespace {

TEST(Wrapped, LeavesWhatFitsAsItIs) {
  for (const char* text : {"", "\n", "one two\n", "  a:   b\n\nc", "exactly 20 characters\n"}) {
    EXPECT_EQ(Wrapped(text, 21), text);
  }
}

TEST(Wrapped, BreaksBetweenWordsAndGoesOnFurtherIn) {
  EXPECT_EQ(Wrapped("one two three four\nfive six seven eight\n", 12),
            "one two\n  three four\nfive six\n  seven\n  eight\n");
}

TEST(Wrapped, AnItemGoesOnBelowItsValue) {
  EXPECT_EQ(Wrapped("  next step:       Run the same command again when there is room.\n", 42),
            "  next step:       Run the same command\n"
            "                   again when there is\n"
            "                   room.\n");
}

TEST(Wrapped, InANarrowTerminalAnItemGoesOnTwoColumnsFurtherIn) {
  EXPECT_EQ(Wrapped("  next step:       Run the same command.\n", 20),
            "  next step:\n    Run the same\n    command.\n");
}

TEST(Wrapped, AWordThatIsTooLongToStandBelowTheValueStandsFurtherOut) {
  EXPECT_EQ(Wrapped("  next step:       Take 0123456789012345678901234567890123456789 now.\n", 50),
            "  next step:       Take\n"
            "    0123456789012345678901234567890123456789 now.\n");
}

TEST(Wrapped, ACommandToBePastedStaysWhole) {
  EXPECT_EQ(Wrapped("Now run \"orvhost apply --install-path /srv/orv\", please.\n", 30),
            "Now run\n  \"orvhost apply --install-path /srv/orv\",\n  please.\n");
  EXPECT_EQ(Wrapped("a b \"orvhost without an end\n", 12), "a b \"orvhost\n  without an\n  end\n");
}

TEST(Wrapped, AWordThatIsTooLongStaysWhole) {
  EXPECT_EQ(Wrapped("a /a/very/long/path b\n", 8), "a\n  /a/very/long/path\n  b\n");
  EXPECT_EQ(Wrapped("/a/very/long/path\n", 8), "/a/very/long/path\n");
}

TEST(Wrapped, CountsCharactersAndNotBytes) {
  EXPECT_EQ(Wrapped("\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4 \xc3\xb6\xc3\xb6\xc3\xb6\n", 8),
            "\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4 \xc3\xb6\xc3\xb6\xc3\xb6\n");
}

}  // namespace
}  // namespace orvhost
