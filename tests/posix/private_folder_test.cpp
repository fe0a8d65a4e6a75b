#include "posix/private_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/refhost/support/temporary_folder.h"

namespace posix {

namespace {

class PrivateFolder : public testing::Test {
 protected:
  bool Make(const std::string& name) { return MakePrivateFolder(folder_ / name, &error_); }

  mode_t ModeOf(const std::string& name) const {
    struct stat status {};
    EXPECT_EQ(lstat((folder_ / name).c_str(), &status), 0);
    return status.st_mode & 07777;
  }

  const refhost::TemporaryFolder folder_;
  std::string error_;
};

TEST_F(PrivateFolder, IsMadeWithItsParents) {
  ASSERT_TRUE(Make("a/b/c")) << error_;
  EXPECT_EQ(ModeOf("a/b/c"), 0700U);
  EXPECT_TRUE(Make("a/b/c")) << error_;
}

TEST_F(PrivateFolder, ThatIsOpenToOthersIsClosedToThem) {
  std::filesystem::create_directory(folder_ / "a");
  ASSERT_EQ(chmod((folder_ / "a").c_str(), 01777), 0);
  ASSERT_TRUE(Make("a")) << error_;
  EXPECT_EQ(ModeOf("a"), 0700U);
}

TEST_F(PrivateFolder, IsNotReachedThroughALink) {
  std::filesystem::create_directory(folder_ / "target");
  std::filesystem::create_directory_symlink(folder_ / "target", folder_ / "a");
  EXPECT_FALSE(Make("a"));
  EXPECT_EQ(error_, "the folder " + (folder_ / "a") + " cannot be used: Not a directory");
  EXPECT_NE(ModeOf("target"), 0700U);
}

TEST_F(PrivateFolder, FailsWhereAFileIsOrCannotBeMade) {
  folder_.Write("a", "");
  EXPECT_FALSE(Make("a"));
  EXPECT_EQ(error_, "the folder " + (folder_ / "a") + " cannot be used: Not a directory");
  EXPECT_FALSE(Make("a/b"));
  EXPECT_EQ(error_, "the folder " + (folder_ / "a/b") + " cannot be made: Not a directory");
}

TEST_F(PrivateFolder, OfAnotherUserIsRefused) {
  const std::string theirs = geteuid() == 0 ? folder_ / "theirs" : "/";  // only root can give a folder away
  if (geteuid() == 0) {
    std::filesystem::create_directory(theirs);
    ASSERT_EQ(chown(theirs.c_str(), 12345, 12345), 0);
  }
  EXPECT_FALSE(MakePrivateFolder(theirs, &error_));
  EXPECT_NE(error_.find("belongs to another user (number "), std::string::npos) << error_;
}

}  // namespace
}  // namespace posix
