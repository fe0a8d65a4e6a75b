#include "orvhost/trace/trace_watch.h"

#include <gtest/gtest.h>

#include "tests/refhost/support/host_test.h"

namespace orvhost {

namespace {

class Watch : public testing::Test {
 protected:
  void Line(int level, const std::string& text) { watch_.Write({level, "bmc", "", "", text}); }
  Evidence Gathered() const { return watch_.Gathered(); }

  TraceWatch watch_;
};

TEST_F(Watch, AtFirstNothingHappened) {
  EXPECT_FALSE(watch_.FlashBegan());
  EXPECT_FALSE(watch_.ShutdownWasRequested());
  EXPECT_EQ(Gathered().command, "");
  EXPECT_EQ(watch_.LastMessageId(), "");
}

TEST_F(Watch, PreparingCommandsDoNotTouchTheFlash) {
  Line(1, "Compare Version");
  Line(1, "[chmod +x -R /opt/orv/tmp/KV6KBMC/BMC_FW/*]");
  Line(1, "Exec [modprobe sg]. iret[0] dret[1]");
  EXPECT_EQ(Gathered().command, "modprobe sg");
  Line(1, "Execute command [\"/usr/bin/ipmitool\" raw 0x34 0x8c > \"/opt/orv/[x]\"]");
  EXPECT_EQ(Gathered().command, "\"/usr/bin/ipmitool\" raw 0x34 0x8c > \"/opt/orv/[x]\"");
  EXPECT_FALSE(watch_.FlashBegan());
}

TEST_F(Watch, TheFlashToolTouchesTheFlash) {
  Line(1, "Execute:\"/opt/orv/KV6KBMC/Yafuflash\"  -cd  \"a.ima\"");
  EXPECT_TRUE(watch_.FlashBegan());
  EXPECT_EQ(Gathered().command, "\"/opt/orv/KV6KBMC/Yafuflash\"  -cd  \"a.ima\"");
  Line(1, "Execute command [tidies up]");
  EXPECT_EQ(watch_.FlashCommand(), "\"/opt/orv/KV6KBMC/Yafuflash\"  -cd  \"a.ima\"");
}

TEST_F(Watch, AFlashToolThatCouldNotBeStartedTouchesNothing) {
  const std::string command = "\"/opt/orv/KV6KBMC/Yafuflash\"  -cd  \"a.ima\"";
  Line(1, "Execute:" + command);
  watch_.CommandNeverStarted("modprobe sg");
  EXPECT_TRUE(watch_.FlashBegan());
  watch_.CommandNeverStarted(command);
  EXPECT_FALSE(watch_.FlashBegan());
  EXPECT_EQ(Gathered().command, command);
}

TEST_F(Watch, AFlashToolThatCouldNotBeStartedAgainTouchedItBefore) {
  const std::string command = "\"/opt/orv/KV6KBMC/Yafuflash\"  -cd  \"a.ima\"";
  Line(1, "Execute:" + command);
  Line(1, "Execute:" + command);
  watch_.CommandNeverStarted(command);
  EXPECT_TRUE(watch_.FlashBegan());
}

TEST_F(Watch, TheUpdateScriptTouchesTheFlash) {
  Line(1, "[/opt/orv/tmp/KV6KBMC/BMC_FW/bmcup.sh < /opt/orv/tmp/KV6KBMC/BMC_FW/Yes]");
  EXPECT_TRUE(watch_.FlashBegan());
}

TEST_F(Watch, OnlyAProgressLineCounts) {
  Line(2, "Execute:something");
  Line(4, "shutdown -h now");
  EXPECT_FALSE(watch_.FlashBegan());
  EXPECT_FALSE(watch_.ShutdownWasRequested());
}

TEST_F(Watch, BothShutdownCommandsAreSeen) {
  for (const char* command : {"shutdown -h now", "shutdown -r now "}) {
    TraceWatch watch;
    watch.Write({1, "bmc", "", "", command});
    EXPECT_TRUE(watch.ShutdownWasRequested());
  }
}

TEST_F(Watch, CompletionCodesAreTakenFromEveryFormOfTheText) {
  const std::pair<const char*, const char*> cases[] = {
      {"Failed to execute ipmi command(GetDeviceID) CompletionCode:C3", "C3"},
      {"Failed to execute IPMI command (Set Reboot flag) CompletionCode c0", "c0"},
      {"Failed to disconnect virtual device. CompletionCode D5", "D5"},
      {"Failed to execute IPMI command(Check Wait Disable) ResponseData1:00  ResponseData2:01", "00"},
      {"Failed to execute ipmi command(GetDeviceID) CompletionCode:", ""}};
  for (const auto& [text, code] : cases) {
    Line(16, text);
    EXPECT_EQ(Gathered().completionCode, code) << text;
  }
}

TEST_F(Watch, FailuresOfEveryLevelAreKept) {
  Line(1, "Failed to execute command(Wait Disabled) CompletionCode:C0");
  Line(4, "Failed to get Operating Version [abnormal]");
  Line(2, "No IPMI tool");
  Line(4, "CBMC_KESTREL_Firmware::Update() [END]");
  Line(1, "Sleep start");
  EXPECT_EQ(Gathered().trace, (refhost::Lines{"Failed to execute command(Wait Disabled) CompletionCode:C0",
                                              "Failed to get Operating Version [abnormal]", "No IPMI tool"}));
}

TEST_F(Watch, TheCommandThatFailedIsTheEvidenceAndNotTheLastOne) {
  Line(1, "Execute command [first]");
  watch_.CommandStarts();
  watch_.TakeErrorText({"warning\n", false});
  Line(1, "Execute command [second]");
  watch_.CommandStarts();
  watch_.TakeErrorText({"Node busy\n", false});
  EXPECT_EQ(Gathered().command, "second");
  Line(16, "Failed to execute ipmi command(GetDeviceID) CompletionCode:C0");
  Line(1, "Execute command [third]");
  watch_.CommandStarts();
  watch_.TakeErrorText({"tidied up\n", false});
  EXPECT_EQ(Gathered().command, "second");
  EXPECT_EQ(Gathered().errorOutput, refhost::Lines{"Node busy"});
  watch_.Write({0, "bmc", "MSGID_BMC_0012_F", "14", "MSGID_BMC_0012_F The BMC ..."});
  EXPECT_EQ(Gathered().command, "third");
  EXPECT_EQ(Gathered().errorOutput, refhost::Lines{"tidied up"});
}

TEST_F(Watch, ACommandThatIsTracedAtItsEndKeepsItsErrorOutput) {
  watch_.CommandStarts();
  watch_.TakeErrorText({"FATAL: Module sg not found\n", false});
  Line(1, "Exec [modprobe sg]. iret[0] dret[1]");
  watch_.Write({0, "bmc", "MSGID_BMC_0009_F", "2A", "MSGID_BMC_0009_F ..."});
  EXPECT_EQ(Gathered().command, "modprobe sg");
  EXPECT_EQ(Gathered().errorOutput, refhost::Lines{"FATAL: Module sg not found"});
}

TEST_F(Watch, OnlyTheLastLinesAreKept) {
  for (int i = 1; i <= 8; ++i) {
    Line(2, std::to_string(i));
  }
  EXPECT_EQ(Gathered().trace, (refhost::Lines{"4", "5", "6", "7", "8"}));
}

TEST_F(Watch, RecordsAreKeptWithTheirFirstText) {
  watch_.Write({0, "bmc", "MSGID_BMC_0015_F", "01-23", "MSGID_BMC_0015_F The BMC runs ..."});
  EXPECT_EQ(watch_.LastMessageId(), "MSGID_BMC_0015_F");
  EXPECT_EQ(watch_.LastDetail(), "01-23");
  EXPECT_EQ(Gathered().records, refhost::Lines{"MSGID_BMC_0015_F The BMC runs ..."});
}

}  // namespace
}  // namespace orvhost
