// The BMC's network settings: what the machine reads through the standard commands and through Get Tcpip Info.
#include "lab/bmc/network.h"

#include <gtest/gtest.h>

namespace kv6000 {

namespace {

class NetworkOfTheBmc : public testing::Test {
 protected:
  Bytes Send(std::uint8_t netfn, std::uint8_t cmd, const Bytes& data = {}) {
    return RunCommand(network_, netfn, cmd, data).value_or(Bytes{kInvalidCommand});
  }
  Bytes Parameter(std::uint8_t number) { return Send(0x0c, 0x02, {0x01, number, 0x00, 0x00}); }

  Network network_{{{0x02, 0x4b, 0x45, 0x53, 0x00, 0x01}, {192, 168, 0, 10}, {255, 255, 255, 0}, {192, 168, 0, 1}, 1}};
};

TEST_F(NetworkOfTheBmc, AnswersEachLanParameterAfterTheParameterRevision) {
  EXPECT_EQ(Parameter(0), (Bytes{kOk, 0x11, 0x00}));
  EXPECT_EQ(Parameter(3), (Bytes{kOk, 0x11, 192, 168, 0, 10}));
  EXPECT_EQ(Parameter(5), (Bytes{kOk, 0x11, 0x02, 0x4b, 0x45, 0x53, 0x00, 0x01}));
  EXPECT_EQ(Parameter(6), (Bytes{kOk, 0x11, 255, 255, 255, 0}));
  EXPECT_EQ(Parameter(12), (Bytes{kOk, 0x11, 192, 168, 0, 1}));
}

TEST_F(NetworkOfTheBmc, AnswersTheAddressSourceByTheDhcpFlag) {
  EXPECT_EQ(Parameter(4), (Bytes{kOk, 0x11, 0x02}));
  network_.SetDhcp(0x00);
  EXPECT_EQ(Parameter(4), (Bytes{kOk, 0x11, 0x01}));
}

TEST_F(NetworkOfTheBmc, AnswersAnUnknownParameterWithItsOwnCompletionCode) {
  EXPECT_EQ(Parameter(1), Bytes{kUnknownParameter});
  EXPECT_EQ(Parameter(255), Bytes{kUnknownParameter});
}

TEST_F(NetworkOfTheBmc, AnswersTheRevisionAloneWhenOnlyThatIsAsked) {
  EXPECT_EQ(Send(0x0c, 0x02, {0x81, 0x05, 0x00, 0x00}), (Bytes{kOk, 0x11}));
}

TEST_F(NetworkOfTheBmc, HasItsLanOnChannel1Only) {
  EXPECT_EQ(Send(0x0c, 0x02, {0x02, 0x05, 0x00, 0x00}), Bytes{kInvalidData});
  EXPECT_EQ(Send(0x0c, 0x02, {0x0e, 0x05, 0x00, 0x00}), Bytes{kInvalidData});
  EXPECT_EQ(Send(0x06, 0x42, {0x01}), (Bytes{kOk, 0x01, 0x04, 0x01, 0x80, 0xf2, 0x1b, 0x00, 0x00, 0x00}));
  EXPECT_EQ(Send(0x06, 0x42, {0x0e}), (Bytes{kOk, 0x0f, 0x05, 0x09, 0x00, 0xf2, 0x1b, 0x00, 0x00, 0x00}));
  EXPECT_EQ(Send(0x06, 0x42, {0x02}), Bytes{kInvalidData});
}

TEST_F(NetworkOfTheBmc, AnswersTcpipInfoIn15Bytes) {
  EXPECT_EQ(Send(0x3c, 0x13), (Bytes{kOk, 192, 168, 0, 10, 255, 255, 255, 0, 192, 168, 0, 1, 0x00, 0x00, 0x01}));
  network_.SetDhcp(0x02);
  EXPECT_EQ(Send(0x3c, 0x13).back(), 0x02);
}

}  // namespace
}  // namespace kv6000
