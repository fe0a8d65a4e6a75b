// The tool as a process of its own, with a plug-in that answers as each test asks.
#include <array>

#include "tests/orvhost/support/orvhost_fixture.h"

namespace orvhost {

namespace {

TEST_F(Orvhost, IdentifyTellsTheDevice) {
  EXPECT_EQ(Run("identify"), 0);
  EXPECT_EQ(out_,
            "The BMC runs firmware version 01-23.\n"
            "  Device:           KV6KBmc\n"
            "  Server type:      kv6000\n"
            "  Serial Number:    0123456789ABC\n"
            "  Recorded version: (none)\n"
            "  Last update:      none\n");
  EXPECT_EQ(err_, "");
}

TEST_F(Orvhost, IdentifyAsJson) {
  const json object = RunJson("identify");
  EXPECT_EQ(object["command"], "identify");
  EXPECT_EQ(object["verdict"], "identified");
  EXPECT_EQ(object["before"], "01-23");
  EXPECT_EQ(object["changed"], false);
  EXPECT_EQ(object["facts"]["serial_number"], "0123456789ABC");
}

TEST_F(Orvhost, IdentifyFailsWhenTheBmcDoesNotAnswer) {
  Ask("unreadable");
  EXPECT_EQ(Run("identify"), 7);
  EXPECT_EQ(out_, "");
  EXPECT_EQ(err_,
            "orvhost identify: The BMC does not report its firmware version.\n"
            "  verdict:         bmc-unreadable, exit code 7\n"
            "  trace:           Failed to execute ipmi command(GetDeviceID) CompletionCode:C3\n"
            "  shell command:   tool raw 0x06 0x01 > result\n"
            "  completion code: C3\n"
            "  flash:           not touched by this run\n"
            "  next step:       Wait a minute in case the BMC is restarting, then run the same command again. If that "
            "fails too, run the command above by hand to see why.\n"
            "  same command:    orvhost identify\n");
}

TEST_F(Orvhost, UpdateTellsEveryStepAndRecordsTheNewVersion) {
  EXPECT_EQ(Run(Update(good_)), 0) << err_;
  EXPECT_EQ(out_,
            "Package: KV6000 BMC firmware 01-24\n"
            "Running: 01-23\n"
            "Writing: 01-24; this takes minutes, keep the machine powered\n"
            "Firmware version 01-24 is written; the BMC still runs 01-23. Run \"orvhost apply\" to put it into "
            "operation, then \"orvhost verify\".\n"
            "  Package:         " +
                good_ +
                "\n"
                "  Package name:    KV6000 BMC firmware\n"
                "  Package version: 01-24\n"
                "  Package SHA-256: " +
                Sha256Of(good_) +
                "\n"
                "  Signature:       not-checked\n"
                "  Server type:     kv6000\n");
  const refhost::ModuleState state = State();
  EXPECT_EQ(state.operating.info.moduleVersion, "01-24");
  EXPECT_EQ(state.previous.info.moduleVersion, "01-23");
  EXPECT_EQ(state.updateStatus, refhost::kUpdateWritten);
  EXPECT_EQ(state.previousVersion, "01-23");
}

TEST_F(Orvhost, UpdateAsJson) {
  const json object = RunJson(Update(good_));
  EXPECT_EQ(object["verdict"], "updated");
  EXPECT_EQ(object["changed"], true);
  EXPECT_EQ(object["before"], "01-23");
  EXPECT_EQ(object["after"], "01-24");
  EXPECT_EQ(object["flash_touched"], true);
  EXPECT_EQ(object["phase"], "record");
}

TEST_F(Orvhost, QuietSaysNothingOfASuccess) {
  EXPECT_EQ(Run(Update(good_) + " --quiet"), 0);
  EXPECT_EQ(out_ + err_, "");
}

TEST_F(Orvhost, AFlashThatOverranItsTimeIsASuccessThatSaysSo) {
  Ask("overruns");
  const json object = RunJson(Update(good_));
  EXPECT_EQ(object["verdict"], "updated-after-time-out");
  EXPECT_EQ(object["changed"], true);
  EXPECT_EQ(State().updateStatus, refhost::kUpdateWritten);
}

TEST_F(Orvhost, TheVersionThatRunsAlreadyIsNothingToDo) {
  setenv("TEST_PLUGIN_VERSION", "01-24", 1);
  const json object = RunJson(Update(good_));
  EXPECT_EQ(object["verdict"], "nothing-to-do");
  EXPECT_EQ(object["changed"], false);
  EXPECT_EQ(object["flash_touched"], false);
  EXPECT_EQ(State().updateStatus, refhost::kNoUpdate);
}

TEST_F(Orvhost, NothingToDoLeavesAWrittenUpdateWaiting) {
  ASSERT_EQ(Run(Update(good_)), 0);
  EXPECT_EQ(Run(Update(folder_.Write("same.zip", refhost::Package("01-23")))), 0);
  EXPECT_NE(out_.find("Nothing to do: the BMC already runs version 01-23. Version 01-24, which was written earlier, "
                      "still waits for \"orvhost apply\"."),
            std::string::npos)
      << out_;
  EXPECT_EQ(State().updateStatus, refhost::kUpdateWritten);
  EXPECT_EQ(State().operating.info.moduleVersion, "01-24");
}

TEST_F(Orvhost, AnUpdateThatWasNotBegunLeavesAWrittenOneWaiting) {
  ASSERT_EQ(Run(Update(good_)), 0);
  const std::string next = folder_.Write("next.zip", refhost::Package("01-25"));
  Ask("unprepared");
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(RunJson(Update(next))["exit_code"], 7);
  }
  Ask("");
  EXPECT_EQ(State().updateStatus, refhost::kUpdateRegistered);
  EXPECT_EQ(RunJson("identify")["needs_apply"], true);
  EXPECT_EQ(RunJson("apply --dry-run")["verdict"], "dry-run");
  EXPECT_EQ(RunJson("apply --yes")["after"], "01-24");
}

TEST_F(Orvhost, AnUpdateThatWasNotBegunDoesNotHideThatTheLastOneFailed) {
  Ask("flash-fails");
  ASSERT_EQ(Run(Update(good_)), 8);
  Ask("unprepared");
  ASSERT_EQ(Run(Update(good_)), 7);
  Ask("");
  EXPECT_EQ(RunJson("apply --yes")["verdict"], "not-written");
  EXPECT_EQ(RunJson("identify")["facts"]["last_update"], "failed");
}

// The BMC goes on running what it ran before, which proves nothing of the image beside it.
TEST_F(Orvhost, AnUpdateThatFailedIsNotVerified) {
  Ask("flash-fails");
  ASSERT_EQ(Run(Update(good_)), 8);
  Ask("");
  for (const char* arguments : {"verify", "apply --yes", "methods Reboot --yes", "apply --dry-run"}) {
    const json object = RunJson(arguments);
    EXPECT_EQ(object["verdict"], "not-written") << arguments << object;
    EXPECT_EQ(object["exit_code"], 7);
    EXPECT_EQ(object["changed"], false);
    EXPECT_EQ(object["error"]["cause"], "The last update failed.");
  }
  EXPECT_EQ(State().updateStatus, refhost::kUpdateFailed);
  EXPECT_EQ(RunJson("diagnose")["verdict"], "flash-incomplete");
}

TEST_F(Orvhost, AnUpdateThatWasCutOffIsNotVerified) {
  ASSERT_EQ(Run(Update(good_)), 0);
  const std::string state = folder_.Read("repository/state.json");
  const std::string written = "\"update_status\": 3";
  ASSERT_NE(state.find(written), std::string::npos) << state;
  folder_.Write("repository/state.json",
                std::string(state).replace(state.find(written), written.size(), "\"update_status\": 2"));
  const json object = RunJson("verify");
  EXPECT_EQ(object["verdict"], "not-written") << object;
  EXPECT_EQ(object["error"]["cause"], "The last update was cut off while it was written.");
  EXPECT_EQ(State().updateStatus, refhost::kUpdateRunning);
}

TEST_F(Orvhost, EveryRunTellsWhetherApplyComesNext) {
  EXPECT_EQ(RunJson("identify")["needs_apply"], false);
  EXPECT_EQ(RunJson(Update(good_) + " --dry-run")["needs_apply"], false);
  EXPECT_EQ(RunJson("apply --yes")["needs_apply"], false);
  EXPECT_EQ(RunJson(Update(good_))["needs_apply"], true);

  EXPECT_EQ(RunJson("identify")["needs_apply"], true);
  EXPECT_EQ(RunJson("check \"" + good_ + "\"")["needs_apply"], true);
  EXPECT_EQ(RunJson(Update(folder_.Write("same.zip", refhost::Package("01-23"))))["needs_apply"], true);
  EXPECT_EQ(RunJson("verify")["needs_apply"], true);
  EXPECT_EQ(RunJson("apply --dry-run")["needs_apply"], true);
  EXPECT_EQ(RunJson("apply")["needs_apply"], true);  // not confirmed
  EXPECT_EQ(RunJson("history")["needs_apply"], nullptr);
  Ask("unarmed");
  EXPECT_EQ(RunJson("apply --yes")["needs_apply"], true);
  Ask("stays-up");
  EXPECT_EQ(RunJson("apply --yes")["needs_apply"], false);  // but a shutdown by hand
  Ask("unreadable");
  EXPECT_EQ(RunJson("identify")["needs_apply"], nullptr);
  EXPECT_EQ(RunJson("verify")["needs_apply"], nullptr);
  Ask("");
  EXPECT_EQ(RunJson("apply --yes")["needs_apply"], false);

  setenv("TEST_PLUGIN_VERSION", "01-24", 1);  // the machine was started anew
  EXPECT_EQ(RunJson("identify")["needs_apply"], false);
  EXPECT_EQ(RunJson("check \"" + good_ + "\"")["needs_apply"], false);
  EXPECT_EQ(RunJson(Update(good_))["summary"], "Nothing to do: the BMC already runs version 01-24.");
  EXPECT_EQ(RunJson("verify")["needs_apply"], false);
}

TEST_F(Orvhost, AFailedUpdateLeavesNothingToApply) {
  Ask("flash-fails");
  EXPECT_EQ(RunJson(Update(good_))["needs_apply"], false);
  EXPECT_EQ(RunJson("apply --yes")["needs_apply"], false);
}

TEST_F(Orvhost, UpdateFailsForAPackageThatCannotBeUsedBeforeThePluginIsLoaded) {
  plugin_ = "/missing.so";
  const std::pair<std::string, std::string> cases[] = {
      {folder_ / "missing.zip", "there is no such file"},
      {folder_.Write("empty.zip", ""), "the file is empty"},
      {folder_.Write("text.zip", "text"), "it is neither a zip nor a tar archive"},
      {folder_.Write("kv6000_0124.ima", "image"), "it is a firmware image alone, without its description module.json"},
      {folder_.Write("cut.zip", refhost::Package("01-24").substr(0, 150)),
       "the archive ends too early, as after an incomplete download"},
      {folder_.Write(
           "wrapped.zip",
           refhost::ArchiveBuilder().File("bmc-01-24/module.json", "{}").Build(refhost::ArchiveBuilder::Format::kZip)),
       "module.json lies in folder bmc-01-24 of the archive and not at its top"},
      {folder_.Write("other.zip",
                     refhost::ArchiveBuilder().File("a", "x").Build(refhost::ArchiveBuilder::Format::kZip)),
       "the archive holds no module.json"},
      {folder_.Write("bad.zip", refhost::Package("")), "module.json is not valid: \"version\" is empty"}};
  for (const auto& [path, reason] : cases) {
    EXPECT_EQ(Run(Update(path)), 5);
    const std::string cause = std::string("The package ").append(path).append(" cannot be used: ").append(reason);
    EXPECT_EQ(err_.find("orvhost update: " + cause), 0U) << err_;
    EXPECT_NE(err_.find("flash:           not touched by this run"), std::string::npos);
  }
}

TEST_F(Orvhost, MissingPrerequisitesAreNamed) {
  Ask("no-tool");
  const json object = RunJson(Update(good_));
  EXPECT_EQ(object["exit_code"], 4);
  EXPECT_EQ(object["verdict"], "prerequisites-missing");
  EXPECT_EQ(object["error"]["cause"], "Missing on this machine: IPMI tool.");
  EXPECT_EQ(Run("identify"), 4);
}

TEST_F(Orvhost, APackageForOtherServersDoesNotFit) {
  const std::string other = folder_.Write("other.zip", refhost::Package("01-24", "", R"(["kv6000rt", "mx4000"])"));
  const json object = RunJson(Update(other));
  EXPECT_EQ(object["exit_code"], 6);
  EXPECT_EQ(object["error"]["cause"], "The package is made for kv6000rt, mx4000, and this machine is kv6000.");
}

TEST_F(Orvhost, APackageThatThePluginRefusesDoesNotFit) {
  const json object = RunJson(Update(folder_.Write("other.zip", refhost::Package("06-01", "long/ssd"))));
  EXPECT_EQ(object["exit_code"], 6);
  EXPECT_EQ(object["phase"], "fit");
  EXPECT_EQ(
      object["error"]["cause"],
      "The package, version 06-01, for the model \"long/ssd\", does not fit this machine, which runs version 01-23.");
  EXPECT_EQ(State().updateStatus, refhost::kNoUpdate);
}

TEST_F(Orvhost, ABmcThatDoesNotAnswerIsNotAPackageThatDoesNotFit) {
  Ask("unreadable");
  const json object = RunJson(Update(good_));
  EXPECT_EQ(object["exit_code"], 7);
  EXPECT_EQ(object["verdict"], "bmc-unreadable");
  EXPECT_EQ(object["error"]["evidence"]["completion_code"], "C3");
}

TEST_F(Orvhost, UpdateFailsWhenItCannotBePrepared) {
  Ask("unprepared");
  const json object = RunJson(Update(good_));
  EXPECT_EQ(object["exit_code"], 7);
  EXPECT_EQ(object["phase"], "prepare");
  EXPECT_EQ(object["error"]["evidence"]["records"][0],
            "MSGID_BMC_0016_F The update cannot be started (0B: no IPMI tool).");
}

TEST_F(Orvhost, UpdateFailsBeforeTheFlashWithItsEvidence) {
  Ask("connect-fails");
  EXPECT_EQ(Run(Update(good_)), 7);
  EXPECT_EQ(err_,
            "orvhost update: The update failed before anything was written.\n"
            "  verdict:         update-failed, exit code 7\n"
            "  record:          MSGID_BMC_0012_F The BMC did not carry out a command that the update needs (14: the "
            "BMC did not connect its virtual media).\n"
            "  trace:           Failed to execute ipmi command (Connect to virtual media) CompletionCode:C0\n"
            "  shell command:   tool raw 0x34 0x8c 0x55 0xaa 0x01 > result\n"
            "  completion code: C0\n"
            "  flash:           not touched by this run\n"
            "  next step:       Run the same command again; if that does not help, restart the BMC.\n"
            "  same command:    orvhost update " +
                ShellWord(good_) + "\n");
  EXPECT_EQ(State().updateStatus, refhost::kUpdateFailed);
  EXPECT_EQ(State().operating.info.moduleVersion, "01-23");
}

TEST_F(Orvhost, UpdateFailsOtherwiseAfterTheFlashBegan) {
  Ask("flash-fails");
  const json object = RunJson(Update(good_));
  EXPECT_EQ(object["exit_code"], 8);
  EXPECT_EQ(object["flash_touched"], true);
  EXPECT_EQ(object["changed"], false);
  EXPECT_EQ(object["error"]["evidence"]["command"], "\"/opt/orv/KV6KBMC/Yafuflash\"  -cd  \"image.ima\"");
}

TEST_F(Orvhost, UpdateFailsAtAnUnexpectedErrorToo) {
  Ask("throws");
  json object = RunJson(Update(good_));
  EXPECT_EQ(object["exit_code"], 1);
  EXPECT_EQ(object["error"]["cause"],
            "An unexpected error, which is a fault of this program or of the plug-in, ended the run.");
  EXPECT_EQ(object["command"], "update");
  Ask("throws-late");
  object = RunJson(Update(good_));
  EXPECT_EQ(object["exit_code"], 8);
  EXPECT_EQ(object["flash_touched"], true);
}

TEST_F(Orvhost, UpdateFailsBeforeItBeginsWhenItsRecordsCannotBeKept) {
  folder_.Write("repository", "a file where the folder should be");
  const json object = RunJson(Update(good_));
  EXPECT_EQ(object["exit_code"], 4);
  EXPECT_EQ(object["phase"], "preflight");
  EXPECT_EQ(object["flash_touched"], false);
}

TEST_F(Orvhost, DamagedRecordsAreNamedOnceAndKeptAside) {
  folder_.Write("repository/state.json", "garbage");
  const json object = RunJson(Update(good_));
  EXPECT_EQ(object["exit_code"], 7);
  EXPECT_EQ(object["verdict"], "records-damaged");
  EXPECT_EQ(folder_.Read("repository/state.json.damaged-1"), "garbage");
  EXPECT_EQ(Run(Update(good_)), 0);
}

TEST_F(Orvhost, DamagedRecordsOfAnUpdateThatWaitsLeadToWritingItAgain) {
  ASSERT_EQ(Run(Update(good_)), 0);
  folder_.Write("repository/state.json", "");
  const json object = RunJson("apply --yes");
  EXPECT_EQ(object["verdict"], "records-damaged");
  EXPECT_EQ(
      object["error"]["next_step"],
      "Look at the kept file if its records matter; to go on with empty records, keep the machine powered and run "
      "\"orvhost update PACKAGE\" again before anything is put into operation.");
  EXPECT_EQ(Run(Update(good_)), 0);
}

TEST_F(Orvhost, ApplyPutsAWrittenUpdateIntoOperation) {
  ASSERT_EQ(Run(Update(good_)), 0);
  const json object = RunJson("apply --yes");
  EXPECT_EQ(object["verdict"], "going-down");
  EXPECT_EQ(object["changed"], true);
  EXPECT_EQ(object["before"], "01-23");
  EXPECT_EQ(object["after"], "01-24");
}

TEST_F(Orvhost, ApplyWithoutAConfirmationIsRefused) {
  ASSERT_EQ(Run(Update(good_)), 0);
  EXPECT_EQ(Run("apply"), 2);
  EXPECT_EQ(err_.find("orvhost apply: This halts the machine, so it must be confirmed.\n"), 0U) << err_;
  EXPECT_EQ(RunJson("apply")["verdict"], "not-confirmed");
}

TEST_F(Orvhost, ApplyWithoutAWrittenUpdateIsNothingToDo) {
  const json object = RunJson("apply");
  EXPECT_EQ(object["verdict"], "nothing-to-do");
  EXPECT_EQ(object["changed"], false);
}

TEST_F(Orvhost, ApplyOfAFailedUpdateIsRefused) {
  Ask("flash-fails");
  ASSERT_EQ(Run(Update(good_)), 8);
  const json object = RunJson("apply --yes");
  EXPECT_EQ(object["exit_code"], 7);
  EXPECT_EQ(object["error"]["cause"], "The last update failed.");
}

TEST_F(Orvhost, ApplyFailsWhenTheBmcRefusesIt) {
  ASSERT_EQ(Run(Update(good_)), 0);
  Ask("unarmed");
  const json object = RunJson("apply --yes");
  EXPECT_EQ(object["exit_code"], 7);
  EXPECT_EQ(object["verdict"], "not-applied");
  EXPECT_EQ(object["flash_touched"], false);
}

TEST_F(Orvhost, ApplyFailsWhenItDoesNotHaltTheMachine) {
  ASSERT_EQ(Run(Update(good_)), 0);
  Ask("stays-up");
  const json object = RunJson("apply --yes");
  EXPECT_EQ(object["exit_code"], 7);
  EXPECT_EQ(object["verdict"], "not-halted");
  EXPECT_EQ(object["error"]["evidence"]["trace"][0], "Failed to delete ExistUpdate.txt");
}

TEST_F(Orvhost, ApplyFailsWhenTheMachineOnlyRestarts) {
  ASSERT_EQ(Run(Update(good_)), 0);
  Ask("unmarked");
  for (const char* subcommand : {"apply --yes", "methods Reboot --yes"}) {
    const json object = RunJson(subcommand);
    EXPECT_EQ(object["exit_code"], 7);
    EXPECT_EQ(object["verdict"], "marker-missing");
    EXPECT_EQ(object["error"]["cause"],
              "The machine restarts, but the BMC was not asked to take the new firmware: the update marker that the "
              "update left is missing.");
    EXPECT_EQ(object["error"]["next_step"], "When the machine is up again, run \"orvhost update PACKAGE\" again.");
    EXPECT_EQ(RunJson("diagnose")["facts"]["next_step"], "Run \"orvhost update PACKAGE\" again.");
  }
}

TEST_F(Orvhost, AnApplyOnceMoreFindsNoMarkerAndIsNoFailure) {
  ASSERT_EQ(Run(Update(good_)), 0);
  ASSERT_EQ(Run("apply --yes"), 0);
  Ask("unmarked");
  EXPECT_EQ(RunJson("apply --yes")["verdict"], "going-down");
}

TEST_F(Orvhost, AnUpdateThatRunsAlreadyIsToBeVerified) {
  ASSERT_EQ(Run(Update(good_)), 0);
  setenv("TEST_PLUGIN_VERSION", "01-24", 1);
  json object = RunJson(Update(good_));
  EXPECT_EQ(object["verdict"], "nothing-to-do");
  EXPECT_EQ(object["facts"]["next_step"], "Run \"orvhost verify\", which records that it runs.");
  ASSERT_EQ(Run("verify"), 0);
  object = RunJson(Update(good_));
  EXPECT_EQ(object["verdict"], "nothing-to-do");
  EXPECT_FALSE(object["facts"].contains("next_step"));
}

TEST_F(Orvhost, VerifyComparesWithTheRecord) {
  ASSERT_EQ(Run(Update(good_)), 0);
  setenv("TEST_PLUGIN_VERSION", "01-24", 1);
  EXPECT_EQ(Run("verify"), 0);
  EXPECT_EQ(out_, "Verified: the BMC runs version 01-24, the one that was installed.\n  Recorded version: 01-24\n");
  EXPECT_EQ(State().updateStatus, refhost::kUpdateVerified);
}

TEST_F(Orvhost, VerifyOfAnotherVersionFails) {
  ASSERT_EQ(Run(Update(good_)), 0);
  ASSERT_EQ(Run("apply --yes"), 0);
  const json object = RunJson("verify");
  EXPECT_EQ(object["exit_code"], 9);
  EXPECT_EQ(object["verdict"], "version-not-expected");
  EXPECT_EQ(object["after"], "01-23");
  EXPECT_EQ(object["error"]["cause"], "The BMC runs version 01-23, but version 01-24 was installed.");
}

TEST_F(Orvhost, VerifyFailsOtherwiseWhenTheBmcDoesNotAnswer) {
  ASSERT_EQ(Run(Update(good_)), 0);
  Ask("unreadable");
  EXPECT_EQ(RunJson("verify")["exit_code"], 7);
}

TEST_F(Orvhost, VerifyFailsWithoutARecord) {
  const json object = RunJson("verify");
  EXPECT_EQ(object["exit_code"], 7);
  EXPECT_EQ(object["verdict"], "nothing-recorded");
}

// The plug-in reads the server type anew each time, and goes on as on an ordinary server where it cannot.
TEST_F(Orvhost, AVersionOfAnotherKindOfServerIsNotShownAsWhatRuns) {
  serverType_ = "kv6000rt";
  setenv("TEST_PLUGIN_VERSION", "01-23", 1);
  const json object = RunJson("identify");
  EXPECT_EQ(object["exit_code"], 4);
  EXPECT_EQ(object["verdict"], "server-type-unknown");
  EXPECT_EQ(object["after"], "");
  EXPECT_EQ(
      object["error"]["cause"],
      "The plug-in gave version 01-23, which is not that of a kv6000rt: this machine did not report its server type "
      "then.");
  unsetenv("TEST_PLUGIN_VERSION");
}

TEST_F(Orvhost, AVersionWithoutThatOfTheSensorDataRecordsHasANotice) {
  serverType_ = "kv6000rt";
  setenv("TEST_PLUGIN_VERSION", "BMC:01-23,SDR:", 1);
  const json object = RunJson("identify");
  EXPECT_EQ(object["verdict"], "identified");
  EXPECT_EQ(object["notices"],
            json::array({"The version of the sensor data records is missing: the BMC did not give it."}));
  unsetenv("TEST_PLUGIN_VERSION");
}

TEST_F(Orvhost, MethodsRunsAMethodByItsName) {
  EXPECT_EQ(RunJson("methods SendInfoToSVP")["verdict"], "sent");
  const json object = RunJson("methods reboot");
  EXPECT_EQ(object["exit_code"], 7);
  EXPECT_EQ(object["error"]["evidence"]["trace"][0], "Invalid function name");
}

TEST_F(Orvhost, AMethodThatThePluginKnowsIsDone) {
  Ask("any-method");
  EXPECT_EQ(RunJson("methods Renew")["verdict"], "done");
}

TEST_F(Orvhost, TheMethodRebootMustBeConfirmed) {
  EXPECT_EQ(Run("methods Reboot"), 2);
  EXPECT_EQ(RunJson("methods Reboot --yes")["verdict"], "going-down");
}

TEST_F(Orvhost, FailsWhenThePluginCannotBeLoaded) {
  const std::pair<std::string, std::string> cases[] = {
      {folder_ / "missing.so", "there is no file " + (folder_ / "missing.so")},
      {folder_.Write("text.so", "no library"), "file too short"},
      {NO_PLUGIN_PATH, NO_PLUGIN_PATH " has no entry point GetVendorFactory"},
      {TEST_PLUGIN_WITHOUT_RELEASE_PATH, TEST_PLUGIN_WITHOUT_RELEASE_PATH " has no entry point ReleaseVendor"}};
  for (const auto& [path, reason] : cases) {
    plugin_ = path;
    const json object = RunJson("identify");
    EXPECT_EQ(object["exit_code"], 3);
    EXPECT_NE(object["error"]["cause"].get<std::string>().find(reason), std::string::npos) << object;
  }
}

TEST_F(Orvhost, FailsWhenThePluginHasNoVendorObjectOrNoHandler) {
  Ask("no-vendor");
  json object = RunJson("identify");
  EXPECT_EQ(object["exit_code"], 3);
  EXPECT_NE(object["error"]["cause"].get<std::string>().find("no vendor object of the class CBMC_KESTREL_Vendor"),
            std::string::npos);
  Ask("no-handler");
  object = RunJson("identify");
  EXPECT_EQ(object["exit_code"], 3);
  EXPECT_NE(object["error"]["cause"].get<std::string>().find("could not create its firmware handler"),
            std::string::npos);
}

TEST_F(Orvhost, APluginIsFoundByARelativePath) {
  const std::filesystem::path plugin(TEST_PLUGIN_PATH);
  plugin_ = plugin.filename();
  const std::string command = "cd \"" + plugin.parent_path().string() + "\" && " + CommandLine("identify --quiet");
  unsigned long exitCode = 99;
  EXPECT_EQ(CCommon_Information::ExecForeignModule(command, "", "", &exitCode, ~0UL), 0);
  EXPECT_EQ(exitCode, 0U);
}

TEST_F(Orvhost, FailsAtBadUsage) {
  for (const char* arguments : {"", "frobnicate", "update", "methods", "identify --frobnicate", "identify extra"}) {
    EXPECT_EQ(Run(arguments), 2) << arguments;
    EXPECT_EQ(out_, "") << arguments;
    EXPECT_EQ(err_.find("orvhost"), 0U) << err_;
    const json object = RunJson(arguments);
    EXPECT_EQ(object["verdict"], "usage") << arguments;
  }
}

TEST_F(Orvhost, AMistypedWordGetsTheOneThatWasMeant) {
  const std::pair<const char*, const char*> cases[] = {
      {"udpate p.zip", "There is no subcommand \"udpate\"; did you mean \"update\"?"},
      {"hsitory", "There is no subcommand \"hsitory\"; did you mean \"history\"?"},
      {"frobnicate", "There is no subcommand \"frobnicate\"."},
      {"update p.zip --alow-older", "There is no option --alow-older; did you mean \"--allow-older\"?"},
      {"identify --frobnicate", "There is no option --frobnicate."}};
  for (const auto& [arguments, cause] : cases) {
    EXPECT_EQ(RunJson(arguments)["error"]["cause"], cause) << arguments;
  }
}

TEST_F(Orvhost, AHintCanBePastedAsItStands) {
  keepsRepeated_ = true;
  const json object = RunJson(Update(good_));
  const std::string options =
      " --install-path '" + folder_.Path() + "' --plugin " + plugin_ + " --server-type kv6000\"";
  EXPECT_NE(object["summary"].get<std::string>().find("Run \"orvhost apply" + options + " to put"), std::string::npos)
      << object;
  EXPECT_NE(RunJson("diagnose")["facts"]["next_step"].get<std::string>().find("\"orvhost apply" + options),
            std::string::npos);
}

TEST_F(Orvhost, TheSameFailureOfTheSamePackageTwiceIsThePackages) {
  Ask("flash-fails");
  const std::string again = "Keep the machine powered and do not reboot it; run the same command again.";
  const json first = RunJson(Update(good_));
  EXPECT_EQ(first["error"]["next_step"], again);
  const json second = RunJson(Update(good_));
  const std::string advice = "This package failed in the same way before (run " + first["run_id"].get<std::string>() +
                             "), so it is most likely damaged. Keep the machine powered, do not reboot it, get the "
                             "package anew, and write that with \"orvhost update PACKAGE\".";
  EXPECT_EQ(second["error"]["next_step"], advice);
  EXPECT_EQ(RunJson("diagnose")["facts"]["next_step"], advice);
  EXPECT_EQ(RunJson(Update(folder_.Write("other.zip", refhost::Package("01-25"))))["error"]["next_step"], again);
}

TEST_F(Orvhost, FailsForAnInstallPathThatIsNone) {
  const std::string output = folder_ / "output";
  const int status =
      std::system(("\"" ORVHOST_PROGRAM "\" --install-path \"\" --json history > \"" + output + "\"").c_str());
  EXPECT_EQ(WEXITSTATUS(status), 2);
  const json object = json::parse(folder_.Read("output"));
  EXPECT_EQ(object["verdict"], "usage");
  EXPECT_EQ(object["command"], "history");
}

TEST_F(Orvhost, AFlashToolHasItsExitCodeAlsoWhereTheCallerIgnoresItsChildren) {
  prefix_ = "env --ignore-signal=CHLD TEST_PLUGIN=flashes-command TEST_PLUGIN_COMMAND=true ";
  EXPECT_EQ(RunJson(Update(good_))["exit_code"], 0);
  EXPECT_NE(RunJson("show last")["timeline"].dump().find("runs true: ended with 0"), std::string::npos);
}

TEST_F(Orvhost, HelpAndVersionAreNoErrors) {
  EXPECT_EQ(Run("--help"), 0);
  EXPECT_NE(out_.find("Subcommands:"), std::string::npos);
  EXPECT_EQ(Run("update --help"), 0);
  EXPECT_NE(out_.find("package"), std::string::npos);
  for (const Command* command : AllCommands()) {
    const std::string name = command->name;
    EXPECT_EQ(Run(name + " --help"), 0);
    EXPECT_NE(out_.find("\nExample"), std::string::npos) << out_;
    EXPECT_NE(out_.find("\n  orvhost " + name), std::string::npos) << out_;
    EXPECT_NE(out_.find("\nExit codes: 0 "), std::string::npos) << out_;
    std::istringstream lines(out_);
    for (std::string line; std::getline(lines, line);) {
      EXPECT_LE(line.size(), 80U) << line;
    }
  }
  EXPECT_EQ(Run("--version"), 0);
  EXPECT_EQ(out_.find("orvhost "), 0U);
}

TEST_F(Orvhost, TheLogFileHoldsTheFullTrace) {
  ASSERT_EQ(Run("identify --log-file \"" + (folder_ / "log") + "\""), 0);
  ASSERT_EQ(Run("identify --log-file \"" + (folder_ / "log") + "\""), 0);
  std::istringstream log(folder_.Read("log"));
  refhost::Lines lines;
  for (std::string line; std::getline(log, line);) {
    lines.push_back(line.substr(refhost::kTraceTimeWidth));
  }
  const refhost::Lines once = {"4 LinkDevice [START]", "1 Execute command [tool raw 0x06 0x01 > result]",
                               "4 ReleaseVendor"};
  refhost::Lines twice = once;
  twice.insert(twice.end(), once.begin(), once.end());
  EXPECT_EQ(lines, twice);
}

TEST_F(Orvhost, ALogFileOnAFullDiskIsSaidToBeIncomplete) {
  const std::string notice =
      "The log file /dev/full is incomplete, because it could not be written (No space left on device).";
  const json object = RunJson("identify --log-file /dev/full");
  EXPECT_EQ(object["exit_code"], 0);
  EXPECT_EQ(object["notices"], json::array({notice}));
}

TEST_F(Orvhost, FailsForALogFileThatIsAPipeWithoutAReader) {
  ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(RunJson("identify --log-file \"" + (folder_ / "pipe") + "\"")["verdict"], "log-file-unusable");
}

TEST_F(Orvhost, FailsWhenTheLogFileCannotBeWritten) {
  const json object = RunJson("identify --log-file \"" + (folder_ / "missing/log") + "\"");
  EXPECT_EQ(object["exit_code"], 2);
  EXPECT_EQ(object["error"]["cause"],
            "cannot open the log file " + (folder_ / "missing/log") + ": No such file or directory");
}

TEST_F(Orvhost, VerboseShowsTheTraceBesideTheOutput) {
  EXPECT_EQ(Run("identify -v"), 0);
  EXPECT_NE(err_.find(" 1 Execute command [tool raw 0x06 0x01 > result]\n"), std::string::npos);
  EXPECT_EQ(err_.find("LinkDevice"), std::string::npos);
}

TEST_F(OrvhostAtATerminal, ApplyAsksBeforeItHaltsTheMachine) {
  ASSERT_EQ(Run(Update(good_)), 0);
  EXPECT_EQ(RunAtTerminal("apply", "\n"), 2);
  std::array<char, 256> host{};
  ASSERT_EQ(gethostname(host.data(), host.size() - 1), 0);
  EXPECT_NE(Screen().find("Version 01-24 is to take the place of 01-23 on " + std::string(host.data()) +
                          ". The BMC powers the machine on again by itself. The machine " + host.data() +
                          " goes down now. Go on? [y/N]"),
            std::string::npos)
      << screen_;
  EXPECT_EQ(RunAtTerminal("apply", "y\n"), 0);
  EXPECT_NE(Screen().find("The machine is going down."), std::string::npos) << screen_;
}

TEST_F(OrvhostAtATerminal, ThereIsNoQuestionWithJsonOrQuiet) {
  ASSERT_EQ(Run(Update(good_)), 0);
  EXPECT_EQ(RunAtTerminal("apply --json", ""), 2);
  EXPECT_EQ(RunAtTerminal("apply --quiet", ""), 2);
  EXPECT_EQ(Screen().find("[y/N]"), std::string::npos) << screen_;
}

}  // namespace
}  // namespace orvhost
