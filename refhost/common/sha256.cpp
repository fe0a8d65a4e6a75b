#include "refhost/common/sha256.h"

#include <array>
#include <cstdint>

namespace refhost {

Sha256::Sha256() {
  sha256_init(&context_);
}

void Sha256::Add(const char* bytes, std::size_t size) {
  sha256_update(&context_, size, reinterpret_cast<const uint8_t*>(bytes));
}

std::string Sha256::TakeDigest() {
  std::array<uint8_t, SHA256_DIGEST_SIZE> digest{};
  sha256_digest(&context_, digest.size(), digest.data());
  constexpr const char* kDigits = "0123456789abcdef";
  std::string text;
  for (const uint8_t byte : digest) {
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 0xfU];
  }
  return text;
}

}  // namespace refhost
