// What the order "files" says of the config files, above all what the stored OS record says.
#include "lab/server/description.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace kv6000 {

namespace {

using Json = nlohmann::json;

// An OS record with one item, the OS name "Linux".
Bytes Record() {
  Bytes record(8);
  record.insert(record.end(), {28, 0, 0, 0, 0, 0, 0, 0, 3, 'O', 'S', 0, 6, 0, 'L', 'i', 'n', 'u', 'x', 0});
  return record;
}

class TheFiles : public testing::Test {
 protected:
  void Store(std::uint8_t file, const Bytes& record) {
    Send(0x6a, {0x05, file, 0x01, 0, 0, 0, 0, 0});
    Write(file, record);
    Write(file, {0x51, 0x54, 0x4c, 0x4d, 0x50});
    Send(0x6b, {0x05, file, 0, 0, 0, 0, 0, 0});
  }
  [[nodiscard]] Json Described(const char* file) const { return DescribeFiles(files_).at(file); }

 private:
  void Write(std::uint8_t file, const Bytes& piece) {
    Bytes data = {0x05, file, 0, 0, 0, 0, 0, 0};
    data.insert(data.end(), piece.begin(), piece.end());
    Send(0x69, data);
  }
  void Send(std::uint8_t cmd, const Bytes& data) { ASSERT_EQ(RunCommand(files_, 0x3c, cmd, data), Bytes{kOk}); }

  ConfigFiles files_{0x03};
};

TEST_F(TheFiles, SayNothingBeforeTheyAreStored) {
  const Json never = {{"locked", false}, {"signed", false}, {"incoming", ""}, {"stored", nullptr}, {"announced", 0}};
  EXPECT_EQ(DescribeFiles(ConfigFiles(0x03)), (Json{{"40", never}, {"41", never}}));
}

TEST_F(TheFiles, AreDecodedOnlyWhenTheyHoldTheOsRecord) {
  Store(0x40, Record());
  Store(0x41, Record());
  EXPECT_EQ(Described("40").at("decoded"), (Json{{"OS", "Linux"}}));
  EXPECT_EQ(Described("41").at("stored"), Described("40").at("stored"));
  EXPECT_FALSE(Described("41").contains("decoded"));
}

TEST_F(TheFiles, SayWhatIsWrongWithADamagedOsRecord) {
  Bytes damaged = Record();
  damaged.push_back('x');
  damaged[8] = static_cast<std::uint8_t>(damaged.size());
  Store(0x40, damaged);
  EXPECT_EQ(Described("40").at("decoded"),
            (Json{{"OS", "Linux"}, {"fault", "item 2 is cut off or lacks a zero byte"}}));
  Store(0x40, {0});
  EXPECT_EQ(Described("40").at("decoded"), (Json{{"fault", "shorter than its header of 16 bytes"}}));
}

}  // namespace
}  // namespace kv6000
