// The version text inside one sensor data record: the marker, and every length byte against every size near its bound.
#include "firmware/sdr_record.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>

namespace kestrel {

namespace {

using State = SdrVersionField::State;

const std::string kMarkerDigits = "5344522056657273696F6E20";

// Record with that length byte and the version's digits behind the marker.
std::string Record(const std::string& lengthByte, const std::string& versionDigits) {
  return "FFFF010051C0" + lengthByte + "000000" + kMarkerDigits + versionDigits;
}

std::string Hex(int byte) {
  std::array<char, 9> text{};
  std::snprintf(text.data(), text.size(), "%02X", static_cast<unsigned int>(byte));
  return text.data();
}

// `count` letters, and their digits.
std::string Letters(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += static_cast<char>('A' + i % 26);
  }
  return text;
}

std::string LetterDigits(int count) {
  std::string digits;
  for (int i = 0; i < count; ++i) {
    digits += Hex('A' + i % 26);
  }
  return digits;
}

testing::AssertionResult Is(const SdrVersionField& field, State state, const std::string& version = "") {
  if (field.state == state && field.version == version) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << "state " << static_cast<int>(field.state) << ", version \"" << field.version
                                     << "\"";
}

TEST(SdrRecord, CarriesAsManyCharactersAsItsLengthPromises) {
  EXPECT_TRUE(Is(FindSdrVersion(Record("1A", "312E30322D523130203030")), State::kFound, "1.02-R10 00"));
  EXPECT_TRUE(Is(FindSdrVersion(Record("11", "41312020")), State::kFound, "A1"));
  EXPECT_TRUE(Is(FindSdrVersion(Record("0F", "4131")), State::kFound, ""));
}

TEST(SdrRecord, WithoutTheMarkerIsPassedOver) {
  for (const std::string& record :
       {std::string(), std::string("FFFF"), std::string("FFFF010051C011000000"), std::string(43, '0'),
        std::string(44, '0'), std::string(2000, '5'), Record("11", "4131").substr(0, 43),
        "FFFF010051C011000000" + std::string("5344522056657273696F6E21") + "4131",  // another last character
        "FFFF010051C011000000" + std::string("5344522076657273696F6E20") + "4131",  // another case of the text
        "FFFF010051C011000000" + std::string("5344522056657273696f6e20") + "4131",  // another case of the digits
        "FFFF010051C01100000" + kMarkerDigits + "4131",                             // one digit too early
        "FFFF010051C0110000000" + kMarkerDigits + "4131"}) {                        // one digit too late
    SCOPED_TRACE(record);
    EXPECT_TRUE(Is(FindSdrVersion(record), State::kNoMarker));
  }
}

TEST(SdrRecord, OfTheMarkerAloneHasAnEmptyVersion) {
  EXPECT_TRUE(Is(FindSdrVersion(Record("0F", "")), State::kFound, ""));
  EXPECT_TRUE(Is(FindSdrVersion(Record("00", "")), State::kFound, ""));
  EXPECT_TRUE(Is(FindSdrVersion(Record("10", "")), State::kTruncated));
}

TEST(SdrRecord, WithALengthThatLeavesNoRoomForAVersionGivesItsRest) {
  for (int length = 0; length < 15; ++length) {
    for (const int held : {0, 1, 2, 30, 31, 300}) {
      SCOPED_TRACE(Hex(length) + " with " + std::to_string(held));
      EXPECT_TRUE(Is(FindSdrVersion(Record(Hex(length), LetterDigits(held))), State::kFound, Letters(held)));
    }
  }
}

TEST(SdrRecord, EveryOtherLengthIsTakenExactlyOrRefused) {
  for (int length = 15; length <= 255; ++length) {
    const int promised = length - 15;
    SCOPED_TRACE(Hex(length));
    EXPECT_TRUE(Is(FindSdrVersion(Record(Hex(length), LetterDigits(promised))), State::kFound, Letters(promised)));
    EXPECT_TRUE(Is(FindSdrVersion(Record(Hex(length), LetterDigits(promised + 1))), State::kFound, Letters(promised)));
    EXPECT_TRUE(Is(FindSdrVersion(Record(Hex(length), LetterDigits(300))), State::kFound, Letters(promised)));
    EXPECT_TRUE(
        Is(FindSdrVersion(Record(Hex(length), LetterDigits(promised) + "4")), State::kFound, Letters(promised)));
    if (promised > 0) {
      EXPECT_TRUE(Is(FindSdrVersion(Record(Hex(length), LetterDigits(promised - 1))), State::kTruncated));
      EXPECT_TRUE(Is(FindSdrVersion(Record(Hex(length), LetterDigits(promised - 1) + "4")), State::kTruncated));
      EXPECT_TRUE(Is(FindSdrVersion(Record(Hex(length), "")), State::kTruncated));
    }
  }
}

TEST(SdrRecord, WithALengthThatIsNoNumberGivesItsRest) {
  EXPECT_TRUE(Is(FindSdrVersion(Record("ZZ", "4131")), State::kFound, "A1"));
  EXPECT_TRUE(Is(FindSdrVersion(Record("Z9", "4131")), State::kFound, "A1"));
  EXPECT_TRUE(Is(FindSdrVersion(Record("1Z", "4131")), State::kFound, "A"));
}

TEST(SdrRecord, WithASingleDigitLeftOverEndsInAZeroByte) {
  EXPECT_TRUE(Is(FindSdrVersion(Record("00", "41313")), State::kFound, std::string("A1\0", 3)));
}

TEST(SdrRecord, VersionMayHoldAnyByte) {
  EXPECT_TRUE(Is(FindSdrVersion(Record("14", "0041FF0ZG1")), State::kFound, std::string("\0A\xff\0\x01", 5)));
}

}  // namespace
}  // namespace kestrel
