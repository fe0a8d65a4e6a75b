#include "refhost/common/sha256.h"

#include <gtest/gtest.h>

namespace refhost {

namespace {

std::string DigestOf(const std::string& text) {
  Sha256 digest;
  digest.Add(text.data(), text.size());
  return digest.TakeDigest();
}

// The examples of the standard (FIPS 180-4).
TEST(Sha256, OfKnownTexts) {
  EXPECT_EQ(DigestOf(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(DigestOf("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(DigestOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
}

TEST(Sha256, OfATextInPieces) {
  Sha256 digest;
  digest.Add("a", 1);
  digest.Add("bc", 2);
  EXPECT_EQ(digest.TakeDigest(), DigestOf("abc"));
  EXPECT_EQ(digest.TakeDigest(), DigestOf(""));
}

}  // namespace
}  // namespace refhost
