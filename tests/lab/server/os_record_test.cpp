// The OS information record as the lab decodes it.
#include "lab/server/os_record.h"

#include <gtest/gtest.h>

#include "tests/lab/bmc/images.h"

namespace kv6000 {

namespace {

using Items = std::vector<std::pair<std::string, std::string>>;

// An OS name of 7 and a host name of 5 characters: 16 bytes of header and 32 after them.
std::vector<std::uint8_t> Example() {
  std::vector<std::uint8_t> bytes(8, 0x00);
  bytes.insert(bytes.end(), {48, 0, 0, 0, 0, 0, 0, 0});
  const auto append = [&bytes](std::initializer_list<std::uint8_t> length, std::string_view text) {
    bytes.insert(bytes.end(), length);
    const auto letters = TextBytes(text);
    bytes.insert(bytes.end(), letters.begin(), letters.end());
    bytes.push_back(0);
  };
  append({3}, "OS");
  append({8, 0}, "Linux 9");
  append({9}, "Hostname");
  append({6, 0}, "rack1");
  return bytes;
}

TEST(OsRecordReader, ReadsNamesAndValues) {
  ASSERT_EQ(Example().size(), 48U);
  const auto record = ReadOsRecord(Example());
  EXPECT_EQ(record.fault, "");
  EXPECT_EQ(record.items, (Items{{"OS", "Linux 9"}, {"Hostname", "rack1"}}));
}

TEST(OsRecordReader, FailsWithWhatIsWrongWithTheHeader) {
  EXPECT_EQ(ReadOsRecord({}).fault, "shorter than its header of 16 bytes");
  auto bytes = Example();
  bytes.pop_back();
  EXPECT_EQ(ReadOsRecord(bytes).fault, "says 48 bytes and has 47");
  bytes = Example();
  bytes[12] = 1;
  EXPECT_EQ(ReadOsRecord(bytes).fault, "has reserved bytes that are not zero");
}

TEST(OsRecordReader, FailsAtAFaultButReadsTheItemsBeforeIt) {
  auto bytes = Example();
  bytes.back() = 'x';
  const auto record = ReadOsRecord(bytes);
  EXPECT_EQ(record.items, (Items{{"OS", "Linux 9"}}));
  EXPECT_EQ(record.fault, "item 2 is cut off or lacks a zero byte");
}

}  // namespace
}  // namespace kv6000
