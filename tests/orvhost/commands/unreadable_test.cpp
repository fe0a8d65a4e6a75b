// What who looks back is told when the journals, the records or the processes are not for this user's eyes.
#include <algorithm>
#include <optional>

#include "orvhost/journal/journal_folder.h"
#include "tests/orvhost/support/background_orvhost.h"

namespace orvhost {

namespace {

namespace fs = std::filesystem;

constexpr const char* kDenied = " cannot be read: Permission denied; its owner";

class Unreadable : public BackgroundOrvhost {
 protected:
  Unreadable() { unsetenv(kConfiguration); }  // which the other user could not read either
  ~Unreadable() override {
    for (const char* folder : {"journal", "repository"}) {
      std::error_code ignored;
      fs::permissions(folder_ / folder, fs::perms(0755), ignored);
    }
  }

  std::string Journal(std::size_t at) const {
    return JournalPath(folder_ / "journal", ListJournals(folder_ / "journal").runs.at(at));
  }

  // Runs the tool without root's right to read everything.
  json Look(const std::string& arguments) {
    prefix_ = geteuid() == 0 ? "setpriv --bounding-set=-dac_override,-dac_read_search " : "";
    json object = RunJson(arguments);
    prefix_ = "";
    return object;
  }

  // The same as a user who has made nothing here; nothing where that cannot be tried.
  std::optional<json> LookAsAnother(const std::string& arguments) {
    const std::string another = "setpriv --reuid=65534 --regid=65534 --clear-groups ";
    if (geteuid() != 0 || std::system((another + "test -x \"" ORVHOST_PROGRAM "\" 2> /dev/null").c_str()) != 0) {
      return {};
    }
    fs::permissions(folder_.Path(), fs::perms(0755));
    prefix_ = another;
    json object = RunJson(arguments);
    prefix_ = "";
    return object;
  }

  static void ExpectUnreadable(const json& object, const std::string& path) {
    EXPECT_EQ(object["exit_code"], 7) << object;
    EXPECT_EQ(object["verdict"], "journal-unreadable");
    EXPECT_NE(object["error"].value("cause", "").find(path + kDenied), std::string::npos) << object;
    EXPECT_EQ(object["error"].value("next_step", "").find("Keep the machine powered"), 0U) << object;
  }
};

TEST_F(Unreadable, AJournalIsNotTakenForAnEmptyOne) {
  ASSERT_EQ(Run("identify"), 0);
  Kill(StartAtTheGate(Update(good_), "waits"));
  ASSERT_EQ(Run("identify"), 0);
  fs::permissions(Journal(1), fs::perms(0));
  for (const char* command : {"history", "show 2", "diagnose", "diagnose 2"}) {
    ExpectUnreadable(Look(command), Journal(1));
  }
  const json history = Look("history");
  ASSERT_EQ(history["runs"].size(), 3U);
  EXPECT_EQ(history["runs"][0]["verdict"], "identified");
  EXPECT_EQ(history["runs"][1]["verdict"], "unreadable");
  EXPECT_EQ(history["runs"][2]["verdict"], "identified");
  EXPECT_EQ(Look("show 1")["exit_code"], 0);
  EXPECT_EQ(Look("diagnose 1")["verdict"], "nothing-changed");
}

TEST_F(Unreadable, PeopleAreToldTheOthersAndNothingOfTheFlash) {
  ASSERT_EQ(Run("identify"), 0);
  ASSERT_EQ(Run("identify"), 0);
  fs::remove(Journal(0));
  fs::create_directory(folder_ / "journal/00000001-20261121T120000Z.jsonl");
  EXPECT_EQ(Run("history"), 7);
  EXPECT_EQ(std::ranges::count(out_, '\n'), 3) << out_;
  EXPECT_EQ(err_.find("orvhost history: The journal " + Journal(0) + " cannot be read: it is no regular file.\n"), 0U)
      << err_;
  EXPECT_EQ(err_.find("flash:"), std::string::npos) << err_;
}

TEST_F(Unreadable, AFolderIsNotTakenForAnEmptyOne) {
  ASSERT_EQ(Run("identify"), 0);
  fs::permissions(folder_ / "journal", fs::perms(0311));
  for (const char* command : {"history", "show last", "diagnose", "diagnose 1"}) {
    ExpectUnreadable(Look(command), folder_ / "journal");
  }
  const json object = Look(Update(good_));
  EXPECT_EQ(object["verdict"], "journal-unusable") << object;
  EXPECT_NE(object["error"].value("cause", "").find("Permission denied"), std::string::npos) << object;
  EXPECT_EQ(Look("identify")["notices"].size(), 1U);
  fs::permissions(folder_ / "journal", fs::perms(0644));
  ExpectUnreadable(Look("history"), ListJournals(folder_ / "journal").error == 0 ? Journal(0) : folder_ / "journal");
}

TEST_F(Unreadable, AnEarlierJournalLeavesTheDoubtThatItWasLeftInTheFlash) {
  ASSERT_EQ(Run("identify"), 0);
  Ask("unprepared");
  ASSERT_EQ(Run(Update(good_)), 7);
  EXPECT_EQ(Look("diagnose")["facts"]["next_step"],
            "Install the package ipmitool. Run \"orvhost update " + ShellWord(good_) + "\" again.");
  fs::permissions(Journal(0), fs::perms(0));
  const json object = Look("diagnose");
  EXPECT_EQ(object["verdict"], "flash-untouched");
  EXPECT_NE(object["notices"].at(0).get<std::string>().find(Journal(0) + kDenied), std::string::npos) << object;
  EXPECT_EQ(object["facts"]["before"],
            "the journal of an earlier run cannot be read; it may have left the flash incomplete");
  EXPECT_EQ(object["facts"].value("next_step", "").find("Keep the machine powered"), 0U) << object;
}

TEST_F(Unreadable, RecordsAreNotTakenForEmptyOnes) {
  ASSERT_EQ(Run(Update(good_)), 0);
  fs::remove_all(folder_ / "journal");
  fs::permissions(folder_ / "repository", fs::perms(0));
  for (const char* command : {"diagnose", "identify", "apply --dry-run", "verify"}) {
    const json object = Look(command);
    EXPECT_EQ(object["verdict"], "records-damaged") << object;
    EXPECT_EQ(object["exit_code"], 7) << command;
    EXPECT_EQ(object["error"]["cause"],
              "The state file " + (folder_ / "repository/state.json") + " cannot be read: Permission denied.");
  }
  EXPECT_EQ(Look("verify")["error"]["next_step"],
            "Make sure that the file can be read, or move it away if its records do not matter, then run the same "
            "command again.");
}

TEST_F(Unreadable, ByAnotherUserIsSaidWithWhoCanReadIt) {
  ASSERT_EQ(Run(Update(good_)), 0);
  const auto object = LookAsAnother("diagnose");
  if (!object) {
    GTEST_SKIP() << "only root can become another user";
  }
  ExpectUnreadable(*object, Journal(0));
  EXPECT_NE((*object)["error"].value("cause", "").find("its owner, root, can read it."), std::string::npos) << *object;
  EXPECT_EQ(LookAsAnother("history")->at("exit_code"), 7);
}

TEST_F(Unreadable, ProcessesOfAnotherUserLeaveOpenWhetherTheRunIsAtWork) {
  Kill(StartAtTheGate(Update(good_), "runs-tool"));
  fs::permissions(Journal(0), fs::perms(0644));
  const auto object = LookAsAnother("diagnose");
  if (object) {
    EXPECT_EQ((*object)["exit_code"], 7) << *object;
    EXPECT_EQ((*object)["verdict"], "processes-unreadable");
    EXPECT_NE((*object)["error"].value("next_step", "").find("as root"), std::string::npos) << *object;
    const auto listed = LookAsAnother("history");
    EXPECT_EQ(listed->at("runs").at(0)["verdict"], "at work or cut off in step write");
    EXPECT_EQ(listed->at("exit_code"), 7);
    EXPECT_EQ(listed->at("error")["cause"].get<std::string>().find("Whether a run is at work cannot be seen: "), 0U);
    fs::permissions(folder_ / "orvhost.lock", fs::perms(0644));
    EXPECT_EQ(LookAsAnother("diagnose")->at("error")["cause"],
              "Whether what a run started is still at work cannot be seen: the processes of root can be looked at by "
              "root only.");
    fs::remove_all(folder_ / "journal");
    EXPECT_EQ(LookAsAnother("diagnose")->at("verdict"), "processes-unreadable");
  }
  OpenTheGate();
  if (!object) {
    GTEST_SKIP() << "only root can become another user";
  }
}

}  // namespace
}  // namespace orvhost
