// The one request whose bytes are not written out where it is defined.
#include "firmware/requests.h"

#include <gtest/gtest.h>

#include <iterator>

namespace kestrel {

namespace {

TEST(ChangeWriteModeRequest, CarriesThePhraseByteByByte) {
  const IpmiRequest request = ChangeWriteModeRequest();
  ASSERT_EQ(request.size(), 24U);
  EXPECT_EQ(request.front(), "36");
  EXPECT_EQ(*std::next(request.begin()), "03");
  std::string phrase;
  for (auto byte = std::next(request.begin(), 2); byte != request.end(); ++byte) {
    EXPECT_EQ(byte->size(), 2U) << *byte;
    phrase += *byte;
  }
  EXPECT_EQ(phrase, WRITE_MODE_PHRASE_BYTES);
}

}  // namespace
}  // namespace kestrel
