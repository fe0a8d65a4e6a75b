// Whether a gzip stream is whole. The archive library reads such a stream without looking at its checksum and length,
// so a byte that was damaged on the way would reach the flash.
#ifndef REFHOST_COMMON_GZIP_CHECK_H
#define REFHOST_COMMON_GZIP_CHECK_H

#include <cstdint>

namespace refhost {

enum class GzipState {
  kWhole,
  kDamaged,   // or cut off
  kTooLarge,  // it stands for more than the limit
};

// Reads the gzip stream that the file behind the descriptor begins with, one or more members, up to `limit` bytes of
// what they stand for. What follows that is no member is left out. The file's position stays as it is.
[[nodiscard]] GzipState CheckGzip(int file, std::uintmax_t limit);

}  // namespace refhost

#endif  // REFHOST_COMMON_GZIP_CHECK_H
