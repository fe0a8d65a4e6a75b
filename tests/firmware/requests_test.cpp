// The one request whose bytes are not written out where it is defined.
#include "firmware/requests.h"

#include <gtest/gtest.h>

#include <iterator>

namespace kestrel {
namespace {

TEST(ChangeWriteModeRequest, CarriesThePhraseByteByByte) {
  ASSERT_EQ(kChangeWriteMode.size(), 24U);
  EXPECT_EQ(kChangeWriteMode.front(), "36");
  EXPECT_EQ(*std::next(kChangeWriteMode.begin()), "03");
  std::string phrase;
  for (auto byte = std::next(kChangeWriteMode.begin(), 2); byte != kChangeWriteMode.end(); ++byte) {
    EXPECT_EQ(byte->size(), 2U) << *byte;
    phrase += *byte;
  }
  EXPECT_EQ(phrase, WRITE_MODE_PHRASE_BYTES);
}

}  // namespace
}  // namespace kestrel
