#include "orvhost/interface/outcome.h"

#include <gtest/gtest.h>

namespace orvhost {

namespace {

Outcome Failed() {
  Outcome outcome;
  outcome.exitCode = ExitCode::kFailedFlashBegun;
  outcome.command = "update";
  outcome.phase = "write";
  outcome.verdict = "update-failed";
  outcome.flashTouched = true;
  outcome.before = "01-23";
  outcome.failure = Failure{"It failed.", {"cmd", "C0", {"record"}, {"one", "two"}, {"busy"}}, "Do this."};
  return outcome;
}

TEST(OutcomeText, AFailureTellsCauseEvidenceFlashAndNextStep) {
  EXPECT_EQ(ToErrorText(Failed()),
            "orvhost update: It failed.\n"
            "  verdict:         update-failed, exit code 8\n"
            "  record:          record\n"
            "  trace:           one\n"
            "  trace:           two\n"
            "  shell command:   cmd\n"
            "  error output:    busy\n"
            "  completion code: C0\n"
            "  flash:           writing it had begun\n"
            "  next step:       Do this.\n");
}

TEST(OutcomeText, WithoutASubcommandTheProgramSpeaksForItself) {
  Outcome outcome = Failed();
  outcome.command = "";
  EXPECT_EQ(ToErrorText(outcome).find("orvhost: It failed.\n"), 0U);
}

TEST(OutcomeText, BadUsageSaysNothingOfTheFlash) {
  Outcome outcome;
  outcome.verdict = "usage";
  outcome.exitCode = ExitCode::kUsage;
  outcome.failure = Failure{"A subcommand is required", {}, "Do this."};
  EXPECT_EQ(ToErrorText(outcome),
            "orvhost: A subcommand is required\n  verdict:         usage, exit code 2\n  next step:       Do this.\n");
}

TEST(OutcomeText, ASuccessTellsItsFacts) {
  Outcome outcome;
  outcome.summary = "Done.";
  outcome.facts = {{"a", "A", "1"}, {"long_name", "long name", ""}};
  EXPECT_EQ(ToText(outcome), "Done.\n  A:         1\n  long name: (none)\n");
}

TEST(OutcomeJson, IsOneLineWithEveryField) {
  EXPECT_EQ(ToJson(Failed()),
            R"({"schema":2,"command":"update","run_id":"","verdict":"update-failed","exit_code":8,"changed":false,)"
            R"("before":"01-23","after":"","needs_apply":null,"phase":"write","flash_touched":true,"summary":"",)"
            R"("facts":{},"notices":[],)"
            R"("error":{"cause":"It failed.","evidence":{"command":"cmd","completion_code":"C0",)"
            R"("records":["record"],"trace":["one","two"],"error_output":["busy"]},"next_step":"Do this."}})"
            "\n");
}

TEST(OutcomeJson, FactsGoByTheirKeysInTheOrderOfTelling) {
  Outcome outcome;
  outcome.facts = {{"package_sha256", "Package SHA-256", "ab"}, {"fit", "Fit", ""}};
  EXPECT_NE(ToJson(outcome).find(R"("facts":{"package_sha256":"ab","fit":""})"), std::string::npos) << ToJson(outcome);
}

TEST(OutcomeJson, WhetherToApplyIsAYesOrANoWhereItIsKnown) {
  Outcome outcome;
  outcome.needsApply = true;
  EXPECT_NE(ToJson(outcome).find(R"("needs_apply":true,)"), std::string::npos) << ToJson(outcome);
  outcome.needsApply = false;
  EXPECT_NE(ToJson(outcome).find(R"("needs_apply":false,)"), std::string::npos) << ToJson(outcome);
}

TEST(OutcomeJson, AForeignNameBecomesAKeyOfLowerCaseWords) {
  EXPECT_EQ(FactKey("Serial Number"), "serial_number");
  EXPECT_EQ(FactKey("mac_address"), "mac_address");
  EXPECT_EQ(FactKey("  BMC - Version (1) "), "bmc_version_1");
  EXPECT_EQ(FactKey("***"), "unnamed");
}

TEST(OutcomeJson, BytesThatAreNotUtf8AreReplaced) {
  Outcome outcome;
  outcome.summary = "a\xff\n";
  EXPECT_NE(ToJson(outcome).find("\"summary\":\"a\\ufffd\\n\""), std::string::npos);
}

}  // namespace
}  // namespace orvhost
