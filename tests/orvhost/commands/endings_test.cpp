// Every way in which a run can end: its exit code and the whole object that it prints.
#include "orvhost/run/run_lock.h"
#include "tests/orvhost/support/orvhost_fixture.h"

namespace orvhost {

namespace {

class Endings : public Orvhost {
 protected:
  // The object without the id of the run, which must be there.
  json Ending(const std::string& arguments) {
    json object = RunJson(arguments);
    EXPECT_NE(object["run_id"], "");
    object.erase("run_id");
    return object;
  }

  // An object in which nothing was done; `changes` are merged into it.
  static json Object(const json& changes) {
    json object = {{"schema", 2},       {"command", "update"},    {"exit_code", 0},       {"changed", false},
                   {"before", "01-23"}, {"after", "01-23"},       {"needs_apply", false}, {"facts", json::object()},
                   {"summary", ""},     {"flash_touched", false}, {"error", nullptr},     {"notices", json::array()}};
    object.update(changes);
    return object;
  }

  json Facts(const std::string& package, const std::string& version) const {
    return {{"package", package},         {"package_name", "KV6000 BMC firmware"},
            {"package_version", version}, {"package_sha256", Sha256Of(package)},
            {"signature", "not-checked"}, {"server_type", "kv6000"}};
  }

  static json Error(const std::string& cause, const std::string& nextStep, const json& evidence = json::object()) {
    json all = {{"command", ""},
                {"completion_code", ""},
                {"records", json::array()},
                {"trace", json::array()},
                {"error_output", json::array()}};
    all.update(evidence);
    return {{"cause", cause}, {"next_step", nextStep}, {"evidence", all}};
  }

  static constexpr const char* kAsked = "tool raw 0x06 0x01 > result";
  static constexpr const char* kFlash = "\"/opt/orv/KV6KBMC/Yafuflash\"  -cd  \"image.ima\"";
  static constexpr const char* kRemedy = "Run the same command again; if that does not help, restart the BMC.";
};

TEST_F(Endings, Success) {
  EXPECT_EQ(Ending(Update(good_)),
            Object({{"verdict", "updated"},
                    {"phase", "record"},
                    {"changed", true},
                    {"after", "01-24"},
                    {"needs_apply", true},
                    {"flash_touched", true},
                    {"facts", Facts(good_, "01-24")},
                    {"summary",
                     "Firmware version 01-24 is written; the BMC still runs 01-23. Run \"orvhost apply\" to put it "
                     "into operation, then \"orvhost verify\"."}}));
}

TEST_F(Endings, NothingToDo) {
  setenv("TEST_PLUGIN_VERSION", "01-24", 1);
  EXPECT_EQ(Ending(Update(good_)), Object({{"verdict", "nothing-to-do"},
                                           {"phase", "compare"},
                                           {"before", "01-24"},
                                           {"after", "01-24"},
                                           {"facts", Facts(good_, "01-24")},
                                           {"summary", "Nothing to do: the BMC already runs version 01-24."}}));
}

TEST_F(Endings, DryRun) {
  json facts = Facts(good_, "01-24");
  facts["not_judged"] =
      "whether the BMC connects its virtual media, the kernel loads its sg driver, and the flash tool takes the image";
  EXPECT_EQ(Ending(Update(good_) + " --dry-run"),
            Object({{"verdict", "dry-run"},
                    {"phase", "compare"},
                    {"facts", facts},
                    {"summary",
                     "Dry run, nothing is changed. The package is newer: it holds version 01-24, and the BMC runs "
                     "01-23. \"orvhost update\" would write version 01-24 and record it, which takes minutes; the BMC "
                     "would go on running 01-23 until \"orvhost apply\"."}}));
}

TEST_F(Endings, PrerequisitesMissing) {
  Ask("no-tool");
  json facts = Facts(good_, "01-24");
  facts.erase("server_type");  // which is looked at later
  EXPECT_EQ(Ending(Update(good_)),
            Object({{"exit_code", 4},
                    {"verdict", "prerequisites-missing"},
                    {"phase", "prerequisites"},
                    {"before", ""},
                    {"after", ""},
                    {"facts", facts},
                    {"error", Error("Missing on this machine: IPMI tool.",
                                    "Install or start what is missing (the IPMI service needs the kernel's ipmi_si and "
                                    "ipmi_devintf modules), then run the same command again.")}}));
}

TEST_F(Endings, DoesNotFit) {
  const std::string other = folder_.Write("other.zip", refhost::Package("06-01"));
  EXPECT_EQ(Ending(Update(other)),
            Object({{"exit_code", 6},
                    {"verdict", "does-not-fit"},
                    {"phase", "fit"},
                    {"after", ""},
                    {"facts", Facts(other, "06-01")},
                    {"error", Error("The package, version 06-01, does not fit this machine, which runs version 01-23.",
                                    "Get the package that is made for this machine.", {{"command", kAsked}})}}));
}

TEST_F(Endings, FailedBeforeTheFlash) {
  Ask("connect-fails");
  EXPECT_EQ(
      Ending(Update(good_)),
      Object({{"exit_code", 7},
              {"verdict", "update-failed"},
              {"phase", "write"},
              {"after", ""},
              {"facts", Facts(good_, "01-24")},
              {"error",
               Error("The update failed before anything was written.", kRemedy,
                     {{"command", "tool raw 0x34 0x8c 0x55 0xaa 0x01 > result"},
                      {"completion_code", "C0"},
                      {"records",
                       {"MSGID_BMC_0012_F The BMC did not carry out a command that the update needs (14: the "
                        "BMC did not connect its virtual media)."}},
                      {"trace", {"Failed to execute ipmi command (Connect to virtual media) CompletionCode:C0"}}})}}));
}

TEST_F(Endings, FailedAfterTheFlashBegan) {
  Ask("flash-fails");
  EXPECT_EQ(
      Ending(Update(good_)),
      Object({{"exit_code", 8},
              {"verdict", "update-failed"},
              {"phase", "write"},
              {"after", ""},
              {"flash_touched", true},
              {"facts", Facts(good_, "01-24")},
              {"error", Error("The update failed after writing the firmware had begun.",
                              "Keep the machine powered and do not reboot it; run the same command again.",
                              {{"command", kFlash},
                               {"records",
                                {"MSGID_BMC_0013_F The flash tool did not succeed in writing the firmware (161616: the "
                                 "flash tool reported an error (3 times))."}},
                               {"trace", {"Failed to execute update command \"/opt/orv/KV6KBMC/Yafuflash\""}}})}}));
}

TEST_F(Endings, TimedOutButComplete) {
  Ask("overruns");
  EXPECT_EQ(Ending(Update(good_)),
            Object({{"verdict", "updated-after-time-out"},
                    {"phase", "record"},
                    {"changed", true},
                    {"after", "01-24"},
                    {"needs_apply", true},
                    {"flash_touched", true},
                    {"facts", Facts(good_, "01-24")},
                    {"summary",
                     "Firmware version 01-24 is written; the BMC still runs 01-23. Run \"orvhost apply\" to put it "
                     "into operation, then \"orvhost verify\". The flash command ran into its time limit, so do "
                     "not skip \"orvhost verify\"."}}));
}

TEST_F(Endings, VersionNotAsExpected) {
  ASSERT_EQ(Run(Update(good_)), 0);
  ASSERT_EQ(Run("apply --yes"), 0);
  const std::string cause = "The BMC runs version 01-23, but version 01-24 was installed.";
  const std::string record = "MSGID_BMC_0015_F The BMC runs firmware version 01-23, but version 01-24 was installed.";
  EXPECT_EQ(Ending("verify"),
            Object({{"command", "verify"},
                    {"exit_code", 9},
                    {"verdict", "version-not-expected"},
                    {"phase", "verify"},
                    {"needs_apply", true},
                    {"facts", {{"recorded_version", "01-24"}}},
                    {"error", Error(cause,
                                    "If the new firmware was not put into operation yet, run \"orvhost apply\"; "
                                    "otherwise run \"orvhost update PACKAGE\" again.",
                                    {{"command", kAsked}, {"records", {record}}})}}));
}

TEST_F(Endings, Busy) {
  RunLock lock;
  ASSERT_EQ(lock.Take(folder_.Path()), RunLock::Result::kTaken);
  lock.Sign({"00000007-20260131T120000Z", "update", installPath_, getpid(), "2026-01-31T12:00:00.000000Z", false});
  json object = RunJson("identify");
  EXPECT_EQ(object["run_id"], "");
  object.erase("run_id");
  EXPECT_EQ(object, Object({{"command", "identify"},
                            {"exit_code", 10},
                            {"verdict", "busy"},
                            {"phase", "lock"},
                            {"before", ""},
                            {"after", ""},
                            {"needs_apply", nullptr},
                            {"error", Error("Another run is at work: run 00000007-20260131T120000Z under " +
                                                installPath_ + " (orvhost update, process " + std::to_string(getpid()) +
                                                ", since 2026-01-31T12:00:00.000000Z).",
                                            "Wait until it ends, then run the same command again.")}}));
}

TEST_F(Endings, EveryObjectIsKeptForTheSchema) {
  const char* before = getenv("ORVHOST_OUTPUTS");
  const std::string place = before != nullptr ? before : "";
  const std::string kept = folder_ / "kept";
  std::filesystem::create_directory(kept);
  setenv("ORVHOST_OUTPUTS", kept.c_str(), 1);
  RunJson("explain 16");
  if (before != nullptr) {
    setenv("ORVHOST_OUTPUTS", place.c_str(), 1);
  } else {
    unsetenv("ORVHOST_OUTPUTS");
  }
  refhost::Lines names;
  for (const auto& entry : std::filesystem::directory_iterator(kept)) {
    names.push_back(entry.path().filename());
  }
  ASSERT_EQ(names.size(), 1U);
  EXPECT_EQ(names[0].find("Endings.EveryObjectIsKeptForTheSchema-"), 0U) << names[0];
  EXPECT_EQ(folder_.Read("kept/" + names[0]), out_);
}

TEST_F(Endings, BadUsage) {
  json object = RunJson("update");
  EXPECT_EQ(object["run_id"], "");
  object.erase("run_id");
  EXPECT_EQ(object, Object({{"exit_code", 2},
                            {"verdict", "usage"},
                            {"phase", "command line"},
                            {"before", ""},
                            {"after", ""},
                            {"needs_apply", nullptr},
                            {"error", Error("package is required", "Run \"orvhost --help\".")}}));
}

}  // namespace
}  // namespace orvhost
