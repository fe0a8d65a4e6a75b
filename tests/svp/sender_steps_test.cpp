// Every step of the transfer failing once, twice and for good, in both senders and through both tools, because
// the BMC refuses it or because its answer is broken: the same requests, retries and pauses, but only the system's
// sender reports a final failure by its message and its end line.
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
  // Prepares the host and the BMC's answer, which has this completion code; gives the journal up to the transfer.
  Lines (*prepare)(ScriptedHost* host, const Tool& tool, const std::string& capabilityCode);
  std::vector<Step> steps;
  std::string unlock;
  Lines end;
  bool tellsFinalFailures;
};

// How a failed test names its sender.
void PrintTo(const Sender& sender, std::ostream* out) {
  *out << sender.name;
}

Lines PrepareOs(ScriptedHost* host, const Tool& tool, const std::string& capabilityCode) {
  host->Answer("3c 04", CapabilityAnswer("03", capabilityCode));
  host->ResultLine("cat /etc/redhat-release", "Linux 9");
  return {"4 CBMC_KESTREL_Firmware::ExecSendOSInfo [START]",
          CapabilityLines(tool, "03", capabilityCode),
          "line cat /etc/redhat-release",
          "1 osname=[Linux 9]",
          "ask host name",
          "1 hostname=[node7]"};
}

Lines PrepareDisks(ScriptedHost* host, const Tool& tool, const std::string& capabilityCode) {
  host->Answer("3c 04", CapabilityAnswer("03", capabilityCode));
  InstallManagementLibrary(*host, "whole");
  host->managementLibrary.info = "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1fA0A1A2A3A4A5A6A7";
  return {"4 CBMC_KESTREL_Firmware::ExecSendHddInfo [START]",
          CapabilityLines(tool, "03", capabilityCode),
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

// The lines on `step` when it failed for good, at last with this completion code.
Lines GivenUp(const Sender& sender, const Step& step, const std::string& completionCode) {
  const Lines record = "record MSGID_BMC_0021_F 29";
  return sender.tellsFinalFailures && step.name != std::string("Unlock")
             ? Lines{"2 " + step.message + completionCode, sender.end, record}
             : record;
}

bool LeavesTheFileLocked(const Step& step) {
  const std::string name = step.name;
  return name == "FirstWrite" || name == "SecondWrite" || name == "Signature";
}

TEST_P(SenderStep, Fails) {
  const auto& [sender, tool, failing, failures] = GetParam();
  const Lines before = sender.prepare(&host_, tool, "00");
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
  const Lines unlocked = LeavesTheFileLocked(step) ? tool.Taken(sender.unlock) : Lines();
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {before, steps, GivenUp(sender, step, tool.refusal), unlocked}));
}

std::string CaseName(const testing::TestParamInfo<Case>& instance) {
  const auto& [sender, tool, failing, failures] = instance.param;
  const std::string step = sender.steps[static_cast<std::size_t>(failing)].name;
  return sender.name + step + std::to_string(failures) + "Times" + tool.name;
}

INSTANTIATE_TEST_SUITE_P(Every, SenderStep,
                         testing::Combine(testing::Values(kOsSender, kDiskSender),
                                          testing::Values(kThroughIpmitool, kThroughMakersTool, kBrokenByIpmitool,
                                                          kBrokenByMakersTool),
                                          testing::Range(0, 6), testing::Range(1, 4)),
                         CaseName);

// Sender and index of a step, through the maker's tool.
using SenderAndStep = std::tuple<Sender, int>;

class SenderStepCodes : public testing::TestWithParam<SenderAndStep> {
 protected:
  ScriptedHost host_;
  std::string detail_ = "from before";
};

// The second attempt has no code, and neither it nor the third shows an earlier one.
TEST_P(SenderStepCodes, AreThoseOfEachAttempt) {
  const auto& [sender, failing] = GetParam();
  const Step& step = sender.steps[static_cast<std::size_t>(failing)];
  const Lines before = sender.prepare(&host_, kThroughMakersTool, "00");
  Lines steps;
  for (int i = 0; i < failing; ++i) {
    const std::string& request = sender.steps[static_cast<std::size_t>(i)].request;
    host_.Answer(request, "00");
    steps = {steps, MakersRequest(request)};
  }
  host_.Answer(step.request, "c1");
  host_.AnswerRaw(step.request, {0, 1, ""});
  host_.Answer(step.request, "d5");
  if (LeavesTheFileLocked(step)) {
    host_.Answer(sender.unlock, "00");
  }
  EXPECT_EQ(sender.send(kMakersToolPath, &detail_), -1);
  EXPECT_EQ(detail_, "29");
  const Lines unlocked = LeavesTheFileLocked(step) ? MakersRequest(sender.unlock) : Lines();
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {before, steps, MakersRequest(step.request), "16 " + step.message + "c1", "sleep 10000",
                         FailedMakersRequest(step.request), "16 " + step.message, "sleep 10000",
                         MakersRequest(step.request), GivenUp(sender, step, "d5"), unlocked}));
}

std::string SenderAndStepName(const testing::TestParamInfo<SenderAndStep>& instance) {
  const auto& [sender, step] = instance.param;
  return std::string(sender.name) + sender.steps[static_cast<std::size_t>(step)].name;
}

INSTANTIATE_TEST_SUITE_P(Every, SenderStepCodes,
                         testing::Combine(testing::Values(kOsSender, kDiskSender), testing::Range(0, 6)),
                         SenderAndStepName);

class SenderTransfer : public testing::TestWithParam<std::tuple<Sender, Tool>> {
 protected:
  ScriptedHost host_;
  std::string detail_ = "from before";
};

TEST_P(SenderTransfer, WhoseUnlockFailsTooIsRecordedOnce) {
  const auto& [sender, tool] = GetParam();
  constexpr int kSignature = 3;
  constexpr int kUnlock = 4;
  const Lines before = sender.prepare(&host_, tool, "00");
  const Lines steps = PlaySteps(&host_, tool, sender.steps, kSignature, 3);
  host_.Answer(sender.unlock, "c1", 3);
  EXPECT_EQ(sender.send(tool.path, &detail_), -1);
  EXPECT_EQ(detail_, "29");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {before, steps, GivenUp(sender, sender.steps[kSignature], tool.refusal),
                                              Attempts(tool, sender.unlock, sender.steps[kUnlock].message, 3)}));
}

INSTANTIATE_TEST_SUITE_P(Every, SenderTransfer,
                         testing::Combine(testing::Values(kOsSender, kDiskSender),
                                          testing::Values(kThroughIpmitool, kThroughMakersTool)),
                         [](const auto& instance) {
                           return std::string(std::get<0>(instance.param).name) + std::get<1>(instance.param).name;
                         });

class SenderAnswers : public testing::TestWithParam<Sender> {
 protected:
  // Makes the BMC take every step, the lock with this completion code; gives the journal.
  Lines TakeAll(const std::string& lockCode) {
    Lines journal;
    for (const Step& step : GetParam().steps) {
      host_.Answer(step.request, step.name == std::string("Lock") ? lockCode : "00");
      journal = {journal, MakersRequest(step.request)};
    }
    return journal;
  }

  ScriptedHost host_;
  std::string detail_ = "from before";
};

TEST_P(SenderAnswers, ALockThatIsAnswered01IsALock) {
  const Lines before = GetParam().prepare(&host_, kThroughMakersTool, "00");
  const Lines steps = TakeAll("01");
  EXPECT_EQ(GetParam().send(kMakersToolPath, &detail_), 0);
  EXPECT_EQ(detail_, "");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {before, steps, GetParam().end}));
}

TEST_P(SenderAnswers, ACapabilityCountsWithAnyCompletionCode) {
  for (const char* code : {"c1", "01", "ff"}) {
    SCOPED_TRACE(code);
    const Lines before = GetParam().prepare(&host_, kThroughMakersTool, code);
    const Lines steps = TakeAll("00");
    EXPECT_EQ(GetParam().send(kMakersToolPath, &detail_), 0);
    EXPECT_EQ(detail_, "");
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {before, steps, GetParam().end}));
  }
}

INSTANTIATE_TEST_SUITE_P(Of, SenderAnswers, testing::Values(kOsSender, kDiskSender),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace kestrel
