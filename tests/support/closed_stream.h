// Hosts that were started without standard input, output or error: the next file that they open gets that number.
#ifndef TESTS_SUPPORT_CLOSED_STREAM_H
#define TESTS_SUPPORT_CLOSED_STREAM_H

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

// Keeps the standard stream of this number closed as long as it lives. What fails meanwhile may not be seen.
class ClosedStream {
 public:
  explicit ClosedStream(int stream) : stream_(stream), kept_(fcntl(stream, F_DUPFD_CLOEXEC, 10)) {
    std::fflush(nullptr);
    close(stream_);
  }
  ~ClosedStream() {
    dup2(kept_, stream_);
    close(kept_);
  }

  ClosedStream(const ClosedStream&) = delete;
  ClosedStream& operator=(const ClosedStream&) = delete;

 private:
  const int stream_;
  const int kept_;
};

#endif  // TESTS_SUPPORT_CLOSED_STREAM_H
