// The report's section on the BMC's network settings: two questions through either tool, and every way in which they
// fail.
#include "report/web_console_section.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/report/report_lines.h"

namespace kestrel {

namespace {

constexpr const char* kMacAnswer = "00 11 90 1b 0e a0 b1 c2";
constexpr const char* kTcpipAnswer = "00 c0 a8 00 0a ff ff ff 00 c0 a8 00 01 00 00 01";

const Lines kMakersStart = {kWebConsoleStart, "probe /opt/kestrel/node_keeper/ipmi_tools/ipmicmd"};
const Lines kIpmitoolStart = {kMakersStart, "1 ipmicmd is nothing", "probe /usr/bin/ipmitool"};
const Lines kPause = "sleep 10000";
const Lines kMacLine = "1 MAC Address [90:1B:0E:A0:B1:C2]";
const Lines kSettingsLines = {"1 DHCP [Enabled]", "1 IPAddress [192.168.0.10]", "1 Subnemask [255.255.255.0]",
                              "1 GateWay [192.168.0.1]"};
const Lines kNothingAdded = "section";
const Lines kAllItems = {"section",
                         Item("mac_address", "90:1B:0E:A0:B1:C2"),
                         Item("ip_address", "192.168.0.10"),
                         Item("netmask", "255.255.255.0"),
                         Item("default_gate_way", "192.168.0.1"),
                         Item("dhcp", "Enabled")};

class WebConsoleSection : public testing::Test {
 protected:
  void UseMakersTool() { host_.readableFiles = {kMakersToolPath}; }
  void Expect(int result, const Lines& journal, const Lines& section) {
    COrvXmlNode filled("section");
    EXPECT_EQ(FillWebConsoleSection(&filled), result);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), journal));
    EXPECT_TRUE(SameLines(LinesOf(host_, filled), section));
  }

  ScriptedHost host_;
};

TEST_F(WebConsoleSection, IsFilledThroughIpmitool) {
  host_.Answer(kMacRequest, kMacAnswer);
  host_.Answer(kTcpipRequest, kTcpipAnswer);
  Expect(0, {kIpmitoolStart, Request(kMacRequest), kMacLine, Request(kTcpipRequest), kSettingsLines, kWebConsoleEnd},
         kAllItems);
}

TEST_F(WebConsoleSection, IsFilledThroughTheMakersTool) {
  UseMakersTool();
  host_.Answer(kMacRequest, "00 11 90 1B 0E A0 B1 C2");
  host_.Answer(kTcpipRequest, "00 C0 A8 00 0A FF FF FF 00 C0 A8 00 01 00 00 01");
  Expect(0,
         {kMakersStart, MakersRequest(kMacRequest), kMacLine, MakersRequest(kTcpipRequest), kSettingsLines,
          kWebConsoleEnd},
         kAllItems);
}

TEST_F(WebConsoleSection, TellsWhenDhcpIsOff) {
  host_.Answer(kMacRequest, kMacAnswer);
  host_.Answer(kTcpipRequest, "00 0a 00 00 63 ff 00 00 00 0a 00 00 fe ff ff 00");
  Expect(0,
         {kIpmitoolStart, Request(kMacRequest), kMacLine, Request(kTcpipRequest), "1 DHCP [Disabled]",
          "1 IPAddress [10.0.0.99]", "1 Subnemask [255.0.0.0]", "1 GateWay [10.0.0.254]", kWebConsoleEnd},
         {"section", Item("mac_address", "90:1B:0E:A0:B1:C2"), Item("ip_address", "10.0.0.99"),
          Item("netmask", "255.0.0.0"), Item("default_gate_way", "10.0.0.254"), Item("dhcp", "Disabled")});
}

// --- Length of the MAC address.

TEST_F(WebConsoleSection, TakesAMacAddressOfFiveBytesWithItsTrailingColon) {
  host_.Answer(kMacRequest, "00 11 90 1b 0e a0 b1");
  host_.Answer(kTcpipRequest, kTcpipAnswer);
  Expect(0,
         {kIpmitoolStart, Request(kMacRequest), "1 MAC Address [90:1B:0E:A0:B1:]", Request(kTcpipRequest),
          kSettingsLines, kWebConsoleEnd},
         {"section", Item("mac_address", "90:1B:0E:A0:B1:"), Item("ip_address", "192.168.0.10"),
          Item("netmask", "255.255.255.0"), Item("default_gate_way", "192.168.0.1"), Item("dhcp", "Enabled")});
}

TEST_F(WebConsoleSection, OverlooksASeventhByteOfTheMacAddress) {
  host_.Answer(kMacRequest, std::string(kMacAnswer) + " d3");
  host_.Answer(kTcpipRequest, kTcpipAnswer);
  Expect(0, {kIpmitoolStart, Request(kMacRequest), kMacLine, Request(kTcpipRequest), kSettingsLines, kWebConsoleEnd},
         kAllItems);
}

TEST_F(WebConsoleSection, FailsWithAMacAddressOfFourBytesOrFewer) {
  struct Case {
    const char* answer;
    const char* text;
  };
  for (const auto& [answer, text] : {
           Case{"00 11 90 1b 0e a0", "90:1b:0e:a0:"},
           Case{"00 11 90 1b", "90:1b:"},
           Case{"00 11 9A", "9A:"},
           Case{"00 11", ""},
           Case{"00", ""},
       }) {
    SCOPED_TRACE(answer);
    host_.Answer(kMacRequest, answer, 3);
    const std::string failure =
        std::string("Failed to execute IPMI Command (Get MAC Address). MacAddrss:[") + text + "]";
    const Lines attempt = {Request(kMacRequest), "16 " + failure, kPause};
    Expect(1, {kIpmitoolStart, attempt, attempt, Request(kMacRequest), "2 " + failure, kWebConsoleEnd}, kNothingAdded);
  }
}

TEST_F(WebConsoleSection, AsksAgainForAMacAddressThatWasShort) {
  host_.Answer(kMacRequest, "00 11 90 1b 0e a0");
  host_.Answer(kMacRequest, "00 11");
  host_.Answer(kMacRequest, kMacAnswer);
  host_.Answer(kTcpipRequest, kTcpipAnswer);
  Expect(0,
         {kIpmitoolStart, Request(kMacRequest),
          "16 Failed to execute IPMI Command (Get MAC Address). MacAddrss:[90:1b:0e:a0:]", kPause, Request(kMacRequest),
          "16 Failed to execute IPMI Command (Get MAC Address). MacAddrss:[]", kPause, Request(kMacRequest), kMacLine,
          Request(kTcpipRequest), kSettingsLines, kWebConsoleEnd},
         kAllItems);
}

// --- MAC address: the other failures.

TEST_F(WebConsoleSection, AsksAgainForTheMacAddressWhenTheToolFailed) {
  const Lines attempt = {FailedRequest(kMacRequest), "16 Failed to execute IPMI Command (Get MAC Address) ", kPause};
  for (const int failures : {1, 2}) {
    SCOPED_TRACE(failures);
    host_.Answer(kMacRequest, "c1", failures);
    host_.Answer(kMacRequest, kMacAnswer);
    host_.Answer(kTcpipRequest, kTcpipAnswer);
    Expect(0,
           {kIpmitoolStart, attempt.Times(failures), Request(kMacRequest), kMacLine, Request(kTcpipRequest),
            kSettingsLines, kWebConsoleEnd},
           kAllItems);
  }
}

TEST_F(WebConsoleSection, FailsWhenTheToolFailedThreeTimesForTheMacAddress) {
  const Lines attempt = {FailedRequest(kMacRequest), "16 Failed to execute IPMI Command (Get MAC Address) ", kPause};
  host_.Answer(kMacRequest, "c1", 3);
  Expect(1,
         {kIpmitoolStart, attempt, attempt, FailedRequest(kMacRequest),
          "2 Failed to execute IPMI Command (Get MAC Address) ", kWebConsoleEnd},
         kNothingAdded);
}

TEST_F(WebConsoleSection, AsksAgainForTheMacAddressWhenTheBmcRefused) {
  UseMakersTool();
  const Lines attempt = {MakersRequest(kMacRequest), "16 Failed to execute IPMI Command (Get MAC Address) return:[C1]",
                         kPause};
  for (const int failures : {1, 2}) {
    SCOPED_TRACE(failures);
    host_.Answer(kMacRequest, "C1", failures);
    host_.Answer(kMacRequest, kMacAnswer);
    host_.Answer(kTcpipRequest, kTcpipAnswer);
    Expect(0,
           {kMakersStart, attempt.Times(failures), MakersRequest(kMacRequest), kMacLine, MakersRequest(kTcpipRequest),
            kSettingsLines, kWebConsoleEnd},
           kAllItems);
  }
}

TEST_F(WebConsoleSection, FailsWhenTheBmcRefusedTheMacAddressThreeTimes) {
  UseMakersTool();
  host_.Answer(kMacRequest, "C1");
  host_.Answer(kMacRequest, "c0 11 90 1b 0e a0 b1 c2");
  host_.Answer(kMacRequest, "ff");
  Expect(1,
         {kMakersStart, MakersRequest(kMacRequest), "16 Failed to execute IPMI Command (Get MAC Address) return:[C1]",
          kPause, MakersRequest(kMacRequest), "16 Failed to execute IPMI Command (Get MAC Address) return:[c0]", kPause,
          MakersRequest(kMacRequest), "2 Failed to execute IPMI Command (Get MAC Address) return:[ff]", kWebConsoleEnd},
         kNothingAdded);
}

TEST_F(WebConsoleSection, AnAnswerThatCannotBeReadIsAToolThatFailed) {
  const std::string command =
      std::string("\"/usr/bin/ipmitool\" raw 0x0C 0x02 0x01 0x05 0x00 0x00 > \"") + kResultFile + "\"";
  const Lines broken = {"4 CBMC_KESTREL_Firmware::ExecIPMICommand() [START]",
                        "4 CBMC_KESTREL_Firmware::ExecIPMICommand_list() [START]",
                        "1 Execute command [" + command + "]",
                        "exec " + command + " limit 350000",
                        std::string("2 [") + kResultFile + "] may be broken",
                        "4 CBMC_KESTREL_Firmware::ExecIPMICommand_list() [END]",
                        "4 CBMC_KESTREL_Firmware::ExecIPMICommand() [END]"};
  const Lines attempt = {broken, "16 Failed to execute IPMI Command (Get MAC Address) ", kPause};
  host_.AnswerRaw(kMacRequest, {0, 0, "11 90 1b 0e a0 b1 c2d\n"}, 3);
  Expect(
      1,
      {kIpmitoolStart, attempt, attempt, broken, "2 Failed to execute IPMI Command (Get MAC Address) ", kWebConsoleEnd},
      kNothingAdded);
}

TEST_F(WebConsoleSection, FailsWithoutATool) {
  host_.readableFiles = {};
  const Lines refused = {"4 CBMC_KESTREL_Firmware::ExecIPMICommand() [START]", "2 Tool path is empty",
                         "4 CBMC_KESTREL_Firmware::ExecIPMICommand() [END]"};
  const Lines attempt = {refused, "16 Failed to execute IPMI Command (Get MAC Address) ", kPause};
  Expect(1,
         {kIpmitoolStart, "1 ipmitool is nothing", attempt, attempt, refused,
          "2 Failed to execute IPMI Command (Get MAC Address) ", kWebConsoleEnd},
         kNothingAdded);
}

// --- Length of the Tcpip info.

TEST_F(WebConsoleSection, OverlooksWhatIsBehindFifteenBytesOfTcpipInfo) {
  for (const char* tail : {" 02", " 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12 13 14 15 16 17 18 19 1a"}) {
    SCOPED_TRACE(tail);
    host_.Answer(kMacRequest, kMacAnswer);
    host_.Answer(kTcpipRequest, std::string(kTcpipAnswer) + tail);
    Expect(0, {kIpmitoolStart, Request(kMacRequest), kMacLine, Request(kTcpipRequest), kSettingsLines, kWebConsoleEnd},
           kAllItems);
  }
}

TEST_F(WebConsoleSection, FailsWithThirteenBytesOfTcpipInfoOrFewer) {
  struct Case {
    const char* answer;
    const char* digits;
  };
  for (const auto& [answer, digits] : {
           Case{"00 c0 a8 00 0a ff ff ff 00 C0 A8 00 01 00", "c0a8000affffff00C0A8000100"},
           Case{"00 c0", "c0"},
           Case{"00", ""},
       }) {
    SCOPED_TRACE(answer);
    host_.Answer(kMacRequest, kMacAnswer);
    host_.Answer(kTcpipRequest, answer, 3);
    const Lines attempt = {Request(kTcpipRequest), "16 Failed to execute IPMI Command (Get Tcpip Info)",
                           std::string("16 Response Data [") + digits + "]", kPause};
    Expect(1,
           {kIpmitoolStart, Request(kMacRequest), kMacLine, attempt, attempt, Request(kTcpipRequest),
            "2 Failed to execute IPMI Command (Get Tcpip Info)", std::string("2 Response Data  [") + digits + "]",
            kWebConsoleEnd},
           kNothingAdded);
  }
}

TEST_F(WebConsoleSection, AsksAgainForTcpipInfoThatWasShort) {
  const Lines attempt = {Request(kTcpipRequest), "16 Failed to execute IPMI Command (Get Tcpip Info)",
                         "16 Response Data [c0a8]", kPause};
  for (const int failures : {1, 2}) {
    SCOPED_TRACE(failures);
    host_.Answer(kMacRequest, kMacAnswer);
    host_.Answer(kTcpipRequest, "00 c0 a8", failures);
    host_.Answer(kTcpipRequest, kTcpipAnswer);
    Expect(0,
           {kIpmitoolStart, Request(kMacRequest), kMacLine, attempt.Times(failures), Request(kTcpipRequest),
            kSettingsLines, kWebConsoleEnd},
           kAllItems);
  }
}

TEST_F(WebConsoleSection, IsLeftByAnExceptionWithFourteenBytesOfTcpipInfo) {
  host_.Answer(kMacRequest, kMacAnswer);
  host_.Answer(kTcpipRequest, "00 c0 a8 00 0a ff ff ff 00 c0 a8 00 01 00 00");
  COrvXmlNode section("section");
  EXPECT_THROW((void)FillWebConsoleSection(&section), std::out_of_range);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kIpmitoolStart, Request(kMacRequest), kMacLine, Request(kTcpipRequest)}));
  EXPECT_TRUE(SameLines(LinesOf(host_, section), kNothingAdded));
}

// --- Tcpip info: the other failures.

TEST_F(WebConsoleSection, AsksAgainForTcpipInfoWhenTheToolFailed) {
  const Lines attempt = {FailedRequest(kTcpipRequest), "16 Failed to execute IPMI Command (Get Tcpip Info) ", kPause};
  for (const int failures : {1, 2}) {
    SCOPED_TRACE(failures);
    host_.Answer(kMacRequest, kMacAnswer);
    host_.Answer(kTcpipRequest, "c1", failures);
    host_.Answer(kTcpipRequest, kTcpipAnswer);
    Expect(0,
           {kIpmitoolStart, Request(kMacRequest), kMacLine, attempt.Times(failures), Request(kTcpipRequest),
            kSettingsLines, kWebConsoleEnd},
           kAllItems);
  }
}

TEST_F(WebConsoleSection, FailsWhenTheToolFailedThreeTimesForTcpipInfo) {
  const Lines attempt = {FailedRequest(kTcpipRequest), "16 Failed to execute IPMI Command (Get Tcpip Info) ", kPause};
  host_.Answer(kMacRequest, kMacAnswer);
  host_.Answer(kTcpipRequest, "c1", 3);
  Expect(1,
         {kIpmitoolStart, Request(kMacRequest), kMacLine, attempt, attempt, FailedRequest(kTcpipRequest),
          "2 Failed to execute IPMI Command (Get Tcpip Info) ", kWebConsoleEnd},
         kNothingAdded);
}

TEST_F(WebConsoleSection, AsksAgainForTcpipInfoWhenTheBmcRefused) {
  UseMakersTool();
  const Lines attempt = {MakersRequest(kTcpipRequest), "16 Failed to execute IPMI Command (Get Tcpip Info) return:[C1]",
                         kPause};
  for (const int failures : {1, 2}) {
    SCOPED_TRACE(failures);
    host_.Answer(kMacRequest, kMacAnswer);
    host_.Answer(kTcpipRequest, "C1", failures);
    host_.Answer(kTcpipRequest, kTcpipAnswer);
    Expect(0,
           {kMakersStart, MakersRequest(kMacRequest), kMacLine, attempt.Times(failures), MakersRequest(kTcpipRequest),
            kSettingsLines, kWebConsoleEnd},
           kAllItems);
  }
}

TEST_F(WebConsoleSection, FailsWithADifferentSpellingWhenTheBmcRefusedTcpipInfoThreeTimes) {
  UseMakersTool();
  const Lines attempt = {MakersRequest(kTcpipRequest), "16 Failed to execute IPMI Command (Get Tcpip Info) return:[C1]",
                         kPause};
  host_.Answer(kMacRequest, kMacAnswer);
  host_.Answer(kTcpipRequest, "C1", 3);
  Expect(1,
         {kMakersStart, MakersRequest(kMacRequest), kMacLine, attempt, attempt, MakersRequest(kTcpipRequest),
          "2 Failed to execute IPMI Command (Get Tcpip Info ) return:[C1]", kWebConsoleEnd},
         kNothingAdded);
}

// Tcpip info fails otherwise at each attempt, and each failure is reported as what it is, also at the last attempt.
TEST_F(WebConsoleSection, TellsEveryFailureOfTcpipInfoByItself) {
  UseMakersTool();
  struct Failure {
    CommandEnd end;
    Lines request;
    Lines triedAgain;
    Lines last;
  };
  const Failure tool = {{0, 1, ""},
                        FailedMakersRequest(kTcpipRequest),
                        "16 Failed to execute IPMI Command (Get Tcpip Info) ",
                        "2 Failed to execute IPMI Command (Get Tcpip Info) "};
  const Failure refused = {{0, 0, "\na b c d C1 99\n"},
                           MakersRequest(kTcpipRequest),
                           "16 Failed to execute IPMI Command (Get Tcpip Info) return:[C1]",
                           "2 Failed to execute IPMI Command (Get Tcpip Info ) return:[C1]"};
  const Failure tooShort = {{0, 0, "\na b c d 00 c0 a8\n"},
                            MakersRequest(kTcpipRequest),
                            {"16 Failed to execute IPMI Command (Get Tcpip Info)", "16 Response Data [c0a8]"},
                            {"2 Failed to execute IPMI Command (Get Tcpip Info)", "2 Response Data  [c0a8]"}};
  const Failure* const orders[][3] = {{&tool, &refused, &tooShort}, {&refused, &tooShort, &tool},
                                      {&tooShort, &tool, &refused}, {&refused, &tool, &tooShort},
                                      {&tool, &tooShort, &refused}, {&tooShort, &refused, &tool}};
  for (const auto& [first, second, third] : orders) {
    host_.Answer(kMacRequest, kMacAnswer);
    for (const Failure* failure : {first, second, third}) {
      host_.AnswerRaw(kTcpipRequest, failure->end);
    }
    Expect(1,
           {kMakersStart, MakersRequest(kMacRequest), kMacLine, first->request, first->triedAgain, kPause,
            second->request, second->triedAgain, kPause, third->request, third->last, kWebConsoleEnd},
           kNothingAdded);
  }
}

TEST_F(WebConsoleSection, CountsTheAttemptsOfItsTwoQuestionsApart) {
  host_.Answer(kMacRequest, "c1", 2);
  host_.Answer(kMacRequest, kMacAnswer);
  host_.Answer(kTcpipRequest, "c1", 2);
  host_.Answer(kTcpipRequest, kTcpipAnswer);
  const Lines macAttempt = {FailedRequest(kMacRequest), "16 Failed to execute IPMI Command (Get MAC Address) ", kPause};
  const Lines tcpipAttempt = {FailedRequest(kTcpipRequest), "16 Failed to execute IPMI Command (Get Tcpip Info) ",
                              kPause};
  Expect(0,
         {kIpmitoolStart, macAttempt, macAttempt, Request(kMacRequest), kMacLine, tcpipAttempt, tcpipAttempt,
          Request(kTcpipRequest), kSettingsLines, kWebConsoleEnd},
         kAllItems);
}

// --- DHCP.

TEST_F(WebConsoleSection, FailsAtOnceWithAnUnknownDhcpState) {
  struct Case {
    const char* flag;
    const char* shown;
  };
  for (const auto& [flag, shown] : {Case{"02", "02"}, Case{"10", "10"}, Case{"a1", "A1"}}) {
    SCOPED_TRACE(flag);
    host_.Answer(kMacRequest, kMacAnswer);
    host_.Answer(kTcpipRequest, std::string("00 c0 a8 00 0a ff ff ff 00 c0 a8 00 01 00 00 ") + flag);
    Expect(1,
           {kIpmitoolStart, Request(kMacRequest), kMacLine, Request(kTcpipRequest),
            std::string("2 DHCP [") + shown + "]", kWebConsoleEnd},
           kNothingAdded);
  }
}

}  // namespace
}  // namespace kestrel
