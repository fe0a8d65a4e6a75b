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
  outcome.failure = Failure{"It failed.", {"cmd", "C0", {"record"}, {"one", "two"}}, "Do this."};
  return outcome;
}

TEST(OutcomeText, AFailureTellsCauseEvidenceFlashAndNextStep) {
  EXPECT_EQ(ToErrorText(Failed()),
            "orvhost update: It failed.\n"
            "  record:          record\n"
            "  trace:           one\n"
            "  trace:           two\n"
            "  command:         cmd\n"
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
  outcome.exitCode = ExitCode::kUsage;
  outcome.failure = Failure{"A subcommand is required", {}, "Do this."};
  EXPECT_EQ(ToErrorText(outcome), "orvhost: A subcommand is required\n  next step:       Do this.\n");
}

TEST(OutcomeText, ASuccessTellsItsFacts) {
  Outcome outcome;
  outcome.summary = "Done.";
  outcome.facts = {{"a", "1"}, {"long name", ""}};
  EXPECT_EQ(ToText(outcome), "Done.\n  a:         1\n  long name: (none)\n");
}

TEST(OutcomeJson, IsOneLineWithEveryField) {
  EXPECT_EQ(ToJson(Failed()),
            R"({"schema":1,"command":"update","run_id":"","verdict":"update-failed","exit_code":8,"changed":false,)"
            R"("before":"01-23","after":"","phase":"write","flash_touched":true,"summary":"","facts":{},"notices":[],)"
            R"("error":{"cause":"It failed.","evidence":{"command":"cmd","completion_code":"C0",)"
            R"("records":["record"],"trace":["one","two"]},"next_step":"Do this."}})"
            "\n");
}

TEST(OutcomeJson, BytesThatAreNotUtf8AreReplaced) {
  Outcome outcome;
  outcome.summary = "a\xff\n";
  EXPECT_NE(ToJson(outcome).find("\"summary\":\"a\xef\xbf\xbd\\n\""), std::string::npos);
}

}  // namespace
}  // namespace orvhost
