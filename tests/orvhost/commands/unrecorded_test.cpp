// Updates whose records cannot be kept, for every system call that may fail: what the run ends with, what "apply"
// does next and what "diagnose" says are the same.
#include "tests/orvhost/support/orvhost_fixture.h"

namespace orvhost {

namespace {

class Unrecorded : public Orvhost {
 protected:
  // A subcommand in which one call fails; nothing when there are not that many.
  std::optional<json> RunWith(const std::string& subcommand, const std::string& call, int number) {
    const std::string mark = folder_ / "failed";
    prefix_ =
        "env LD_PRELOAD=\"" FAILING_CALLS_PATH "\" ASAN_OPTIONS=verify_asan_link_order=0 TEST_FAILING_CALL=" + call +
        " TEST_FAILING_NUMBER=" + std::to_string(number) + " TEST_FAILING_MARK=\"" + mark + "\" ";
    json object = RunJson(subcommand);
    prefix_.clear();
    return std::filesystem::remove(mark) ? std::optional(object) : std::nullopt;
  }

  std::optional<json> UpdateWith(const std::string& call, int number) { return RunWith(Update(good_), call, number); }

  void StartAnew() const {
    std::filesystem::remove_all(folder_ / "repository");
    std::filesystem::remove_all(folder_ / "journal");
  }
};

TEST_F(Unrecorded, AnUpdateWhoseStatusCouldNotBeKeptIsNotRecorded) {
  // The saves of an update: version found, package registered, update begun, update written, version installed.
  const json object = UpdateWith("rename", 4).value_or(json());
  EXPECT_EQ(object["exit_code"], 8);
  EXPECT_EQ(object["verdict"], "not-recorded");
  EXPECT_EQ(object["phase"], "record");
  EXPECT_EQ(object["flash_touched"], true);
  EXPECT_EQ(object["needs_apply"], false);
  EXPECT_NE(object["error"]["evidence"]["trace"].dump().find("state.json: Input/output error"), std::string::npos);
  EXPECT_EQ(State().updateStatus, refhost::kUpdateRunning);
  EXPECT_EQ(RunJson("apply --dry-run")["verdict"], "not-written");
  EXPECT_EQ(RunJson("diagnose")["verdict"], "written-not-recorded");
}

TEST_F(Unrecorded, AnUpdateWhoseVersionCouldNotBeKeptIsNotApplied) {
  const json object = UpdateWith("rename", 5).value_or(json());
  EXPECT_EQ(object["verdict"], "not-recorded");
  EXPECT_EQ(State().updateStatus, refhost::kUpdateWritten);
  const json apply = RunJson("apply --yes");
  EXPECT_EQ(apply["exit_code"], 7);
  EXPECT_EQ(apply["verdict"], "not-written");
  EXPECT_EQ(apply["needs_apply"], false);
  EXPECT_EQ(apply["error"]["cause"], "The last update was written, but the host could not record all of it.");
  EXPECT_EQ(RunJson("diagnose")["verdict"], "written-not-recorded");
  EXPECT_EQ(RunJson("identify")["needs_apply"], false);
  EXPECT_EQ(RunJson(Update(good_))["needs_apply"], true);
}

// They are kept anew then, as those of a machine that never had an update.
TEST_F(Unrecorded, AnUpdateWhoseRecordsWereLostWhileItWasWrittenIsNotRecorded) {
  Ask("loses-records");
  const json object = RunJson(Update(good_));
  EXPECT_EQ(object["exit_code"], 8);
  EXPECT_EQ(object["verdict"], "not-recorded");
  EXPECT_EQ(object["needs_apply"], false);
}

TEST_F(Unrecorded, AnUpdateThatMayBeLostWithThePowerIsNotRecorded) {
  const json object = UpdateWith("syncfs", 1).value_or(json());
  EXPECT_EQ(object["exit_code"], 8);
  EXPECT_EQ(object["verdict"], "not-recorded");
  EXPECT_EQ(object["phase"], "write");
  EXPECT_EQ(object["needs_apply"], false);
  EXPECT_EQ(
      object["error"]["cause"],
      "Firmware version 01-24 is written, but what \"orvhost apply\" goes by did not reach the disk: Input/output "
      "error.");
  EXPECT_EQ(RunJson("apply --yes")["verdict"], "not-written");
  EXPECT_EQ(RunJson("diagnose")["verdict"], "written-not-recorded");
  EXPECT_EQ(RunJson(Update(good_))["verdict"], "updated");
}

TEST_F(Unrecorded, AWaitingUpdateIsNotDeniedWhenTheRecordsCannotBeRead) {
  ASSERT_EQ(RunJson(Update(good_))["exit_code"], 0);
  int number = 1;
  for (auto object = RunWith("apply --dry-run", "read", number); object;
       object = RunWith("apply --dry-run", "read", ++number)) {
    EXPECT_NE((*object)["verdict"], "nothing-to-do") << number << *object;
    EXPECT_NE((*object)["needs_apply"], false) << number << *object;
  }
  EXPECT_GT(number, 1);
}

TEST_F(Unrecorded, AnUpdateWhoseRecordsAreGoneIsNotAppliedAndNotDenied) {
  ASSERT_EQ(RunJson(Update(good_))["exit_code"], 0);
  std::filesystem::remove(folder_ / "repository/state.json");
  for (const char* subcommand : {"apply --yes", "methods Reboot --yes"}) {
    const json object = RunJson(subcommand);
    EXPECT_EQ(object["exit_code"], 7) << subcommand;
    EXPECT_EQ(object["verdict"], "not-written") << subcommand;
    EXPECT_EQ(object["error"]["cause"], "An update was begun on this machine, and the host's records of it are gone.");
  }
  folder_.Write("journal/00000099-20260101T000000Z.jsonl", "a journal that tells nothing\n");
  EXPECT_EQ(RunJson("apply --yes")["verdict"], "not-written");
  std::filesystem::remove(folder_ / "journal/00000099-20260101T000000Z.jsonl");
  EXPECT_EQ(RunJson(Update(good_))["verdict"], "updated");
  EXPECT_EQ(RunJson("apply --yes")["verdict"], "going-down");
  std::filesystem::remove(folder_ / "repository/state.json");
  EXPECT_EQ(RunJson("apply --yes")["verdict"], "nothing-to-do");  // it was put into operation
}

// "apply" and "verify" ask for an update then, so "update" must not end that with nothing to do and no word more.
TEST_F(Unrecorded, AnUpdateWhoseVersionRunsNamesTheWayOutOfWhatAnEarlierOneLeft) {
  const std::string again =
      " Keep the machine powered and run \"orvhost update PACKAGE --allow-reinstall\", which writes the version again.";
  const std::string reinstall = Update(good_) + " --allow-reinstall";
  setenv("TEST_PLUGIN_VERSION", "01-24", 1);
  EXPECT_FALSE(RunJson(Update(good_))["facts"].contains("next_step"));
  Ask("flash-fails");
  ASSERT_EQ(RunJson(reinstall)["exit_code"], 8);
  Ask("");
  EXPECT_EQ(RunJson("verify")["verdict"], "not-written");
  json object = RunJson(Update(good_));
  EXPECT_EQ(object["verdict"], "nothing-to-do");
  EXPECT_EQ(object["facts"]["next_step"], "The last update failed." + again);
  std::filesystem::remove(folder_ / "repository/state.json");
  EXPECT_EQ(RunJson("apply --yes")["verdict"], "not-written");
  object = RunJson(Update(good_));
  EXPECT_EQ(object["verdict"], "nothing-to-do");
  EXPECT_EQ(object["facts"]["next_step"],
            "An update was begun on this machine, and the host's records of it are gone." + again);
  EXPECT_EQ(RunJson(reinstall)["verdict"], "updated");
  EXPECT_EQ(RunJson("apply --yes")["verdict"], "going-down");
}

TEST_F(Unrecorded, AfterAnyFailedCallAllSayTheSame) {
  for (const char* call : {"rename", "fsync", "fchmod"}) {
    int number = 1;
    for (auto object = UpdateWith(call, number); object; object = UpdateWith(call, ++number)) {
      const bool isDone = (*object)["exit_code"] == 0;
      const bool isTaken =
          RunJson("apply --dry-run")["exit_code"] == 0 && State().updateStatus == refhost::kUpdateWritten;
      EXPECT_EQ(RunJson("diagnose")["verdict"] == "written", isTaken) << call << " " << number << *object;
      EXPECT_EQ((*object)["needs_apply"], isDone) << call << " " << number << *object;
      EXPECT_LE(isDone, isTaken) << call << " " << number << *object;
      StartAnew();
    }
    EXPECT_GT(number, 5) << call;
    StartAnew();
  }
}

TEST_F(Unrecorded, AVerificationThatCouldNotBeKeptIsNone) {
  ASSERT_EQ(RunJson(Update(good_))["exit_code"], 0);
  ASSERT_EQ(RunJson("apply --yes")["exit_code"], 0);
  setenv("TEST_PLUGIN_VERSION", "01-24", 1);
  const std::string state = folder_.Read("repository/state.json");
  for (const char* call : {"rename", "fsync", "fchmod"}) {
    int number = 1;
    bool wasLost = false;
    folder_.Write("repository/state.json", state);
    for (auto object = RunWith("verify", call, number); object; object = RunWith("verify", call, ++number)) {
      const bool isKept = State().updateStatus == refhost::kUpdateVerified;
      EXPECT_EQ((*object)["verdict"], isKept ? "verified" : "not-recorded") << call << " " << number << *object;
      EXPECT_EQ((*object)["exit_code"], isKept ? 0 : 7) << call << " " << number;
      wasLost |= !isKept;
      folder_.Write("repository/state.json", state);
    }
    EXPECT_TRUE(wasLost) << call;
  }
}

}  // namespace
}  // namespace orvhost
