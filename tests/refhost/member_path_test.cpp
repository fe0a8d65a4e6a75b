#include "refhost/common/member_path.h"

#include <gtest/gtest.h>

namespace refhost {

namespace {

TEST(MemberPath, ANameBecomesItsComponents) {
  EXPECT_EQ(ParseMemberName("a/b"), (MemberPath{"a", "b"}));
  EXPECT_EQ(ParseMemberName("./a//b/."), (MemberPath{"a", "b"}));
  EXPECT_EQ(ParseMemberName("./"), MemberPath{});
  EXPECT_EQ(ParseMemberName("..a/b.."), (MemberPath{"..a", "b.."}));
}

TEST(MemberPath, ANameThatLeavesTheFolderIsNone) {
  for (const char* name : {"", "/", "/etc/passwd", "..", "../a", "a/../../b", "a/..", "a/../b"}) {
    EXPECT_EQ(ParseMemberName(name), std::nullopt) << name;
  }
}

TEST(MemberPath, ALinkMayPointIntoTheFolder) {
  EXPECT_TRUE(IsContainedLink({"link"}, "a/b"));
  EXPECT_TRUE(IsContainedLink({"d", "link"}, "../a"));
  EXPECT_TRUE(IsContainedLink({"d", "link"}, "./.././a"));
  EXPECT_TRUE(IsContainedLink({"d", "e", "link"}, "../.."));
}

TEST(MemberPath, ALinkMayNotPointOutOfTheFolder) {
  EXPECT_FALSE(IsContainedLink({"link"}, ""));
  EXPECT_FALSE(IsContainedLink({"link"}, "/etc"));
  EXPECT_FALSE(IsContainedLink({"link"}, ".."));
  EXPECT_FALSE(IsContainedLink({"d", "link"}, "../../a"));
  EXPECT_FALSE(IsContainedLink({"d", "link"}, "other/../.."));
}

TEST(MemberPath, ALinkMayNotClimbBehindAnotherComponent) {
  // "other" could itself be a link to the top, from which ".." leaves the folder.
  EXPECT_FALSE(IsContainedLink({"link"}, "other/.."));
}

TEST(MemberPath, ANameThatAShellWouldReadOtherwiseIsUnsafe) {
  for (const char* name : {"a\nb", "\t", "a\x1b[2J", "\x7f", "\x01", "a\"b", "a\\b", "`id`", "$(id)", "$HOME.ima"}) {
    EXPECT_FALSE(IsShellSafe(name)) << name;
  }
  for (const char* name :
       {"", "a b", "kv6000_0124.ima", "x64/run.sh", "a'b", "*?[a]", "~!#&;|<>()", "f\xc3\xbcr.ima"}) {
    EXPECT_TRUE(IsShellSafe(name)) << name;
  }
}

}  // namespace
}  // namespace refhost
