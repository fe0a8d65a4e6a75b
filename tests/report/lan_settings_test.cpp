// The BMC's answers about its LAN interface, read.
#include "report/lan_settings.h"

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <stdexcept>

#include "tests/support/scripted_host.h"

namespace kestrel {

namespace {

// An answer of these bytes, the completion code first.
IpmiReply Reply(const std::string& bytes) {
  std::istringstream words(bytes);
  return {true, {std::istream_iterator<std::string>(words), std::istream_iterator<std::string>()}};
}

TEST(MacAddress, JoinsTheSixBytesBehindTheRevision) {
  std::string text = "before";
  EXPECT_TRUE(JoinMacAddress(Reply("00 11 90 1b 0E a0 b1 c2"), &text));
  EXPECT_EQ(text, "90:1b:0E:a0:b1:c2");
}

TEST(MacAddress, EndsInAColonWithoutTheLastByte) {
  std::string text;
  EXPECT_TRUE(JoinMacAddress(Reply("00 11 90 1b 0e a0 b1"), &text));
  EXPECT_EQ(text, "90:1b:0e:a0:b1:");
}

TEST(MacAddress, OverlooksFurtherBytes) {
  std::string text;
  EXPECT_TRUE(JoinMacAddress(Reply("00 11 90 1b 0e a0 b1 c2 d3"), &text));
  EXPECT_EQ(text, "90:1b:0e:a0:b1:c2");
}

TEST(MacAddress, FailsWithoutFiveBytes) {
  struct Case {
    const char* bytes;
    const char* text;
  };
  for (const auto& [bytes, text] : {
           Case{"00 11 90 1b 0e a0", "90:1b:0e:a0:"},
           Case{"00 11 90 1b 0e", "90:1b:0e:"},
           Case{"00 11 90 1b", "90:1b:"},
           Case{"00 11 90", "90:"},
           Case{"00 11", ""},
           Case{"00", ""},
           Case{"", ""},
       }) {
    SCOPED_TRACE(bytes);
    std::string joined = "before";
    EXPECT_FALSE(JoinMacAddress(Reply(bytes), &joined));
    EXPECT_EQ(joined, text);
  }
}

TEST(TcpipInfo, JoinsUpToFifteenBytes) {
  struct Case {
    const char* bytes;
    bool enough;
    const char* digits;
  };
  for (const auto& [bytes, enough, digits] : {
           Case{"", false, ""},
           Case{"00", false, ""},
           Case{"00 c0", false, "c0"},
           Case{"00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d", false, "0102030405060708090a0b0c0d"},
           Case{"00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e", true, "0102030405060708090a0b0c0d0e"},
           Case{"00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0F", true, "0102030405060708090a0b0c0d0e0F"},
           Case{"00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10", true, "0102030405060708090a0b0c0d0e0f"},
       }) {
    SCOPED_TRACE(bytes);
    std::string joined = "before";
    EXPECT_EQ(JoinTcpipInfo(Reply(bytes), &joined), enough);
    EXPECT_EQ(joined, digits);
  }
}

TEST(TcpipInfo, GivesTheAddressesInDottedDecimal) {
  const ScriptedHost host;
  const LanSettings settings = ParseTcpipInfo("C0A8000AFFFFFF00C0A80001000001");
  EXPECT_EQ(settings.address, "192.168.0.10");
  EXPECT_EQ(settings.netmask, "255.255.255.0");
  EXPECT_EQ(settings.gateway, "192.168.0.1");
  EXPECT_EQ(settings.dhcpFlag, "01");
}

TEST(TcpipInfo, ReadsLowerCaseAndEveryDigit) {
  const ScriptedHost host;
  const LanSettings settings = ParseTcpipInfo("0123456789abcdef1f2e3d4cffffaf");
  EXPECT_EQ(settings.address, "1.35.69.103");
  EXPECT_EQ(settings.netmask, "137.171.205.239");
  EXPECT_EQ(settings.gateway, "31.46.61.76");
  EXPECT_EQ(settings.dhcpFlag, "AF");
}

TEST(TcpipInfo, ReadsWhatIsNoDigitAsZero) {
  const ScriptedHost host;
  const LanSettings settings = ParseTcpipInfo("g1 1:1@11gz.-/@`000000000000z@");
  EXPECT_EQ(settings.address, "1.1.1.1");
  EXPECT_EQ(settings.netmask, "16.0.0.0");
  EXPECT_EQ(settings.gateway, "0.0.0.0");
  EXPECT_EQ(settings.dhcpFlag, "Z@");
}

TEST(TcpipInfo, OfFourteenBytesOrLessThrowsAsSubstrDoes) {
  const ScriptedHost host;
  for (const char* digits : {"C0A8000AFFFFFF00C0A800010000", "C0A8000AFFFFFF00C0A80001000", ""}) {
    try {
      (void)ParseTcpipInfo(digits);
      ADD_FAILURE() << "nothing was thrown";
    } catch (const std::out_of_range& error) {
      EXPECT_TRUE(std::string(error.what()).starts_with("basic_string::substr")) << error.what();
    }
  }
}

}  // namespace
}  // namespace kestrel
