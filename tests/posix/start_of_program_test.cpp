// Each in a child: it is about what a whole program has.
#include "posix/start_of_program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <functional>

#include "tests/refhost/support/temporary_folder.h"

namespace posix {

namespace {

// The number of the line that failed in a child; 0 when none did.
int InAChild(const std::function<int()>& test) {
  const pid_t child = fork();
  if (child == 0) {
    _exit(test());
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(StartOfProgram, GivesNoFileTheNumberOfAStandardDescriptor) {
  for (int closed = 0; closed < 8; ++closed) {
    EXPECT_EQ(InAChild([closed] {
                for (int descriptor = 0; descriptor < 3; ++descriptor) {
                  if ((closed & (1 << descriptor)) != 0) {
                    close(descriptor);
                  }
                }
                if (!SettleInheritance()) {
                  return __LINE__;
                }
                return open("/dev/null", O_RDONLY) < 3 ? __LINE__ : 0;
              }),
              0)
        << closed;
  }
}

TEST(StartOfProgram, ClosedStreamsGoOnToFail) {
  EXPECT_EQ(InAChild([] {
              for (int descriptor = 0; descriptor < 3; ++descriptor) {
                close(descriptor);
              }
              if (!SettleInheritance()) {
                return __LINE__;
              }
              char byte = 'x';
              if (read(0, &byte, 1) != -1 || errno != EBADF) {
                return __LINE__;
              }
              return write(1, &byte, 1) != -1 || write(2, &byte, 1) != -1 || errno != EBADF ? __LINE__ : 0;
            }),
            0);
}

TEST(StartOfProgram, KeepsInheritedDescriptorsFromPrograms) {
  EXPECT_EQ(InAChild([] {
              const int inherited = open("/dev/null", O_RDONLY);
              const int far = dup2(inherited, 800);
              if (inherited < 0 || far != 800 || !SettleInheritance()) {
                return __LINE__;
              }
              for (const int descriptor : {inherited, far}) {
                if (fcntl(descriptor, F_GETFD) != FD_CLOEXEC) {
                  return __LINE__;
                }
              }
              return fcntl(STDERR_FILENO, F_GETFD) != 0 ? __LINE__ : 0;
            }),
            0);
}

TEST(StartOfProgram, NothingIsMadeThatOthersMayWrite) {
  const refhost::TemporaryFolder folder;
  EXPECT_EQ(InAChild([&] {
              umask(0);
              if (!SettleInheritance() || mkdir((folder / "made").c_str(), 0777) != 0) {
                return __LINE__;
              }
              umask(077);
              (void)SettleInheritance();
              return mkdir((folder / "closed").c_str(), 0777) != 0 ? __LINE__ : 0;
            }),
            0);
  struct stat status {};
  ASSERT_EQ(stat((folder / "made").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0755U);
  ASSERT_EQ(stat((folder / "closed").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0700U);
}

}  // namespace
}  // namespace posix
