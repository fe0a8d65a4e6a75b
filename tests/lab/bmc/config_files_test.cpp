// The service processor's config files: what a transfer needs, what it leaves, and what is refused.
#include "lab/bmc/config_files.h"

#include <gtest/gtest.h>

namespace kv6000 {

namespace {

const Bytes kSignature = {0x51, 0x54, 0x4c, 0x4d, 0x50};

class TheConfigFiles : public testing::Test {
 protected:
  Bytes Send(std::uint8_t netfn, std::uint8_t cmd, const Bytes& data = {}) {
    return RunCommand(files_, netfn, cmd, data).value_or(Bytes{kInvalidCommand});
  }
  Bytes Lock(std::uint8_t file = 0x40) { return Send(0x3c, 0x6a, {0x05, file, 0x01, 0, 0, 0, 0, 0}); }
  Bytes Unlock(std::uint8_t file = 0x40) { return Send(0x3c, 0x6b, {0x05, file, 0, 0, 0, 0, 0, 0}); }
  Bytes Write(std::size_t offset, const Bytes& bytes, std::uint8_t file = 0x40) {
    Bytes data = {0x05,
                  file,
                  0,
                  0,
                  static_cast<std::uint8_t>(offset),
                  static_cast<std::uint8_t>(offset >> 8U),
                  static_cast<std::uint8_t>(offset >> 16U),
                  static_cast<std::uint8_t>(offset >> 24U)};
    data.insert(data.end(), bytes.begin(), bytes.end());
    return Send(0x3c, 0x69, data);
  }
  Bytes Sign(std::uint8_t file = 0x40) { return Write(0, kSignature, file); }
  [[nodiscard]] std::optional<Bytes> Stored(std::uint8_t file = 0x40) const { return files_.Files().at(file).stored; }

  ConfigFiles files_{0x03};
};

TEST_F(TheConfigFiles, AnswerTheSupportFlagsIn17thPlace) {
  const Bytes answer = Send(0x3c, 0x04);
  ASSERT_EQ(answer.size(), 18U);
  EXPECT_EQ(answer[0], kOk);
  EXPECT_EQ(answer[17], 0x03);
  files_.SetSupport(0x02);
  EXPECT_EQ(Send(0x3c, 0x04)[17], 0x02);
}

TEST_F(TheConfigFiles, StoreWhatWasWrittenAndSignedAtTheUnlock) {
  Bytes record(40);
  for (std::size_t i = 0; i < record.size(); ++i) {
    record[i] = static_cast<std::uint8_t>(i);
  }
  EXPECT_EQ(Lock(0x41), Bytes{kOk});
  EXPECT_EQ(Write(0, Bytes(record.begin(), record.begin() + 32), 0x41), Bytes{kOk});
  EXPECT_EQ(Write(32, Bytes(record.begin() + 32, record.end()), 0x41), Bytes{kOk});
  EXPECT_EQ(Sign(0x41), Bytes{kOk});
  EXPECT_EQ(Stored(0x41), std::nullopt);
  EXPECT_EQ(Unlock(0x41), Bytes{kOk});
  EXPECT_EQ(Stored(0x41), record);
  EXPECT_EQ(Stored(0x40), std::nullopt);
}

TEST_F(TheConfigFiles, StoreAnEmptyRecordThatIsSigned) {
  Lock();
  Sign();
  Unlock();
  EXPECT_EQ(Stored(), Bytes{});
}

TEST_F(TheConfigFiles, KeepTheOldBytesWhenATransferIsNotSigned) {
  Lock();
  Write(0, {1, 2, 3});
  Sign();
  Unlock();
  Lock();
  Write(0, {4, 5, 6});
  EXPECT_EQ(Unlock(), Bytes{kOk});
  EXPECT_EQ(Stored(), (Bytes{1, 2, 3}));
}

TEST_F(TheConfigFiles, NeedANewSignatureAfterAFurtherWrite) {
  Lock();
  Sign();
  Write(0, {1, 2, 3});
  Unlock();
  EXPECT_EQ(Stored(), std::nullopt);
}

TEST_F(TheConfigFiles, RefuseWritesAndUnlocksWithoutTheLock) {
  EXPECT_EQ(Write(0, {1}), Bytes{kWrongState});
  EXPECT_EQ(Sign(), Bytes{kWrongState});
  EXPECT_EQ(Unlock(), Bytes{kWrongState});
  Lock(0x41);
  EXPECT_EQ(Write(0, {1}), Bytes{kWrongState});
}

TEST_F(TheConfigFiles, SayThatAFileIsLockedAlreadyAndStartItOver) {
  Lock();
  Write(0, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(Lock(), Bytes{0x01});
  EXPECT_EQ(Write(0, {7, 8}), Bytes{kOk});
  Sign();
  Unlock();
  EXPECT_EQ(Stored(), (Bytes{7, 8}));
  EXPECT_EQ(Lock(), Bytes{kOk});
}

TEST_F(TheConfigFiles, TakeTheSamePieceTwice) {
  Lock();
  EXPECT_EQ(Write(0, {1, 2, 3, 4, 5}), Bytes{kOk});
  EXPECT_EQ(Write(0, {1, 2, 3, 4, 5}), Bytes{kOk});
  EXPECT_EQ(Write(5, {6}), Bytes{kOk});
  EXPECT_EQ(Write(5, {6}), Bytes{kOk});
  Sign();
  Unlock();
  EXPECT_EQ(Stored(), (Bytes{1, 2, 3, 4, 5, 6}));
}

TEST_F(TheConfigFiles, RefuseAWrongSignature) {
  Lock();
  Write(0, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(Write(0, {0x51, 0x54, 0x4c, 0x4d, 0x51}), Bytes{kInvalidData});
  Unlock();
  EXPECT_EQ(Stored(), std::nullopt);
}

TEST_F(TheConfigFiles, RefuseAPieceAfterAGapOrBeyondTheirEnd) {
  Lock();
  EXPECT_EQ(Write(1, {1}), Bytes{kOutOfRange});
  const Bytes piece(32, 0xaa);
  for (std::size_t offset = 0; offset < ConfigFiles::kLongestFile; offset += piece.size()) {
    ASSERT_EQ(Write(offset, piece), Bytes{kOk});
  }
  EXPECT_EQ(Write(ConfigFiles::kLongestFile, {1}), Bytes{kOutOfRange});
  EXPECT_EQ(Write(0xffffffff, {1}), Bytes{kOutOfRange});
  Sign();
  Unlock();
  EXPECT_EQ(Stored()->size(), ConfigFiles::kLongestFile);
}

TEST_F(TheConfigFiles, RefuseOtherLengths) {
  Lock();
  EXPECT_EQ(Write(0, {}), Bytes{kWrongLength});
  EXPECT_EQ(Write(0, Bytes(33, 0x01)), Bytes{kWrongLength});
  EXPECT_EQ(Send(0x3c, 0x6a, {0x05, 0x40, 0x01}), Bytes{kWrongLength});
  EXPECT_EQ(Send(0x3c, 0x6b, {0x05, 0x40}), Bytes{kWrongLength});
  EXPECT_EQ(Send(0x34, 0x39), Bytes{kWrongLength});
}

TEST_F(TheConfigFiles, RefuseOtherFilesModesAndReservedBytes) {
  EXPECT_EQ(Lock(0x42), Bytes{kInvalidData});
  EXPECT_EQ(Send(0x3c, 0x6a, {0x04, 0x40, 0x01, 0, 0, 0, 0, 0}), Bytes{kInvalidData});
  EXPECT_EQ(Send(0x3c, 0x6a, {0x05, 0x40, 0x00, 0, 0, 0, 0, 0}), Bytes{kInvalidData});
  EXPECT_EQ(Send(0x3c, 0x6a, {0x05, 0x40, 0x01, 0, 0, 0, 0, 1}), Bytes{kInvalidData});
  Lock();
  EXPECT_EQ(Send(0x3c, 0x69, {0x05, 0x40, 0x01, 0, 0, 0, 0, 0, 1}), Bytes{kInvalidData});
  EXPECT_EQ(Send(0x3c, 0x6b, {0x05, 0x40, 0x01, 0, 0, 0, 0, 0}), Bytes{kInvalidData});
  EXPECT_EQ(Unlock(0x42), Bytes{kInvalidData});
}

TEST_F(TheConfigFiles, AreAnnouncedOnlyUnlockedAndStored) {
  EXPECT_EQ(Send(0x34, 0x39, {0x01}), Bytes{kWrongState});
  Lock();
  Sign();
  Unlock();
  EXPECT_EQ(Send(0x34, 0x39, {0x01}), Bytes{kOk});
  EXPECT_EQ(files_.Files().at(0x40).announced, 1U);
  EXPECT_EQ(Send(0x34, 0x39, {0x02}), Bytes{kWrongState});
  EXPECT_EQ(Send(0x34, 0x39, {0x03}), Bytes{kInvalidData});
  Lock();
  EXPECT_EQ(Send(0x34, 0x39, {0x01}), Bytes{kWrongState});
  Sign();
  Unlock();
  EXPECT_EQ(files_.Files().at(0x40).announced, 0U);
}

TEST_F(TheConfigFiles, LoseATransferButNotTheStoredBytesWhenTheMachineGoesDown) {
  Lock();
  Write(0, {1, 2, 3});
  Sign();
  Unlock();
  Lock();
  Write(0, {4, 5, 6});
  Sign();
  files_.MachineDown();
  EXPECT_EQ(Unlock(), Bytes{kWrongState});
  EXPECT_EQ(Stored(), (Bytes{1, 2, 3}));
  EXPECT_EQ(Lock(), Bytes{kOk});
}

}  // namespace
}  // namespace kv6000
