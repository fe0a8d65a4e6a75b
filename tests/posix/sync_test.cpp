#include "posix/sync.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "tests/refhost/support/temporary_folder.h"

namespace posix {

namespace {

// What reaches the disk is seen by the simulation, which loses the power.
TEST(Syncing, TakesAFolderAndNothingElse) {
  const refhost::TemporaryFolder folder;
  folder.Write("file", "text");
  for (const auto sync : {SyncFolder, SyncFileSystem}) {
    EXPECT_TRUE(sync(folder.Path()));
    EXPECT_FALSE(sync(folder / "file"));
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_FALSE(sync(folder / "missing"));
    EXPECT_EQ(errno, ENOENT);
  }
}

}  // namespace
}  // namespace posix
