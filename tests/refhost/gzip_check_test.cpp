#include "refhost/common/gzip_check.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include "posix/file_descriptor.h"
#include "tests/refhost/support/archive_builder.h"
#include "tests/refhost/support/host_test.h"

namespace refhost {

namespace {

class Gzip : public HostTest {
 protected:
  GzipState Check(const std::string& bytes, std::uintmax_t limit = 1000000) const {
    const posix::FileDescriptor file(open(folder_.Write("stream", bytes).c_str(), O_RDONLY | O_CLOEXEC));
    const GzipState state = CheckGzip(file.Get(), limit);
    EXPECT_EQ(lseek(file.Get(), 0, SEEK_CUR), 0);
    return state;
  }

  const std::string stream_ =
      ArchiveBuilder().File("a", std::string(100000, 'a')).Build(ArchiveBuilder::Format::kTarGzip);
};

TEST_F(Gzip, AWholeStream) {
  EXPECT_EQ(Check(stream_), GzipState::kWhole);
  EXPECT_EQ(Check(stream_ + stream_), GzipState::kWhole);
  EXPECT_EQ(Check(stream_ + std::string(512, '\0')), GzipState::kWhole);
}

TEST_F(Gzip, AStreamThatIsDamagedAnywhereFails) {
  for (std::size_t at = 10; at < stream_.size(); ++at) {  // behind the header, most of which means nothing
    std::string damaged = stream_;
    damaged[at] = static_cast<char>(damaged[at] ^ 1);
    EXPECT_EQ(Check(damaged), GzipState::kDamaged) << at;
  }
}

TEST_F(Gzip, AStreamThatIsCutOffAnywhereFails) {
  for (std::size_t size = 0; size < stream_.size(); ++size) {
    EXPECT_EQ(Check(stream_.substr(0, size)), GzipState::kDamaged) << size;
  }
  EXPECT_EQ(Check(stream_ + stream_.substr(0, 20)), GzipState::kDamaged);
}

TEST_F(Gzip, AStreamThatStandsForTooMuchFails) {
  EXPECT_EQ(Check(stream_, 50000), GzipState::kTooLarge);
  EXPECT_EQ(Check(stream_ + stream_, 150000), GzipState::kTooLarge);
}

}  // namespace
}  // namespace refhost
