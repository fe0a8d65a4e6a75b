// The firmware image of the virtual server: versions as text, and what makes an image whole.
#include "lab/bmc/firmware_image.h"

#include <gtest/gtest.h>

#include "tests/lab/bmc/images.h"

namespace kv6000 {

namespace {

constexpr Version kVersion{0x01, 0x24};

TEST(FirmwareVersion, ShowsBothBytesAsHexadecimalDigits) {
  EXPECT_EQ(Text({0x01, 0x24}), "01-24");
  EXPECT_EQ(Text({0x7f, 0xab}), "7f-ab");
}

TEST(FirmwareVersion, IsReadBackFromItsText) {
  EXPECT_EQ(ParseVersion("16-0a"), (Version{0x16, 0x0a}));
}

TEST(FirmwareVersion, FailsToBeReadInAnyOtherForm) {
  for (const char* text : {"", "01", "01-2", "1-23", "01.23", "01-2g", "0x-23", "01-23 ", "+1-23", "80-00"}) {
    EXPECT_EQ(ParseVersion(text), std::nullopt) << text;
  }
}

TEST(FirmwareImage, IsWholeWithMagicLengthAndChecksum) {
  const auto image = MakeImage(kVersion, 5000);
  EXPECT_EQ(CheckImage(image), ImageFault::kNone);
  ASSERT_TRUE(ReadHeader(image).has_value());
  EXPECT_EQ(ReadHeader(image)->version, kVersion);
  EXPECT_EQ(ReadHeader(image)->payloadLength, 5000U);
}

TEST(FirmwareImage, FailsWithAnotherMagic) {
  auto image = MakeImage(kVersion, 100);
  image[7] = '2';
  EXPECT_EQ(CheckImage(image), ImageFault::kMagic);
}

TEST(FirmwareImage, FailsShorterThanItsHeader) {
  auto image = MakeImage(kVersion, 100);
  image.resize(ImageHeader::kSize - 1);
  EXPECT_EQ(CheckImage(image), ImageFault::kMagic);
  EXPECT_EQ(CheckImage({}), ImageFault::kMagic);
}

TEST(FirmwareImage, FailsWithoutPayload) {
  EXPECT_EQ(CheckImage(MakeImage(kVersion, 0)), ImageFault::kMagic);
}

TEST(FirmwareImage, FailsWithTheAvailabilityBitInItsMajor) {
  EXPECT_EQ(CheckImage(MakeImage({0x81, 0x00}, 100)), ImageFault::kMagic);
}

TEST(FirmwareImage, FailsLongerOrShorterThanItsHeaderSays) {
  auto image = MakeImage(kVersion, 100);
  image.push_back(0);
  EXPECT_EQ(CheckImage(image), ImageFault::kLength);
  image.resize(image.size() - 2);
  EXPECT_EQ(CheckImage(image), ImageFault::kLength);
}

TEST(FirmwareImage, FailsWithOneChangedBit) {
  auto image = MakeImage(kVersion, 100);
  image.back() ^= 1U;
  EXPECT_EQ(CheckImage(image), ImageFault::kChecksum);
}

}  // namespace
}  // namespace kv6000
