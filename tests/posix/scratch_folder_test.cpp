#include "posix/scratch_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace posix {

namespace {

TEST(ScratchFolder, IsOnlyItsOwnersAndGoesWithWhatItHolds) {
  std::string path;
  {
    const ScratchFolder folder(testing::TempDir(), "name");
    const ScratchFolder other(testing::TempDir(), "name");
    EXPECT_NE(folder.Path(), other.Path());
    path = folder.Path();
    EXPECT_TRUE(std::filesystem::path(path).is_absolute());
    struct stat status {};
    ASSERT_EQ(lstat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0700U);
    std::filesystem::create_directory(path + "/sub");
    std::ofstream(path + "/sub/file") << "x";
  }
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(ScratchFolder, FailsWhereNoneCanBeMade) {
  try {
    const ScratchFolder folder("/proc/nothing", "name");
    FAIL() << folder.Path();
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code().value(), ENOENT);
    EXPECT_EQ(std::string(error.what()), "none can be made in /proc/nothing: No such file or directory");
  }
}

}  // namespace
}  // namespace posix
