// SHA-256 of bytes that come in pieces.
#ifndef REFHOST_COMMON_SHA256_H
#define REFHOST_COMMON_SHA256_H

#include <nettle/sha2.h>

#include <cstddef>
#include <string>

namespace refhost {

class Sha256 {
 public:
  Sha256();

  void Add(const char* bytes, std::size_t size);

  // Of all that was added, as 64 hexadecimal digits in lower case; begins anew.
  [[nodiscard]] std::string TakeDigest();

 private:
  sha256_ctx context_{};
};

}  // namespace refhost

#endif  // REFHOST_COMMON_SHA256_H
