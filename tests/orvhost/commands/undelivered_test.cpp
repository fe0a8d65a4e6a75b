// Runs whose result nobody gets, because the standard output takes nothing: what was done stays done, and the exit code
// says that its result is missing.
#include "tests/orvhost/support/orvhost_fixture.h"

namespace orvhost {

namespace {

class Undelivered : public Orvhost {
 protected:
  static constexpr int kNotDelivered = 12;

  // The exit code of a run whose standard output is `redirection`; what it wrote to the standard error is in err_.
  int RunInto(const std::string& redirection, const std::string& arguments) {
    const std::string command = CommandLine(arguments) + " 2> \"" + (folder_ / "err") + "\" " + redirection;
    unsigned long exitCode = 99;
    EXPECT_EQ(CCommon_Information::ExecForeignModule(command, "", "", &exitCode, ~0UL), 0);
    err_ = folder_.Read("err");
    return static_cast<int>(exitCode);
  }

  static constexpr const char* kWays[] = {"> /dev/full", ">&-"};
};

TEST_F(Undelivered, ASuccessWhoseResultNobodyGetsIsNone) {
  for (const char* way : kWays) {
    for (const char* form : {"", " --json"}) {
      EXPECT_EQ(RunInto(way, std::string("identify") + form), kNotDelivered) << way << form;
      EXPECT_EQ(err_.find("orvhost identify: The result could not be written to the standard output ("), 0U) << err_;
      EXPECT_NE(err_.find("next step:       Run the same command again"), std::string::npos) << err_;
    }
  }
}

TEST_F(Undelivered, TheReasonAndTheEndOfTheRunStandOnTheStandardError) {
  EXPECT_EQ(RunInto("> /dev/full", Update(good_) + " --json"), kNotDelivered);
  const std::string printed = WithoutRepeated(err_);
  const std::string id = RunJson("history")["runs"][0]["run_id"];
  EXPECT_EQ(printed,
            "orvhost update: The result could not be written to the standard output (No space left on device).\n"
            "  the run itself:  updated, exit code 0\n"
            "  next step:       What was done stays done. Run \"orvhost show " +
                id + "\" to see how the run ended.\n");
}

TEST_F(Undelivered, WhatWasDoneStaysDoneAndTheJournalSaysSo) {
  for (const char* way : kWays) {
    EXPECT_EQ(RunInto(way, UpdateAgain(good_)), kNotDelivered) << way;
    EXPECT_EQ(State().updateStatus, refhost::kUpdateWritten);
    EXPECT_EQ(RunJson("history")["runs"].back()["verdict"], "updated");
    EXPECT_EQ(RunJson("history")["runs"].back()["exit_code"], "0");
    EXPECT_EQ(RunJson("diagnose")["verdict"], "written");
  }
}

TEST_F(Undelivered, AFailureKeepsItsExitCodeAndIsToldOnTheStandardError) {
  Ask("flash-fails");
  for (const char* way : kWays) {
    EXPECT_EQ(RunInto(way, Update(good_) + " --json"), 8) << way;
    EXPECT_EQ(err_.find("orvhost update: The update failed after writing the firmware had begun.\n"), 0U) << err_;
    EXPECT_NE(err_.find("orvhost update: The result could not be written to the standard output ("), std::string::npos)
        << err_;
  }
}

TEST_F(Undelivered, AFailureForPeopleIsDeliveredAllTheSame) {
  Ask("unreadable");
  EXPECT_EQ(RunInto(">&-", "identify"), 7);
  EXPECT_EQ(err_.find("could not be written"), std::string::npos) << err_;
}

TEST_F(Undelivered, WithoutAResultNothingIsMissing) {
  EXPECT_EQ(RunInto("> /dev/full", "identify --quiet"), 0);
  EXPECT_EQ(RunInto(">&-", "identify --quiet"), 0);
  EXPECT_EQ(err_, "");
}

TEST_F(Undelivered, ATableAndTheHelpAreResultsToo) {
  for (const char* words : {"--help", "--version", "update --help", "explain 16", "explain", "history"}) {
    EXPECT_EQ(RunInto("> /dev/full", words), kNotDelivered) << words;
    EXPECT_NE(err_.find("could not be written to the standard output (No space left on device)"), std::string::npos)
        << words << err_;
  }
}

}  // namespace
}  // namespace orvhost
