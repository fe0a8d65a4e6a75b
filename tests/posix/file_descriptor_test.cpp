#include "posix/file_descriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <array>
#include <csignal>
#include <string>
#include <thread>

namespace posix {

namespace {

bool IsOpenInTheKernel(int descriptor) {
  return fcntl(descriptor, F_GETFD) >= 0;
}

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    read = FileDescriptor(ends[0]);
    write = FileDescriptor(ends[1]);
  }
  FileDescriptor read;
  FileDescriptor write;
};

TEST(FileDescriptor, ClosesWhatItOwnsWhenItGoes) {
  int number = -1;
  {
    const FileDescriptor owner(open("/dev/null", O_RDONLY | O_CLOEXEC));
    number = owner.Get();
    EXPECT_TRUE(owner.IsOpen());
    EXPECT_TRUE(IsOpenInTheKernel(number));
  }
  EXPECT_FALSE(IsOpenInTheKernel(number));
}

TEST(FileDescriptor, IsNoneByItselfAndAfterAFailedOpen) {
  FileDescriptor none;
  EXPECT_FALSE(none.IsOpen());
  none.Close();
  EXPECT_FALSE(FileDescriptor(open("/no such file", O_RDONLY | O_CLOEXEC)).IsOpen());
}

TEST(FileDescriptor, HandsItsDescriptorOn) {
  FileDescriptor from(open("/dev/null", O_RDONLY | O_CLOEXEC));
  const int number = from.Get();
  FileDescriptor to(std::move(from));
  EXPECT_EQ(to.Get(), number);
  FileDescriptor assigned;
  assigned = std::move(to);
  EXPECT_EQ(assigned.Get(), number);
  assigned.Close();
  EXPECT_FALSE(assigned.IsOpen());
  EXPECT_FALSE(IsOpenInTheKernel(number));
}

TEST(WriteAll, WritesMoreThanAPipeTakesAtOnce) {
  Pipe pipe;
  const std::string text(1U << 20U, 'x');
  std::string seen;
  std::thread reader([&] {
    std::array<char, 4096> buffer{};
    for (ssize_t size = 0; (size = read(pipe.read.Get(), buffer.data(), buffer.size())) > 0;) {
      seen.append(buffer.data(), static_cast<std::size_t>(size));
    }
  });
  const bool written = WriteAll(pipe.write.Get(), text.data(), text.size());
  pipe.write.Close();
  reader.join();
  EXPECT_TRUE(written);
  EXPECT_EQ(seen.size(), text.size());
}

TEST(WriteAll, FailsWithTheReasonInErrno) {
  const FileDescriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));
  ASSERT_TRUE(full.IsOpen());
  EXPECT_FALSE(WriteAll(full.Get(), "text", 4));
  EXPECT_EQ(errno, ENOSPC);
}

TEST(WriteAll, HasNothingToDoForAnEmptyText) {
  EXPECT_TRUE(WriteAll(-1, "", 0));
}

}  // namespace
}  // namespace posix
