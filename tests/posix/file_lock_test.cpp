#include "posix/file_lock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include "tests/refhost/support/temporary_folder.h"

namespace posix {

namespace {

class FileLock : public testing::Test {
 protected:
  FileDescriptor Open(int flags = O_RDWR | O_CREAT) const {
    return FileDescriptor(open((folder_ / "lock").c_str(), flags | O_CLOEXEC, 0600));
  }

  const refhost::TemporaryFolder folder_;
};

TEST_F(FileLock, IsTakenOnceHoweverOftenTheFileIsOpened) {
  const FileDescriptor first = Open();
  const FileDescriptor second = Open();
  EXPECT_EQ(TakeLock(first), LockAnswer::kYes);
  EXPECT_EQ(TakeLock(second), LockAnswer::kNo);
  EXPECT_EQ(TakeLock(first), LockAnswer::kYes);
  ReleaseLock(first);
  EXPECT_EQ(TakeLock(second), LockAnswer::kYes);
}

TEST_F(FileLock, IsSeenWithoutBeingTakenByWhoMayOnlyRead) {
  const FileDescriptor holder = Open();
  const FileDescriptor reader = Open(O_RDONLY);
  EXPECT_EQ(IsLocked(reader), LockAnswer::kNo);
  EXPECT_EQ(TakeLock(holder), LockAnswer::kYes) << "asking took it";
  EXPECT_EQ(IsLocked(reader), LockAnswer::kYes);
  EXPECT_EQ(IsLocked(holder), LockAnswer::kNo) << "its own";
}

TEST_F(FileLock, OutlivesAnotherDescriptorOfTheSameFileInThisProcess) {
  const FileDescriptor holder = Open();
  ASSERT_EQ(TakeLock(holder), LockAnswer::kYes);
  Open().Close();
  EXPECT_EQ(IsLocked(Open(O_RDONLY)), LockAnswer::kYes);
}

TEST_F(FileLock, IsSharedByAChildAndEndsWithTheLastHolder) {
  FileDescriptor holder = Open();
  ASSERT_EQ(TakeLock(holder), LockAnswer::kYes);
  int gate[2];
  ASSERT_EQ(pipe(gate), 0);
  const pid_t child = fork();
  if (child == 0) {
    close(gate[1]);
    char byte = 0;
    (void)!read(gate[0], &byte, 1);
    _exit(0);
  }
  close(gate[0]);
  holder.Close();
  EXPECT_EQ(IsLocked(Open(O_RDONLY)), LockAnswer::kYes);
  close(gate[1]);
  EXPECT_EQ(waitpid(child, nullptr, 0), child);
  EXPECT_EQ(IsLocked(Open(O_RDONLY)), LockAnswer::kNo);
}

TEST_F(FileLock, IsUnknownWhereNothingCanBeLocked) {
  EXPECT_EQ(TakeLock(FileDescriptor()), LockAnswer::kUnknown);
  EXPECT_EQ(IsLocked(FileDescriptor()), LockAnswer::kUnknown);
  EXPECT_EQ(errno, EBADF);
}

}  // namespace
}  // namespace posix
