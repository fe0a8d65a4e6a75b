#include "refhost/common/gzip_check.h"

#include <unistd.h>
#include <zlib.h>

#include <array>
#include <cerrno>
#include <vector>

namespace refhost {

namespace {

constexpr std::size_t kBufferSize = 65536;

class GzipStream {
 public:
  explicit GzipStream(int file) : file_(file), input_(kBufferSize), output_(kBufferSize) {
    constexpr int kGzipOnly = 16;
    ready_ = inflateInit2(&stream_, MAX_WBITS + kGzipOnly) == Z_OK;
  }
  GzipStream(const GzipStream&) = delete;
  GzipStream& operator=(const GzipStream&) = delete;
  ~GzipStream() { inflateEnd(&stream_); }

  GzipState Check(std::uintmax_t limit) {
    std::uintmax_t total = 0;
    bool hasEnded = false;
    while (ready_ && (stream_.avail_in > 0 || Fill())) {
      if (hasEnded) {
        if (stream_.next_in[0] != kFirstByte) {
          return GzipState::kWhole;
        }
        inflateReset(&stream_);
      }
      stream_.next_out = output_.data();
      stream_.avail_out = kBufferSize;
      const int result = inflate(&stream_, Z_NO_FLUSH);
      if (result != Z_OK && result != Z_STREAM_END) {
        return GzipState::kDamaged;
      }
      hasEnded = result == Z_STREAM_END;
      total += kBufferSize - stream_.avail_out;
      if (total > limit) {
        return GzipState::kTooLarge;
      }
    }
    return hasEnded ? GzipState::kWhole : GzipState::kDamaged;
  }

 private:
  static constexpr Bytef kFirstByte = 0x1f;  // of a member

  bool Fill() {
    for (;;) {
      const ssize_t size = pread(file_, input_.data(), input_.size(), position_);
      if (size < 0 && errno == EINTR) {
        continue;
      }
      if (size <= 0) {
        return false;
      }
      position_ += size;
      stream_.next_in = input_.data();
      stream_.avail_in = static_cast<uInt>(size);
      return true;
    }
  }

  const int file_;
  off_t position_ = 0;
  std::vector<Bytef> input_;
  std::vector<Bytef> output_;
  z_stream stream_{};
  bool ready_ = false;
};

}  // namespace

GzipState CheckGzip(int file, std::uintmax_t limit) {
  return GzipStream(file).Check(limit);
}

}  // namespace refhost
