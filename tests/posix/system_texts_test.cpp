#include <gtest/gtest.h>

#include <cerrno>

#include "posix/boot_id.h"
#include "posix/last_error.h"

namespace posix {

namespace {

TEST(ErrorText, IsTheSystemsOwn) {
  EXPECT_EQ(ErrorText(ENOENT), "No such file or directory");
  errno = EACCES;
  EXPECT_EQ(LastError(), "Permission denied");
}

TEST(BootId, IsTheSameUntilTheMachineRestarts) {
  EXPECT_EQ(BootId().size(), 36U);
  EXPECT_EQ(BootId(), BootId());
}

}  // namespace
}  // namespace posix
