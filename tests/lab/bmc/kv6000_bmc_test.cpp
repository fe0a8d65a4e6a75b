// The virtual BMC command by command: what it takes, what it refuses, and what survives which loss of power.
#include "lab/bmc/kv6000_bmc.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>

#include "tests/lab/bmc/images.h"

namespace kv6000 {

namespace {

constexpr std::string_view kPhrase = "ABCDEFGHIJKLMNOPQRSTUV";
constexpr Version kOld{0x01, 0x23};
constexpr Version kNew{0x01, 0x24};

// Keeps a list of what the BMC did to the outside, and is the media.
class RecordingOutside : public Outside {
 public:
  std::vector<std::string> calls;
  Bytes media;

  void AttachMedia() override { calls.emplace_back("attach"); }
  void DetachMedia() override { calls.emplace_back("detach"); }
  void SetRunningVersion(const Version& version) override { calls.push_back("running " + Text(version)); }
  void PowerOn() override { calls.emplace_back("power on"); }

  Bytes ReadMedia(std::uint32_t offset, std::uint32_t length) override {
    const auto first = std::min<std::size_t>(offset, media.size());
    const auto last = std::min<std::size_t>(first + length, media.size());
    return {media.begin() + static_cast<std::ptrdiff_t>(first), media.begin() + static_cast<std::ptrdiff_t>(last)};
  }
};

class Kv6000Bmc : public testing::Test {
 protected:
  Bytes Send(std::uint8_t netfn, std::uint8_t cmd, const Bytes& data = {}) { return bmc_.Handle(netfn, cmd, data); }
  Bytes Connect() { return Send(0x34, 0x8c, {0x55, 0xaa, 0x01}); }
  Bytes Disconnect() { return Send(0x34, 0x8c, {0x55, 0xaa, 0x00}); }
  Bytes Arm() { return Send(0x34, 0x5e, {0x55, 0xaa, 0x01}); }
  Bytes StartFlash(std::size_t length) { return Send(0x34, 0x90, LengthBytes(length)); }

  // The BMC in the state in which it takes a flash, with `image` on the media.
  void PrepareFlash(const Bytes& image) {
    outside_.media = image;
    ASSERT_EQ(Connect(), Bytes{kOk});
    bmc_.MediaSeen();
    ASSERT_EQ(Send(0x34, 0x2c, {0x00}), Bytes{kOk});
  }

  // Flashes `image` to its end, good or bad.
  void FlashImage(const Bytes& image) {
    PrepareFlash(image);
    ASSERT_EQ(StartFlash(image.size()), Bytes{kOk});
    while (bmc_.CurrentState().flash == Flash::kRunning) {
      bmc_.FlashStep();
    }
  }

  RecordingOutside outside_;
  Bmc bmc_{{kOld, std::string(kPhrase), {}}, outside_};
  const Bytes image_ = MakeImage(kNew, 100000);
};

TEST_F(Kv6000Bmc, RefusesACommandItDoesNotKnow) {
  EXPECT_FALSE(Bmc::Knows(0x34, 0x8e));
  EXPECT_EQ(Send(0x34, 0x8e), Bytes{kInvalidCommand});
  EXPECT_TRUE(Bmc::Knows(0x34, 0x8c));
}

TEST_F(Kv6000Bmc, RefusesEveryCommandOfAWrongLength) {
  const Bytes tooLong(200, 0x55);
  for (const auto& [netfn, cmd] : Bmc::Commands()) {
    EXPECT_EQ(bmc_.Handle(netfn, cmd, tooLong), Bytes{kWrongLength}) << int{cmd};
  }
  EXPECT_EQ(Send(0x36, 0x03, Bytes(21, 'A')), Bytes{kWrongLength});
  EXPECT_EQ(Send(0x34, 0x8c, {0x55, 0xaa}), Bytes{kWrongLength});
  EXPECT_EQ(Send(0x34, 0x2c), Bytes{kWrongLength});
  EXPECT_EQ(Send(0x34, 0x5e, {}), Bytes{kWrongLength});
}

TEST_F(Kv6000Bmc, TakesOnlyTheRightWriteModePhrase) {
  Bytes phrase = TextBytes(kPhrase);
  phrase.back() ^= 1U;
  EXPECT_EQ(Send(0x36, 0x03, phrase), Bytes{kInvalidData});
  EXPECT_FALSE(bmc_.CurrentState().writeMode);
  EXPECT_EQ(Send(0x36, 0x03, TextBytes(kPhrase)), Bytes{kOk});
  EXPECT_TRUE(bmc_.CurrentState().writeMode);
}

TEST_F(Kv6000Bmc, ConnectsTheMediaAndSaysSoOnceTheMachineHasSeenIt) {
  EXPECT_EQ(Send(0x34, 0x8d), (Bytes{kOk, 0x00}));
  EXPECT_EQ(Connect(), Bytes{kOk});
  EXPECT_EQ(Send(0x34, 0x8d), (Bytes{kOk, 0x00}));
  bmc_.MediaSeen();
  EXPECT_EQ(Send(0x34, 0x8d), (Bytes{kOk, 0x01}));
  EXPECT_EQ(Disconnect(), Bytes{kOk});
  EXPECT_EQ(Send(0x34, 0x8d), (Bytes{kOk, 0x00}));
  EXPECT_EQ(outside_.calls, (std::vector<std::string>{"attach", "detach"}));
}

TEST_F(Kv6000Bmc, ConnectingTwiceAttachesOneDrive) {
  EXPECT_EQ(Connect(), Bytes{kOk});
  EXPECT_EQ(Connect(), Bytes{kOk});
  EXPECT_EQ(outside_.calls, std::vector<std::string>{"attach"});
}

TEST_F(Kv6000Bmc, DisconnectsWithoutMediaAndWithoutAnError) {
  EXPECT_EQ(Disconnect(), Bytes{kOk});
  EXPECT_TRUE(outside_.calls.empty());
}

TEST_F(Kv6000Bmc, ADriveSeenAfterItWasDisconnectedStaysDisconnected) {
  Connect();
  Disconnect();
  bmc_.MediaSeen();
  EXPECT_EQ(Send(0x34, 0x8d), (Bytes{kOk, 0x00}));
}

TEST_F(Kv6000Bmc, RefusesToConnectWithoutSignatureOrWithAnUnknownAction) {
  EXPECT_EQ(Send(0x34, 0x8c, {0xaa, 0x55, 0x01}), Bytes{kInvalidData});
  EXPECT_EQ(Send(0x34, 0x8c, {0x55, 0xaa, 0x02}), Bytes{kInvalidData});
  EXPECT_TRUE(outside_.calls.empty());
}

TEST_F(Kv6000Bmc, StopsWaitingOnlyWithTheMediaConnected) {
  EXPECT_EQ(Send(0x34, 0x2c, {0x00}), Bytes{kWrongState});
  Connect();
  EXPECT_EQ(Send(0x34, 0x2c, {0x00}), Bytes{kWrongState});
  bmc_.MediaSeen();
  EXPECT_EQ(Send(0x34, 0x2d), (Bytes{kOk, 0x01}));
  EXPECT_EQ(Send(0x34, 0x2c, {0x00}), Bytes{kOk});
  EXPECT_EQ(Send(0x34, 0x2d), (Bytes{kOk, 0x00}));
}

TEST_F(Kv6000Bmc, RefusesAnUnknownWaitMode) {
  Connect();
  bmc_.MediaSeen();
  EXPECT_EQ(Send(0x34, 0x2c, {0x01}), Bytes{kInvalidData});
}

TEST_F(Kv6000Bmc, WaitsAgainAfterTheMediaWasDisconnected) {
  PrepareFlash(image_);
  Disconnect();
  EXPECT_EQ(Send(0x34, 0x2d), (Bytes{kOk, 0x01}));
}

class ProtectedBmc : public testing::TestWithParam<std::uint8_t> {};

TEST_P(ProtectedBmc, ConnectsOnlyInWriteMode) {
  RecordingOutside outside;
  Bmc bmc({{GetParam(), 0x10}, std::string(kPhrase), {}}, outside);
  const Bytes connect = {0x55, 0xaa, 0x01};
  EXPECT_EQ(bmc.Handle(0x34, 0x8c, connect), Bytes{kWrongState});
  EXPECT_TRUE(outside.calls.empty());
  EXPECT_EQ(bmc.Handle(0x36, 0x03, TextBytes(kPhrase)), Bytes{kOk});
  EXPECT_EQ(bmc.Handle(0x34, 0x8c, connect), Bytes{kOk});
  // A second flash run disconnects and connects again without sending the phrase again.
  EXPECT_EQ(bmc.Handle(0x34, 0x8c, Bytes{0x55, 0xaa, 0x00}), Bytes{kOk});
  EXPECT_EQ(bmc.Handle(0x34, 0x8c, connect), Bytes{kOk});
}

TEST_P(ProtectedBmc, ForgetsTheWriteModeWhenTheMachineGoesOff) {
  RecordingOutside outside;
  Bmc bmc({{GetParam(), 0x10}, std::string(kPhrase), {}}, outside);
  (void)bmc.Handle(0x36, 0x03, TextBytes(kPhrase));
  bmc.MachineOff();
  EXPECT_EQ(bmc.Handle(0x34, 0x8c, Bytes{0x55, 0xaa, 0x01}), Bytes{kWrongState});
}

INSTANTIATE_TEST_SUITE_P(Majors, ProtectedBmc, testing::Values(0x06, 0x16));

TEST_F(Kv6000Bmc, TakesAFlashOnlyWithMediaConnectedAndWaitingStopped) {
  outside_.media = image_;
  EXPECT_EQ(StartFlash(image_.size()), Bytes{kWrongState});
  Connect();
  bmc_.MediaSeen();
  EXPECT_EQ(StartFlash(image_.size()), Bytes{kWrongState});
  Send(0x34, 0x2c, {0x00});
  EXPECT_EQ(StartFlash(image_.size()), Bytes{kOk});
}

TEST_F(Kv6000Bmc, RefusesAFlashThatIsTooShortOrTooLongForTheSlot) {
  PrepareFlash(image_);
  EXPECT_EQ(StartFlash(ImageHeader::kSize), Bytes{kInvalidData});
  EXPECT_EQ(StartFlash(Bmc::kSlotSize + 1), Bytes{kInvalidData});
  EXPECT_EQ(StartFlash(0xffffffff), Bytes{kInvalidData});
}

TEST_F(Kv6000Bmc, FlashesInStepsAndKeepsAWholeImageInTheStandbySlot) {
  PrepareFlash(image_);
  StartFlash(image_.size());
  EXPECT_EQ(Send(0x34, 0x91), (Bytes{kOk, 0x01, 0}));
  bmc_.FlashStep();
  EXPECT_EQ(Send(0x34, 0x91), (Bytes{kOk, 0x01, 16}));
  EXPECT_FALSE(bmc_.CurrentState().standby.has_value());
  while (bmc_.CurrentState().flash == Flash::kRunning) {
    bmc_.FlashStep();
  }
  EXPECT_EQ(Send(0x34, 0x91), (Bytes{kOk, 0x02, 100}));
  EXPECT_EQ(bmc_.CurrentState().standby, kNew);
  EXPECT_EQ(bmc_.CurrentState().running, kOld);
}

TEST_F(Kv6000Bmc, IsBusyWhileItFlashes) {
  PrepareFlash(image_);
  StartFlash(image_.size());
  EXPECT_EQ(StartFlash(image_.size()), Bytes{kBusy});
  EXPECT_EQ(Connect(), Bytes{kBusy});
  EXPECT_EQ(Disconnect(), Bytes{kBusy});
}

TEST_F(Kv6000Bmc, ASecondFlashInvalidatesTheStandbySlotAndTheFlagAtOnce) {
  FlashImage(image_);
  Arm();
  ASSERT_EQ(StartFlash(image_.size()), Bytes{kOk});
  EXPECT_FALSE(bmc_.CurrentState().standby.has_value());
  EXPECT_EQ(Send(0x34, 0x5f), (Bytes{kOk, 0x00}));
}

struct BadImage {
  const char* name;
  void (*damage)(Bytes&);
  std::uint8_t answer;
};

// Keeps addresses out of the names under which the tests are listed.
void PrintTo(const BadImage& image, std::ostream* out) {
  *out << image.name;
}

class BadImageFlash : public Kv6000Bmc, public testing::WithParamInterface<BadImage> {};

TEST_P(BadImageFlash, LeavesTheStandbySlotNotWholeAndTheFlagUnarmed) {
  Bytes image = image_;
  GetParam().damage(image);
  FlashImage(image);
  EXPECT_EQ(Send(0x34, 0x91)[1], GetParam().answer);
  EXPECT_FALSE(bmc_.CurrentState().standby.has_value());
  EXPECT_EQ(Arm(), Bytes{kWrongState});
}

INSTANTIATE_TEST_SUITE_P(Images, BadImageFlash,
                         testing::Values(BadImage{"Magic", [](Bytes& image) { image[0] = 'X'; }, 0x80},
                                         BadImage{"Length", [](Bytes& image) { image.pop_back(); }, 0x81},
                                         BadImage{"Checksum", [](Bytes& image) { image.back() ^= 1U; }, 0x82}),
                         [](const auto& image) { return std::string(image.param.name); });

TEST_F(Kv6000Bmc, FailsToFlashAnImageLongerThanTheMedia) {
  PrepareFlash(image_);
  StartFlash(image_.size() + 1);
  while (bmc_.CurrentState().flash == Flash::kRunning) {
    bmc_.FlashStep();
  }
  EXPECT_EQ(Send(0x34, 0x91)[1], 0x83);
}

TEST_F(Kv6000Bmc, ArmsTheRebootFlagOnlyWithAWholeImageInStandby) {
  EXPECT_EQ(Arm(), Bytes{kWrongState});
  EXPECT_EQ(Send(0x34, 0x5f), (Bytes{kOk, 0x00}));
  FlashImage(image_);
  EXPECT_EQ(Send(0x34, 0x5e, {0x55, 0xab, 0x01}), Bytes{kInvalidData});
  EXPECT_EQ(Send(0x34, 0x5e, {0x55, 0xaa, 0x00}), Bytes{kInvalidData});
  EXPECT_EQ(Arm(), Bytes{kOk});
  EXPECT_EQ(Send(0x34, 0x5f), (Bytes{kOk, 0x01}));
}

TEST_F(Kv6000Bmc, TakesTheStandbyFirmwareWhenTheMachineGoesOffWithTheFlagArmed) {
  FlashImage(image_);
  Arm();
  outside_.calls.clear();
  bmc_.MachineOff();
  EXPECT_EQ(outside_.calls, (std::vector<std::string>{"detach", "running 01-24", "power on"}));
  EXPECT_EQ(bmc_.CurrentState().running, kNew);
  EXPECT_FALSE(bmc_.CurrentState().standby.has_value());
  EXPECT_EQ(Send(0x34, 0x5f), (Bytes{kOk, 0x00}));
  EXPECT_EQ(Send(0x34, 0x8d), (Bytes{kOk, 0x00}));
}

TEST_F(Kv6000Bmc, StaysOffOnTheOldFirmwareWithTheFlagNotArmed) {
  FlashImage(image_);
  outside_.calls.clear();
  bmc_.MachineOff();
  EXPECT_EQ(outside_.calls, std::vector<std::string>{"detach"});
  EXPECT_EQ(bmc_.CurrentState().running, kOld);
  EXPECT_EQ(bmc_.CurrentState().standby, kNew);
}

TEST_F(Kv6000Bmc, EndsAConfigFilesTransferWhenTheMachineGoesOffOrIsReset) {
  const Bytes lock = {0x05, 0x40, 0x01, 0, 0, 0, 0, 0};
  EXPECT_EQ(Send(0x3c, 0x6a, lock), Bytes{kOk});
  EXPECT_EQ(Send(0x3c, 0x6a, lock), Bytes{kAlreadyLocked});
  bmc_.MachineReset();
  EXPECT_EQ(Send(0x3c, 0x6a, lock), Bytes{kOk});
  bmc_.MachineOff();
  EXPECT_EQ(Send(0x3c, 0x6a, lock), Bytes{kOk});
}

TEST_F(Kv6000Bmc, TakesWhatStandsByAtAResetOnlyWhenTheFlagIsArmedForIt) {
  FlashImage(image_);
  Arm();
  outside_.calls.clear();
  bmc_.MachineReset();
  EXPECT_EQ(bmc_.CurrentState().running, kOld);
  EXPECT_TRUE(outside_.calls.empty());
  EXPECT_EQ(Send(0x34, 0x5f), (Bytes{kOk, 0x01}));
  EXPECT_EQ(Send(0x34, 0x5e, {0x55, 0xaa, 0x02}), Bytes{kOk});
  EXPECT_EQ(Send(0x34, 0x5f), (Bytes{kOk, 0x02}));
  bmc_.MachineReset();
  EXPECT_EQ(outside_.calls, (std::vector<std::string>{"detach", "running 01-24"}));
  EXPECT_EQ(bmc_.CurrentState().running, kNew);
  EXPECT_EQ(Send(0x34, 0x5f), (Bytes{kOk, 0x00}));
}

TEST_F(Kv6000Bmc, TakesAStandbySdrWithOrWithoutAFirmware) {
  const Bytes record = {0x00, 0x00, 0x51, 0x03, 0x01, 'x'};
  Send(0x0a, 0x2a);
  Send(0x0a, 0x24, record);
  EXPECT_EQ(Arm(), Bytes{kWrongState});
  EXPECT_EQ(Send(0x0a, 0x2b), Bytes{kOk});
  EXPECT_EQ(Arm(), Bytes{kOk});
  bmc_.MachineOff();
  EXPECT_EQ(outside_.calls, std::vector<std::string>{"power on"});
  EXPECT_EQ(bmc_.CurrentState().running, kOld);
  EXPECT_EQ(bmc_.Sdr().AllRecords().size(), 1U);

  FlashImage(image_);
  Send(0x0a, 0x2a);
  Send(0x0a, 0x24, record);
  Send(0x0a, 0x24, record);
  Send(0x0a, 0x2b);
  Arm();
  bmc_.MachineOff();
  EXPECT_EQ(bmc_.CurrentState().running, kNew);
  EXPECT_EQ(bmc_.Sdr().AllRecords().size(), 2U);
}

TEST_F(Kv6000Bmc, ASecondSdrUpdateInvalidatesTheStandbySdrAndTheFlagAtOnce) {
  Send(0x0a, 0x2a);
  Send(0x0a, 0x24, {0x00, 0x00, 0x51, 0x03, 0x01, 'x'});
  Send(0x0a, 0x2b);
  Arm();
  Send(0x0a, 0x2a);
  EXPECT_EQ(Send(0x34, 0x5f), (Bytes{kOk, 0x00}));
  bmc_.MachineOff();
  EXPECT_TRUE(outside_.calls.empty());
  EXPECT_TRUE(bmc_.Sdr().AllRecords().empty());
}

TEST_F(Kv6000Bmc, DisarmsTheFlagOnlyWhenAnSdrUpdateBegins) {
  FlashImage(image_);
  Arm();
  EXPECT_EQ(Send(0x0a, 0x2a), Bytes{kOk});
  EXPECT_EQ(Send(0x34, 0x5f), (Bytes{kOk, 0x00}));
  EXPECT_EQ(Arm(), Bytes{kOk});  // the firmware still stands by
  Send(0x0a, 0x24, {0x00, 0x00, 0x51, 0x03, 0x01, 'x'});
  EXPECT_EQ(Send(0x34, 0x5f), (Bytes{kOk, 0x01}));
}

TEST_F(Kv6000Bmc, APowerCutInTheMiddleOfAFlashLeavesStandbyNotWholeAndACleanSecondRunWorks) {
  PrepareFlash(image_);
  StartFlash(image_.size());
  bmc_.FlashStep();
  bmc_.PowerLost();
  bmc_.MachineOff();
  bmc_.FlashStep();
  EXPECT_EQ(bmc_.CurrentState().flash, Flash::kMediaLost);
  EXPECT_FALSE(bmc_.CurrentState().standby.has_value());
  EXPECT_EQ(bmc_.CurrentState().media, Media::kDisconnected);
  EXPECT_TRUE(bmc_.CurrentState().waiting);
  EXPECT_EQ(Arm(), Bytes{kWrongState});

  FlashImage(image_);
  EXPECT_EQ(bmc_.CurrentState().standby, kNew);
  EXPECT_EQ(Arm(), Bytes{kOk});
}

TEST_F(Kv6000Bmc, APowerCutForgetsTheArmedFlagButKeepsTheSlots) {
  FlashImage(image_);
  Arm();
  outside_.calls.clear();
  bmc_.PowerLost();
  bmc_.MachineOff();
  EXPECT_EQ(outside_.calls, std::vector<std::string>{"detach"});
  EXPECT_EQ(bmc_.CurrentState().running, kOld);
  EXPECT_EQ(bmc_.CurrentState().standby, kNew);
  EXPECT_EQ(Send(0x34, 0x5f), (Bytes{kOk, 0x00}));
}

}  // namespace
}  // namespace kv6000
