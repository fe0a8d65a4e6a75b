// The SDR repository: what is read from it record by record, and how an update fills the standby.
#include "lab/bmc/sdr_repository.h"

#include <gtest/gtest.h>

#include "tests/lab/bmc/images.h"

namespace kv6000 {

namespace {

// A record of the type whose body is the text.
Bytes Record(std::uint8_t type, std::string_view text) {
  Bytes record = {0x00, 0x00, 0x51, type, static_cast<std::uint8_t>(text.size())};
  const auto letters = TextBytes(text);
  record.insert(record.end(), letters.begin(), letters.end());
  return record;
}

Bytes VersionRecord(const std::string& version) {
  return Record(0xc0, std::string("\x91\x12\x00", 3) + "SDR Version " + version);
}

class TheSdrRepository : public testing::Test {
 protected:
  Bytes Send(std::uint8_t cmd, const Bytes& data = {}) {
    return RunCommand(sdr_, 0x0a, cmd, data).value_or(Bytes{kInvalidCommand});
  }
  Bytes Get(unsigned number, std::uint8_t offset = 0, std::uint8_t count = 0xff, unsigned reservation = 0) {
    return Send(0x23, {static_cast<std::uint8_t>(reservation), static_cast<std::uint8_t>(reservation >> 8U),
                       static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(number >> 8U), offset, count});
  }
  static SdrRepository::Records ManyRecords(std::size_t count) {
    return SdrRepository::Records(count, Record(0x03, "a sensor of a length that is usual for sensor records"));
  }

  SdrRepository sdr_{{Record(0x03, "one"), VersionRecord("A1"), Record(0x03, "three")}, {3}};
};

TEST_F(TheSdrRepository, AnswersItsCountLowByteFirst) {
  const Bytes answer = Send(0x20);
  ASSERT_EQ(answer.size(), 15U);
  EXPECT_EQ(Bytes(answer.begin(), answer.begin() + 4), (Bytes{kOk, 0x51, 0x03, 0x00}));
  sdr_ = SdrRepository(ManyRecords(600), {});
  EXPECT_EQ(Send(0x20)[2], 0x58);
  EXPECT_EQ(Send(0x20)[3], 0x02);
}

TEST_F(TheSdrRepository, GivesTheNumberOfTheNextRecordThenTheWholeRecordAndNothingElse) {
  EXPECT_EQ(Get(1), (Bytes{kOk, 0x02, 0x00, 0x01, 0x00, 0x51, 0x03, 0x03, 'o', 'n', 'e'}));
  sdr_ = SdrRepository(ManyRecords(600), {});
  const Bytes answer = Get(0x0201);
  EXPECT_EQ(Bytes(answer.begin(), answer.begin() + 5), (Bytes{kOk, 0x02, 0x02, 0x01, 0x02}));
  EXPECT_EQ(answer.size(), 3 + ManyRecords(1)[0].size());
}

TEST_F(TheSdrRepository, KnowsTheFirstAndTheLastRecordByTheirOwnNumbers) {
  sdr_ = SdrRepository(ManyRecords(2), {});
  EXPECT_EQ(Get(0x0000)[3], 0x01);
  const Bytes last = Get(0xffff);
  EXPECT_EQ(Bytes(last.begin(), last.begin() + 4), (Bytes{kOk, 0xff, 0xff, 0x02}));
}

TEST_F(TheSdrRepository, FailsToGiveARecordThatIsNotThereOrCannotBeRead) {
  EXPECT_EQ(Get(4), Bytes{kNoSuchRecord});
  EXPECT_EQ(Get(3), Bytes{kCannotAnswer});
  sdr_ = SdrRepository({}, {});
  EXPECT_EQ(Get(1), Bytes{kNoSuchRecord});
  EXPECT_EQ(Get(0), Bytes{kNoSuchRecord});
  EXPECT_EQ(Get(0xffff), Bytes{kNoSuchRecord});
}

TEST_F(TheSdrRepository, GivesPiecesOfARecordUnderTheCurrentReservation) {
  EXPECT_EQ(Get(1, 5, 2), (Bytes{kOk, 0x02, 0x00, 'o', 'n'}));
  EXPECT_EQ(Send(0x22), (Bytes{kOk, 0x01, 0x00}));
  EXPECT_EQ(Get(1, 5, 2, 1), (Bytes{kOk, 0x02, 0x00, 'o', 'n'}));
  EXPECT_EQ(Get(1, 0, 5), (Bytes{kOk, 0x02, 0x00, 0x01, 0x00, 0x51, 0x03, 0x03}));
  EXPECT_EQ(Get(1, 7, 9, 1), (Bytes{kOk, 0x02, 0x00, 'e'}));
  EXPECT_EQ(Get(1, 9, 1, 1), Bytes{kOutOfRange});
  Send(0x22);
  EXPECT_EQ(Get(1, 5, 2, 1), Bytes{kReservationLost});
}

TEST_F(TheSdrRepository, IsRenewedByAnUpdateOnceTheStandbyIsTaken) {
  sdr_.BeginUpdate();
  EXPECT_EQ(Send(0x24, Record(0x03, "new")), (Bytes{kOk, 0x01, 0x00}));
  EXPECT_EQ(Send(0x24, VersionRecord("A2")), (Bytes{kOk, 0x02, 0x00}));
  EXPECT_FALSE(sdr_.Standby().has_value());
  EXPECT_EQ(Send(0x2b), Bytes{kOk});
  ASSERT_TRUE(sdr_.Standby().has_value());
  EXPECT_EQ(SdrVersion(*sdr_.Standby()), "A2");
  EXPECT_EQ(SdrVersion(sdr_.AllRecords()), "A1");
  sdr_.TakeStandby();
  EXPECT_EQ(SdrVersion(sdr_.AllRecords()), "A2");
  EXPECT_EQ(Send(0x20)[2], 0x02);
  EXPECT_FALSE(sdr_.Standby().has_value());
}

TEST_F(TheSdrRepository, StaysAsItIsWithoutAStandby) {
  sdr_.TakeStandby();
  EXPECT_EQ(SdrVersion(sdr_.AllRecords()), "A1");
}

TEST_F(TheSdrRepository, TakesRecordsOnlyInAnUpdateAndOnlyWholeOnes) {
  EXPECT_EQ(Send(0x24, Record(0x03, "new")), Bytes{kWrongState});
  EXPECT_EQ(Send(0x2b), Bytes{kWrongState});
  sdr_.BeginUpdate();
  EXPECT_EQ(Send(0x2b), Bytes{kWrongState});  // an empty repository is none
  Bytes record = Record(0x03, "new");
  record.pop_back();
  EXPECT_EQ(Send(0x24, record), Bytes{kInvalidData});
  record = Record(0x03, "new");
  record[2] = 0x50;
  EXPECT_EQ(Send(0x24, record), Bytes{kInvalidData});
  EXPECT_EQ(Send(0x24, Bytes(SdrRepository::kLongestRecord + 1, 0x00)), Bytes{kWrongLength});
}

TEST_F(TheSdrRepository, IsFullAfterItsMostRecords) {
  sdr_.BeginUpdate();
  for (std::size_t i = 0; i < SdrRepository::kMostRecords; ++i) {
    ASSERT_EQ(Send(0x24, Record(0x03, "new"))[0], kOk);
  }
  EXPECT_EQ(Send(0x24, Record(0x03, "new")), Bytes{kNoSpace});
}

TEST_F(TheSdrRepository, DropsTheStandbyWhenANewUpdateBeginsAndAnUpdateThatIsCutOff) {
  sdr_.BeginUpdate();
  Send(0x24, VersionRecord("A2"));
  Send(0x2b);
  sdr_.BeginUpdate();
  EXPECT_FALSE(sdr_.Standby().has_value());
  EXPECT_TRUE(sdr_.IsUpdating());
  Send(0x24, VersionRecord("A3"));
  sdr_.EndUpdate();
  EXPECT_EQ(Send(0x2b), Bytes{kWrongState});
  EXPECT_FALSE(sdr_.Standby().has_value());
}

TEST(SdrVersionText, IsFoundInTheRecordThatHoldsIt) {
  EXPECT_EQ(SdrVersion({Record(0x03, "one"), VersionRecord(""), Record(0x03, "three")}), "");
  EXPECT_EQ(SdrVersion({Record(0xc0, "\x91\x12"), VersionRecord("2.10")}), "2.10");
  EXPECT_EQ(SdrVersion({Record(0x03, "...SDR Version 9")}), "");
  EXPECT_EQ(SdrVersion({}), "");
}

}  // namespace
}  // namespace kv6000
