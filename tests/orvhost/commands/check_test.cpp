// orvhost check, and the dry runs: nothing that they find is changed.
#include "tests/orvhost/support/orvhost_fixture.h"

namespace orvhost {

namespace {

class Check : public Orvhost {
 protected:
  std::string Offered(const std::string& version) const {
    return "check \"" + folder_.Write("package.zip", refhost::Package(version)) + "\"";
  }
  json CheckJson(const std::string& version) {
    const std::string arguments = Offered(version);
    const auto before = Tree();
    json object = RunJson(arguments);
    EXPECT_EQ(Tree(), before);
    EXPECT_EQ(object["changed"], false);
    EXPECT_EQ(object["flash_touched"], false);
    EXPECT_EQ(object["phase"], object["before"] == version ? "compare" : "preflight");
    return object;
  }
};

TEST_F(Check, TellsEverythingThatItFound) {
  EXPECT_EQ(Run("check \"" + good_ + "\""), 0) << err_;
  EXPECT_EQ(
      out_,
      "Package: KV6000 BMC firmware 01-24\n"
      "Running: 01-23\n"
      "The package is newer: it holds version 01-24, and the BMC runs 01-23. Run \"orvhost update " +
          ShellWord(good_) +
          "\" to write it.\n"
          "  Package:         " +
          good_ +
          "\n"
          "  Package name:    KV6000 BMC firmware\n"
          "  Package version: 01-24\n"
          "  Package SHA-256: " +
          Sha256Of(good_) +
          "\n"
          "  Signature:       not-checked\n"
          "  Server type:     kv6000\n"
          "  Prerequisites:   complete\n"
          "  Fit:             the package is for this machine\n"
          "  Running version: 01-23\n"
          "  Not judged:      whether the BMC connects its virtual media, the kernel loads its sg driver, and the "
          "flash "
          "tool takes the image\n");
  EXPECT_EQ(err_, "");
}

TEST_F(Check, ANewerPackage) {
  const json object = CheckJson("01-24");
  EXPECT_EQ(object["verdict"], "newer");
  EXPECT_EQ(object["before"], "01-23");
  EXPECT_EQ(object["after"], "01-23");
  EXPECT_EQ(object["facts"]["package_version"], "01-24");
  EXPECT_EQ(object["facts"]["running_version"], "01-23");
}

TEST_F(Check, AnOlderPackage) {
  const json object = CheckJson("01-22");
  EXPECT_EQ(object["verdict"], "older-not-allowed");
  EXPECT_EQ(object["exit_code"], 6);
  EXPECT_EQ(object["error"]["cause"],
            "The package is older: it holds version 01-22, and the BMC runs 01-23. It is not written without "
            "--allow-older.");
}

TEST_F(Check, TheRunningVersion) {
  const json object = CheckJson("01-23");
  EXPECT_EQ(object["verdict"], "same");
  EXPECT_EQ(object["summary"],
            "The package is the same: the BMC already runs version 01-23. There is nothing to update.");
}

TEST_F(Check, AVersionInWhichThePluginFindsNoDifference) {
  Ask("no-difference");
  const json object = CheckJson("01-24");
  EXPECT_EQ(object["verdict"], "reinstall-not-allowed");
  EXPECT_EQ(object["exit_code"], 6);
  EXPECT_EQ(object["error"]["cause"],
            "The package counts as the same, because the plug-in finds no difference: it holds version 01-24, and the "
            "BMC runs 01-23. It is not written without --allow-reinstall.");
}

// The plug-in answers that as "no difference" too.
TEST_F(Check, AVersionThatThePluginComparedWithNothing) {
  Ask("compares-nothing");
  for (const json& object : {CheckJson("01-24"), RunJson(Update(good_))}) {
    EXPECT_EQ(object["verdict"], "server-type-unknown");
    EXPECT_EQ(object["exit_code"], 4);
    EXPECT_EQ(object["error"]["cause"],
              "The plug-in compared nothing: this machine did not report its server type then.");
    EXPECT_EQ(object["error"]["next_step"],
              "Run the same command again; if that fails too, give the server type with --server-type.");
  }
}

TEST_F(Check, AVersionThatCannotBeCompared) {
  setenv("TEST_PLUGIN_VERSION", "01-233", 1);
  json object = CheckJson("01-24");
  EXPECT_EQ(object["verdict"], "older-not-allowed");
  EXPECT_EQ(object["exit_code"], 6);
  EXPECT_EQ(object["error"]["cause"],
            "The package cannot be compared, because the running version is malformed: it holds version 01-24, and the "
            "BMC runs 01-233. It is not written without --allow-older.");
  Ask("finds-malformed");
  EXPECT_NE(CheckJson("01-24")["error"]["cause"].get<std::string>().find("because one of them is malformed"),
            std::string::npos);
  unsetenv("TEST_PLUGIN_VERSION");
  EXPECT_NE(CheckJson("01-24")["error"]["cause"].get<std::string>().find("because the package's version is malformed"),
            std::string::npos);
}

TEST_F(Check, FailuresAreThoseOfAnUpdate) {
  const std::string other = folder_.Write("other.zip", refhost::Package("01-24", "", R"(["mx4000"])"));
  const std::string refused = folder_.Write("refused.zip", refhost::Package("06-01"));
  const std::string malformed = folder_.Write("malformed.zip", refhost::Package("01-2Z"));
  struct Case {
    const char* asked;
    std::string package;
    int exitCode;
    const char* verdict;
    const char* phase;
  };
  const Case cases[] = {{"", folder_ / "missing.zip", 5, "package-unusable", "package"},
                        {"no-vendor", good_, 3, "plugin-unusable", "plug-in"},
                        {"no-tool", good_, 4, "prerequisites-missing", "prerequisites"},
                        {"", other, 6, "does-not-fit", "server type"},
                        {"", malformed, 5, "package-unusable", "server type"},
                        {"", refused, 6, "does-not-fit", "fit"},
                        {"unreadable", good_, 7, "bmc-unreadable", "fit"}};
  for (const Case& each : cases) {
    Ask(each.asked);
    const auto before = Tree();
    json checked = RunJson("check \"" + each.package + "\"");
    EXPECT_EQ(Tree(), before);
    EXPECT_EQ(checked["exit_code"], each.exitCode) << each.verdict;
    EXPECT_EQ(checked["verdict"], each.verdict);
    EXPECT_EQ(checked["phase"], each.phase);
    json updated = RunJson(Update(each.package));
    updated["command"] = "check";
    updated["run_id"] = checked["run_id"];
    EXPECT_EQ(checked, updated);
  }
}

TEST_F(Check, DamagedRecordsStayWhereTheyAre) {
  folder_.Write("repository/state.json", "garbage");
  const json object = [this] {
    const auto before = Tree();
    json checked = RunJson("check \"" + good_ + "\"");
    EXPECT_EQ(Tree(), before);
    return checked;
  }();
  EXPECT_EQ(object["exit_code"], 7);
  EXPECT_EQ(object["verdict"], "records-damaged");
  EXPECT_EQ(object["error"]["cause"].get<std::string>().find("The state file " + (folder_ / "repository/state.json") +
                                                             " is damaged ("),
            0U);
}

class DryRun : public Orvhost {
 protected:
  json DryRunJson(const std::string& arguments) {
    const auto before = Tree();
    json object = RunJson(arguments + " --dry-run");
    EXPECT_EQ(Tree(), before);
    EXPECT_EQ(object["changed"], false);
    EXPECT_EQ(object["flash_touched"], false);
    EXPECT_EQ(object["before"], object["after"]);
    return object;
  }
};

TEST_F(DryRun, UpdateTellsWhatItWouldWrite) {
  const json object = DryRunJson(Update(good_));
  EXPECT_EQ(object["verdict"], "dry-run");
  EXPECT_EQ(object["phase"], "compare");
  EXPECT_EQ(object["before"], "01-23");
  EXPECT_EQ(
      object["summary"],
      "Dry run, nothing is changed. The package is newer: it holds version 01-24, and the BMC runs 01-23. "
      "\"orvhost update\" would write version 01-24 and record it, which takes minutes; the BMC would go on running "
      "01-23 until \"orvhost apply\".");
  EXPECT_EQ(State().updateStatus, refhost::kNoUpdate);
}

TEST_F(DryRun, UpdateHasNothingToDoForTheRunningVersion) {
  setenv("TEST_PLUGIN_VERSION", "01-24", 1);
  EXPECT_EQ(DryRunJson(Update(good_))["verdict"], "nothing-to-do");
}

TEST_F(DryRun, UpdateFailsAsARealOneWould) {
  Ask("no-tool");
  EXPECT_EQ(DryRunJson(Update(good_))["exit_code"], 4);
  Ask("");
  folder_.Write("repository/state.json", "garbage");
  EXPECT_EQ(DryRunJson(Update(good_))["verdict"], "records-damaged");
}

TEST_F(DryRun, ApplyTellsWhatItWouldStartAndNeedsNoConfirmation) {
  ASSERT_EQ(Run(Update(good_)), 0);
  const json object = DryRunJson("apply");
  EXPECT_EQ(object["verdict"], "dry-run");
  EXPECT_EQ(object["before"], "01-23");
  EXPECT_EQ(
      object["summary"],
      "Dry run, nothing is changed. \"orvhost apply\" would take the machine down at once, and the BMC would start "
      "version 01-24 in the place of 01-23.");
  EXPECT_EQ(State().updateStatus, refhost::kUpdateWritten);
}

TEST_F(DryRun, ApplyWithoutAWrittenUpdateHasNothingToDo) {
  EXPECT_EQ(DryRunJson("apply")["verdict"], "nothing-to-do");
}

TEST_F(DryRun, MethodsRunsNothing) {
  const json object = DryRunJson("methods Reboot");
  EXPECT_EQ(object["verdict"], "dry-run");
  EXPECT_EQ(object["summary"],
            "Dry run, nothing is changed. The plug-in would be asked to run its method Reboot. That takes the machine "
            "down at once.");
  EXPECT_EQ(
      DryRunJson("methods frobnicate")["summary"],
      "Dry run, nothing is changed. The plug-in would be asked to run its method frobnicate. Whether it knows that "
      "method is known only when it is asked to.");
  Run("methods SendInfoToSVP --dry-run --log-file \"" + (folder_ / "log") + "\"");
  EXPECT_NE(folder_.Read("log").find("LinkDevice"), std::string::npos);
  EXPECT_EQ(folder_.Read("log").find("ExecVendorMethod"), std::string::npos);
}

TEST_F(DryRun, IsRefusedWhereThereIsNothingToChange) {
  for (const char* arguments : {"identify --dry-run", "verify --dry-run", "--dry-run identify"}) {
    EXPECT_EQ(Run(arguments), 2) << arguments;
  }
}

}  // namespace
}  // namespace orvhost
