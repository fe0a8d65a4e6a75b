// What must be said before a package is written that is not newer than the running version, and what a written one that
// waits changes.
#include <array>

#include "tests/orvhost/support/orvhost_fixture.h"

namespace orvhost {

namespace {

class Policy : public OrvhostAtATerminal {
 protected:
  std::string Package(const std::string& version) { return folder_.Write(version + ".zip", refhost::Package(version)); }

  // Refused, and nothing is touched or recorded.
  void ExpectRefused(const std::string& arguments, const std::string& verdict, const std::string& option) {
    const auto before = Tree();
    const json object = RunJson(arguments);
    EXPECT_EQ(Tree(), before);
    EXPECT_EQ(object["exit_code"], 6);
    EXPECT_EQ(object["verdict"], verdict);
    EXPECT_EQ(object["changed"], false);
    EXPECT_EQ(object["flash_touched"], false);
    const std::string cause = object["error"]["cause"];
    EXPECT_NE(cause.find("It is not written without " + option + "."), std::string::npos) << cause;
    const std::string next = object["error"]["next_step"];
    EXPECT_NE(next.find(" " + option), std::string::npos) << next;
  }
};

TEST_F(Policy, AnOlderPackageIsWrittenOnlyOnDemand) {
  const std::string older = Package("01-22");
  ExpectRefused(Update(older), "older-not-allowed", "--allow-older");
  ExpectRefused(Update(older) + " --dry-run", "older-not-allowed", "--allow-older");
  ExpectRefused(Update(older) + " --allow-reinstall --yes", "older-not-allowed", "--allow-older");
  EXPECT_EQ(RunJson("check \"" + older + "\" --allow-older")["exit_code"], 0);
  EXPECT_EQ(RunJson(Update(older) + " --allow-older --dry-run")["verdict"], "dry-run");
  EXPECT_EQ(RunJson(Update(older) + " --allow-older")["verdict"], "updated");
}

TEST_F(Policy, APackageThatCannotBeComparedIsWrittenOnlyOnDemand) {
  setenv("TEST_PLUGIN_VERSION", "01-233", 1);
  ExpectRefused(Update(good_), "older-not-allowed", "--allow-older");
  EXPECT_EQ(RunJson(Update(good_) + " --allow-older")["verdict"], "updated");
}

TEST_F(Policy, APackageThatCountsAsTheSameIsWrittenOnlyOnDemand) {
  Ask("no-difference");
  ExpectRefused(Update(good_), "reinstall-not-allowed", "--allow-reinstall");
  ExpectRefused(Update(good_) + " --allow-older", "reinstall-not-allowed", "--allow-reinstall");
  EXPECT_EQ(RunJson(Update(good_) + " --allow-reinstall")["verdict"], "updated");
}

TEST_F(Policy, TheRunningVersionIsWrittenAgainOnlyOnDemand) {
  const std::string same = Package("01-23");
  EXPECT_EQ(RunJson(Update(same))["verdict"], "nothing-to-do");
  const json object = RunJson(Update(same) + " --allow-reinstall");
  EXPECT_EQ(object["verdict"], "updated");
  EXPECT_EQ(object["needs_apply"], true);
  EXPECT_EQ(RunJson("identify")["needs_apply"], true);
  EXPECT_EQ(RunJson("verify")["verdict"], "not-applied-yet");
  EXPECT_EQ(RunJson("apply --yes")["verdict"], "going-down");
  EXPECT_EQ(RunJson("identify")["needs_apply"], false);
  EXPECT_EQ(RunJson("verify")["verdict"], "verified");
}

TEST_F(Policy, WhatWritingAgainNeedsIsLookedForBeforehand) {
  std::filesystem::remove(folder_ / kFlashTool);
  EXPECT_EQ(RunJson(Update(Package("01-23")))["verdict"], "nothing-to-do");
  EXPECT_EQ(RunJson(Update(Package("01-23")) + " --allow-reinstall")["phase"], "preflight");
}

TEST_F(Policy, AVersionThatWaitsForApplyIsNotWrittenAgain) {
  ASSERT_EQ(Run(Update(good_)), 0);
  const json object = RunJson(Update(good_));
  EXPECT_EQ(object["exit_code"], 0);
  EXPECT_EQ(object["verdict"], "nothing-to-do");
  EXPECT_EQ(object["changed"], false);
  EXPECT_EQ(object["needs_apply"], true);
  EXPECT_EQ(object["flash_touched"], false);
  EXPECT_EQ(object["before"], "01-23");
  EXPECT_EQ(object["after"], "01-24");
  EXPECT_NE(object["summary"].get<std::string>().find("Nothing to do: version 01-24 is written already and waits for"),
            std::string::npos);
  const json checked = RunJson("check \"" + good_ + "\"");
  EXPECT_EQ(checked["verdict"], "newer");
  EXPECT_NE(checked["summary"].get<std::string>().find("It is written already and waits for"), std::string::npos);
  EXPECT_EQ(RunJson(Update(good_) + " --allow-reinstall")["flash_touched"], true);
}

TEST_F(Policy, AVersionThatWasAppliedAndDoesNotRunIsWrittenAgain) {
  ASSERT_EQ(Run(Update(good_)), 0);
  ASSERT_EQ(Run("apply --yes"), 0);
  EXPECT_EQ(RunJson(Update(good_))["verdict"], "updated");
}

TEST_F(Policy, VerifyBeforeApplySaysSoAndRecordsNoError) {
  ASSERT_EQ(Run(Update(good_)), 0);
  const json object = RunJson("verify");
  EXPECT_EQ(object["exit_code"], 9);
  EXPECT_EQ(object["verdict"], "not-applied-yet");
  EXPECT_EQ(object["needs_apply"], true);
  EXPECT_EQ(object["error"]["evidence"]["records"], json::array());
  EXPECT_EQ(object["error"]["cause"], "Version 01-24 is written and not applied yet; the BMC still runs 01-23.");
  EXPECT_EQ(State().updateStatus, refhost::kUpdateWritten);
  Ask("unarmed");
  ASSERT_EQ(Run("apply --yes"), 7);
  EXPECT_EQ(RunJson("verify")["verdict"], "not-applied-yet") << "the BMC refused the reboot flag";
  EXPECT_NE(RunJson("diagnose")["facts"]["next_step"].get<std::string>().find("orvhost apply"), std::string::npos);
}

TEST_F(Policy, AtATerminalAnOlderVersionIsAskedAbout) {
  const std::string older = Package("01-22");
  std::array<char, 256> host{};
  ASSERT_EQ(gethostname(host.data(), host.size() - 1), 0);
  EXPECT_EQ(RunAtTerminal(Update(older), "n\n"), 6);
  EXPECT_NE(
      Screen().find("The package is older: it holds version 01-22, and the BMC runs 01-23. Write the OLDER version "
                    "to " +
                    std::string(host.data()) + " (serial number 0123456789ABC)? [y/N]"),
      std::string::npos)
      << screen_;
  EXPECT_EQ(State().updateStatus, refhost::kNoUpdate);
  EXPECT_EQ(RunAtTerminal(Update(older) + " --dry-run", ""), 6);
  EXPECT_EQ(Screen().find("[y/N]"), std::string::npos) << screen_;
  EXPECT_EQ(RunAtTerminal(Update(older), "y\n"), 0);
  EXPECT_EQ(State().updateStatus, refhost::kUpdateWritten);
}

}  // namespace
}  // namespace orvhost
