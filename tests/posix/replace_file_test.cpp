#include "posix/replace_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/refhost/support/temporary_folder.h"

namespace posix {

namespace {

class Replacing : public testing::Test {
 protected:
  std::size_t Files() const {
    const std::filesystem::directory_iterator entries(folder_.Path());
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
  }

  const refhost::TemporaryFolder folder_;
  std::string error_;
};

TEST_F(Replacing, LeavesTheNewFileAloneWithItsMode) {
  folder_.Write("file", "something that is longer");
  ASSERT_TRUE(ReplaceFile(folder_ / "file", "new", 0600, &error_)) << error_;
  EXPECT_EQ(folder_.Read("file"), "new");
  EXPECT_EQ(Files(), 1U);
  struct stat status {};
  ASSERT_EQ(stat((folder_ / "file").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(Replacing, FailsWithTheOldFileUntouched) {
  folder_.Write("folder/file", "");
  EXPECT_FALSE(ReplaceFile(folder_ / "folder", "new", 0600, &error_));
  EXPECT_EQ(error_, "cannot write " + (folder_ / "folder") + ": Is a directory");
  EXPECT_EQ(Files(), 1U);
  EXPECT_FALSE(ReplaceFile(folder_ / "missing/file", "new", 0600, &error_));
  EXPECT_EQ(error_, "cannot create a file beside " + (folder_ / "missing/file") + ": No such file or directory");
}

TEST_F(Replacing, OfAKilledProcessIsTidiedUp) {
  for (const char* name : {"file.aB3xYz", "file.000000"}) {
    folder_.Write(name, "half");
  }
  for (const char* name :
       {"file", "file.damaged-1", "file.aB3xY", "file.aB3xYzz", "file-aB3xYz", "file.aB3-Yz", "xfile.aB3xYz"}) {
    folder_.Write(name, "kept");
  }
  std::filesystem::create_directory(folder_ / "file.folder");  // no file
  RemoveUnfinished(folder_ / "file");
  EXPECT_EQ(Files(), 8U);
  EXPECT_EQ(folder_.Read("file"), "kept");
  EXPECT_FALSE(std::filesystem::exists(folder_ / "file.aB3xYz"));
  RemoveUnfinished(folder_ / "missing/file");
}

}  // namespace
}  // namespace posix
