// What "rollback" offers.
#include "tests/orvhost/support/orvhost_fixture.h"

namespace orvhost {

namespace {

class Rollback : public Orvhost {
 protected:
  // 01-23 was written by the tool, and 01-24 after it.
  void UpdateTwice() {
    first_ = folder_.Write("first.zip", refhost::Package("01-23"));
    setenv("TEST_PLUGIN_VERSION", "01-22", 1);
    ASSERT_EQ(Run(Update(first_)), 0);
    ASSERT_EQ(Run("apply --yes"), 0);
    setenv("TEST_PLUGIN_VERSION", "01-23", 1);
    ASSERT_EQ(Run("verify"), 0);
    ASSERT_EQ(Run(Update(good_)), 0);
  }

  std::string first_;
};

TEST_F(Rollback, OffersThePackageOfThePreviousVersion) {
  UpdateTwice();
  ASSERT_EQ(Run("apply --yes"), 0);
  setenv("TEST_PLUGIN_VERSION", "01-24", 1);
  ASSERT_EQ(Run("verify"), 0);
  const json object = RunJson("rollback");
  EXPECT_EQ(object["exit_code"], 0);
  EXPECT_EQ(object["verdict"], "offered");
  EXPECT_EQ(object["changed"], false);
  EXPECT_EQ(object["facts"]["package"], first_);
  EXPECT_EQ(object["facts"]["previous_version"], "01-23");
  EXPECT_EQ(object["summary"].get<std::string>().find("The package of the previous version 01-23 is still there. Run "
                                                      "\"orvhost update " +
                                                      ShellWord(first_) + " --allow-older"),
            0U)
      << object;
  EXPECT_EQ(RunJson(Update(first_) + " --allow-older")["verdict"], "updated");
}

TEST_F(Rollback, OfAnUpdateThatWaitsWritesTheRunningVersionAgain) {
  UpdateTwice();
  EXPECT_NE(RunJson("rollback")["summary"].get<std::string>().find("--allow-reinstall"), std::string::npos);
}

TEST_F(Rollback, OfAVersionThatWasWrittenTwiceIsTheOneBeforeBoth) {
  UpdateTwice();
  ASSERT_EQ(Run(UpdateAgain(good_)), 0);
  const json object = RunJson("rollback");
  EXPECT_EQ(object["facts"]["previous_version"], "01-23");
  EXPECT_EQ(object["facts"]["package"], first_);
}

TEST_F(Rollback, FailsWhenThePackageIsGoneOrAnother) {
  UpdateTwice();
  std::filesystem::copy_file(good_, first_, std::filesystem::copy_options::overwrite_existing);
  json object = RunJson("rollback");
  EXPECT_EQ(object["exit_code"], 5);
  EXPECT_EQ(object["verdict"], "package-missing");
  EXPECT_EQ(object["error"]["cause"],
            "Before version 01-24 there was version 01-23. What stands at " + first_ + " now is another package.");
  std::filesystem::remove(first_);
  object = RunJson("rollback");
  EXPECT_NE(object["error"]["cause"].get<std::string>().find("cannot be read: No such file or directory."),
            std::string::npos)
      << object;
  EXPECT_NE(object["error"]["next_step"].get<std::string>().find("Get the package of version 01-23 (its SHA-256 was "),
            std::string::npos)
      << object;
}

TEST_F(Rollback, FailsWhenThePreviousVersionWasNotWrittenByTheTool) {
  ASSERT_EQ(Run(Update(good_)), 0);
  const json object = RunJson("rollback");
  EXPECT_EQ(object["verdict"], "package-missing");
  EXPECT_NE(object["error"]["cause"].get<std::string>().find("It was not written by this tool"), std::string::npos);
}

TEST_F(Rollback, FailsWithoutUsableRecords) {
  EXPECT_EQ(RunJson("rollback")["verdict"], "nothing-recorded");
  folder_.Write("repository/state.json", "garbage");
  EXPECT_EQ(RunJson("rollback")["verdict"], "records-damaged");
  EXPECT_EQ(folder_.Read("repository/state.json"), "garbage");
}

}  // namespace
}  // namespace orvhost
