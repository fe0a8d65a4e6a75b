// orvhost explain: the codes as an operator types them, and the texts behind them.
#include "orvhost/commands/explanations.h"
#include "orvhost/interface/outcome.h"
#include "tests/orvhost/support/orvhost_fixture.h"

namespace orvhost {

namespace {

// "kind code" of each.
refhost::Lines Codes(const std::vector<std::string>& words) {
  std::string unknown;
  const auto explanations = Explain(words, &unknown);
  if (!explanations) {
    return {"unknown " + unknown};
  }
  refhost::Lines codes;
  for (const Explanation& each : *explanations) {
    codes.push_back(each.kind + " " + each.code);
  }
  return codes;
}

TEST(Explanations, OfEveryKindOfCode) {
  EXPECT_EQ(Codes({"MSGID_BMC_0013_F"}), refhost::Lines{"message MSGID_BMC_0013_F"});
  EXPECT_EQ(Codes({"16"}), refhost::Lines{"detail 16"});
  EXPECT_EQ(Codes({"exit", "8"}), refhost::Lines{"exit 8"});
  EXPECT_EQ(Codes({"result", "1024"}), refhost::Lines{"result 1024"});
}

TEST(Explanations, CodesThatRunTogetherAreTakenApart) {
  EXPECT_EQ(Codes({"1618"}), (refhost::Lines{"detail 16", "detail 18"}));
  EXPECT_EQ(Codes({"161616"}), refhost::Lines{"detail 16"});
  EXPECT_EQ(Codes({"MSGID_BMC_0001_F", "0B23"}),
            (refhost::Lines{"message MSGID_BMC_0001_F", "detail 0B", "detail 23"}));
}

TEST(Explanations, HowOftenACodeRepeatsIsSaid) {
  std::string unknown;
  EXPECT_EQ(Explain({"161616"}, &unknown)->front().failed, "The flash tool reported an error (3 times).");
}

TEST(Explanations, CaseAndQuotingDoNotMatter) {
  EXPECT_EQ(Codes({"msgid_bmc_0013_f", "2a", "Exit 8", "exit 0"}),
            (refhost::Lines{"message MSGID_BMC_0013_F", "detail 2A", "exit 8", "exit 0"}));
}

TEST(Explanations, WhatIsNoCodeIsNamed) {
  EXPECT_EQ(Codes({"16", "MSGID_BMC_0099_F"}), refhost::Lines{"unknown MSGID_BMC_0099_F"});
  EXPECT_EQ(Codes({"161"}), refhost::Lines{"unknown 161"});
  EXPECT_EQ(Codes({"99"}), refhost::Lines{"unknown 99"});
  EXPECT_EQ(Codes({"exit", "13"}), refhost::Lines{"unknown exit 13"});
  EXPECT_EQ(Codes({"result 3"}), refhost::Lines{"unknown result 3"});
}

TEST(Explanations, EveryExitCodeHasOne) {
  std::vector<int> numbers;
  for (const NumberText& text : ExitCodeTexts()) {
    numbers.push_back(text.number);
  }
  EXPECT_EQ(numbers,
            (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, static_cast<int>(ExitCode::kBusy),
                              static_cast<int>(ExitCode::kInterrupted), static_cast<int>(ExitCode::kNotDelivered)}));
}

class ExplainCommand : public Orvhost {};

TEST_F(ExplainCommand, TellsThreeThingsOfEachCode) {
  EXPECT_EQ(Run("explain MSGID_BMC_0016_F exit 9"), 0) << err_;
  EXPECT_EQ(
      out_,
      "MSGID_BMC_0016_F\n"
      "  failed: The update cannot be started.\n"
      "  means:  The plug-in has no way to the BMC. The flash was not touched.\n"
      "  do:     Install the package ipmitool, then run the same command again.\n"
      "\n"
      "exit 9\n"
      "  failed: The BMC runs another version than the one that was installed.\n"
      "  means:  The new firmware was not activated, or the package's image is not what its description states.\n"
      "  do:     Run \"orvhost apply\" if it was left out (\"orvhost verify\" says so); otherwise update again.\n");
}

TEST_F(ExplainCommand, AsJson) {
  const json object = RunJson("explain 0B");
  EXPECT_EQ(object["verdict"], "explained");
  EXPECT_EQ(object["explanations"], (json{{{"kind", "detail"},
                                           {"code", "0B"},
                                           {"failed", "No IPMI tool."},
                                           {"means", "The plug-in has no program that talks to the BMC."},
                                           {"do", "Install the package ipmitool."}}}));
}

TEST_F(ExplainCommand, NeedsNoPlugin) {
  plugin_ = folder_ / "missing.so";
  const json object = RunJson("explain");
  EXPECT_EQ(object["exit_code"], 0);
  EXPECT_EQ(object["explanations"].size(), ExplainAll().size());
}

TEST_F(ExplainCommand, KnowsACodeAsPeopleTypeIt) {
  EXPECT_EQ(RunJson("explain exit")["explanations"].size(), ExitCodeTexts().size());
  EXPECT_EQ(RunJson("explain result MSGID_BMC_0012_F")["explanations"].size(), 1U + ResultTexts().size());
  EXPECT_EQ(RunJson("explain bmc_0012")["explanations"][0]["code"], "MSGID_BMC_0012_F");
  EXPECT_EQ(RunJson("explain 0x1d")["explanations"][0]["code"], "1D");
}

TEST_F(ExplainCommand, FailsForACodeThatIsNotThere) {
  EXPECT_EQ(Run("explain 16 7F"), 2);
  EXPECT_EQ(out_, "");
  EXPECT_EQ(err_,
            "orvhost explain: There is no code \"7F\".\n"
            "  verdict:         unknown-code, exit code 2\n"
            "  next step:       Run \"orvhost explain\" to see every code.\n");
}

}  // namespace
}  // namespace orvhost
