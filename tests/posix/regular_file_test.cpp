#include "posix/regular_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "tests/refhost/support/temporary_folder.h"

namespace posix {

namespace {

class RegularFile : public testing::Test {
 protected:
  // Why `name` cannot be read; 0 when it can.
  int Refusal(const std::string& name, std::size_t limit = 100000) const {
    errno = 0;
    return ReadRegularFile(folder_ / name, limit) ? 0 : errno;
  }

  const refhost::TemporaryFolder folder_;
};

TEST_F(RegularFile, IsReadToItsEnd) {
  const std::string content = std::string(10000, 'x') + '\0' + "\n";
  folder_.Write("file", content);
  EXPECT_EQ(ReadRegularFile(folder_ / "file", 100000), content);
  folder_.Write("empty", "");
  EXPECT_EQ(ReadRegularFile(folder_ / "empty", 0), "");
  EXPECT_EQ(ReadRegularFile("/proc/self/comm", 100), "posix_tests\n") << "has no size of its own";
}

TEST_F(RegularFile, ThatIsLongerThanAllowedIsNotRead) {
  folder_.Write("file", "12345");
  EXPECT_EQ(Refusal("file", 5), 0);
  EXPECT_EQ(Refusal("file", 4), EFBIG);
  EXPECT_EQ(ReadStartOfRegularFile(folder_ / "file", 4), "1234");
  EXPECT_EQ(ReadStartOfRegularFile(folder_ / "file", 9), "12345");
}

TEST_F(RegularFile, IsNotWaitedForWhereSomethingElseStands) {
  EXPECT_EQ(Refusal("missing"), ENOENT);
  ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(Refusal("pipe"), EINVAL);
  EXPECT_EQ(Refusal("."), EINVAL);
  EXPECT_EQ(Refusal("/dev/zero"), EINVAL);
  EXPECT_FALSE(ReadStartOfRegularFile(folder_ / "pipe", 1));
}

}  // namespace
}  // namespace posix
