// Every step of the transfer failing once, twice and for good, in both senders and through both tools: the same
// requests, retries and pauses, but only the system's sender tells a final failure by its message and its end line.
#include <gtest/gtest.h>

#include <tuple>

#include "svp/disk_information.h"
#include "svp/os_information.h"
#include "tests/svp/management_library_file.h"
#include "tests/svp/transfer_lines.h"

namespace kestrel {
namespace {

struct Sender {
  const char* name;
  int (*send)(const std::string& toolPath, std::string* detail);
  // Prepares the host and the BMC's answer; gives the journal up to the transfer.
  Lines (*prepare)(ScriptedHost* host, const Tool& tool);
  std::vector<Step> steps;
  std::string unlock;
  Lines end;
  bool tellsFinalFailures;
};

// How a failed test names its sender.
void PrintTo(const Sender& sender, std::ostream* out) {
  *out << sender.name;
}

Lines PrepareOs(ScriptedHost* host, const Tool& tool) {
  host->Answer("3c 04", CapabilityAnswer("03"));
  host->ResultLine("cat /etc/redhat-release", "Linux 9");
  return {"4 CBMC_KESTREL_Firmware::ExecSendOSInfo [START]",
          CapabilityLines(tool, "03"),
          "line cat /etc/redhat-release",
          "1 osname=[Linux 9]",
          "ask host name",
          "1 hostname=[node7]"};
}

Lines PrepareDisks(ScriptedHost* host, const Tool& tool) {
  host->Answer("3c 04", CapabilityAnswer("03"));
  InstallManagementLibrary(*host, "whole");
  host->managementLibrary.info = "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1fA0A1A2A3A4A5A6A7";
  return {"4 CBMC_KESTREL_Firmware::ExecSendHddInfo [START]",
          CapabilityLines(tool, "03"),
          LibraryOpened(),
          "4 CBMC_MngLib::GetHddInfoToSVP [START]",
          "library GetHddInfoToSVP",
          "4 CBMC_MngLib::GetHddInfoToSVP [END]",
          LibraryClosed(),
          "1 ErrCode:[] WrnCode:[]"};
}

const Sender kOsSender = {
    "Os",
    SendOsInformation,
    PrepareOs,
    {{"Lock", "3c 6a 05 40 01 00 00 00 00 00",
      "Failed to execute IPMI command(OEM Lock Server Config File) CompletionCode:"},
     {"FirstWrite",
      "3c 69 05 40 00 00 00 00 00 00 00 00 00 00 00 00 00 00 30 00 00 00 00 00 00 00 03 4f 53 00 08 00 4c 69 6e 75 78 "
      "20 39 00 09 48",
      "Failed to execute IPMI command(OEM Write Server Config File) CompletionCode:"},
     {"SecondWrite", "3c 69 05 40 00 00 20 00 00 00 6f 73 74 6e 61 6d 65 00 06 00 6e 6f 64 65 37 00",
      "Failed to execute IPMI command(OEM Write Server Config File) CompletionCode:"},
     {"Signature", "3c 69 05 40 00 00 00 00 00 00 51 54 4c 4d 50",
      "Failed to execute IPMI command(OEM Write Server Config File [Signature]) CompletionCode:"},
     {"Unlock", "3c 6b 05 40 00 00 00 00 00 00",
      "Failed to execute IPMI command(OEM UnLock Server Config File) CompletionCode:"},
     {"Notification", "34 39 01", "Failed to execute IPMI command(OEM Notify ORV Event) CompletionCode:"}},
    "3c 6b 05 40 00 00 00 00 00 00",
    "4 CBMC_KESTREL_Firmware::ExecSendInfoToSVP [END]",
    true,
};

const Sender kDiskSender = {
    "Disk",
    SendDiskInformation,
    PrepareDisks,
    {{"Lock", "3c 6a 05 41 01 00 00 00 00 00",
      "Failed to execute IPMI command(OEM Lock Server Config File) CompletionCode:"},
     {"FirstWrite",
      "3c 69 05 41 00 00 00 00 00 00 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12 13 14 15 16 17 18 19 1a "
      "1b 1c 1d 1e 1f",
      "Failed to execute IPMI command(OEM Write Server Config File) CompletionCode:"},
     {"SecondWrite", "3c 69 05 41 00 00 20 00 00 00 A0 A1 A2 A3 A4 A5 A6 A7",
      "Failed to execute IPMI command(OEM Write Server Config File) CompletionCode:"},
     {"Signature", "3c 69 05 41 00 00 00 00 00 00 51 54 4c 4d 50",
      "Failed to execute IPMI command(OEM Write Server Config File [Signature]) CompletionCode:"},
     {"Unlock", "3c 6b 05 41 00 00 00 00 00 00",
      "Failed to execute IPMI command(OEM UnLock Server Config File) CompletionCode:"},
     {"Notification", "34 39 02", "Failed to execute IPMI command(OEM Notify ORV Event) CompletionCode:"}},
    "3c 6b 05 41 00 00 00 00 00 00",
    "4 CBMC_KESTREL_Firmware::ExecSendHDDInfo [END]",
    false,
};

// Sender, tool, index of the step that fails, and how often it does.
using Case = std::tuple<Sender, Tool, int, int>;

class SenderStep : public testing::TestWithParam<Case> {
 protected:
  ScriptedHost host_;
  std::string detail_ = "from before";
};

// The journal behind the last answer of `step` when it failed for good.
Lines AfterFinalFailure(const Sender& sender, const Tool& tool, const Step& step) {
  const Lines record = "record MSGID_BMC_0021_F 29";
  const std::string name = step.name;
  const Lines told = sender.tellsFinalFailures && name != "Unlock"
                         ? Lines{"2 " + step.message + tool.refusal, sender.end, record}
                         : record;
  const bool stillLocked = name == "FirstWrite" || name == "SecondWrite" || name == "Signature";
  return stillLocked ? Lines{told, tool.Taken(sender.unlock)} : told;
}

TEST_P(SenderStep, Fails) {
  const auto& [sender, tool, failing, failures] = GetParam();
  const Lines before = sender.prepare(&host_, tool);
  const Lines steps = PlaySteps(&host_, tool, sender.steps, failing, failures);
  if (failures < 3) {
    EXPECT_EQ(sender.send(tool.path, &detail_), 0);
    EXPECT_EQ(detail_, "");
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {before, steps, sender.end}));
    return;
  }
  host_.AnswerAlways(sender.unlock, "00");
  EXPECT_EQ(sender.send(tool.path, &detail_), -1);
  EXPECT_EQ(detail_, "29");
  const Step& step = sender.steps[static_cast<std::size_t>(failing)];
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {before, steps, AfterFinalFailure(sender, tool, step)}));
}

std::string CaseName(const testing::TestParamInfo<Case>& instance) {
  const auto& [sender, tool, failing, failures] = instance.param;
  const std::string step = sender.steps[static_cast<std::size_t>(failing)].name;
  return sender.name + step + std::to_string(failures) + "Times" + tool.name;
}

INSTANTIATE_TEST_SUITE_P(Every, SenderStep,
                         testing::Combine(testing::Values(kOsSender, kDiskSender),
                                          testing::Values(kThroughIpmitool, kThroughMakersTool), testing::Range(0, 6),
                                          testing::Range(1, 4)),
                         CaseName);

}  // namespace
}  // namespace kestrel
