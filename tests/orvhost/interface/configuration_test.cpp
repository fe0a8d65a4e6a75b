#include "orvhost/interface/configuration.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "orvhost/interface/nearest.h"
#include "orvhost/interface/repeated_options.h"
#include "tests/orvhost/support/orvhost_fixture.h"

namespace orvhost {

namespace {

TEST(ConfigurationText, IsKeysWithTheirValues) {
  Configuration configuration;
  std::string error;
  EXPECT_TRUE(ParseConfiguration("# a comment\n\n install_path = /srv/a b \nquiet=yes", &configuration, &error));
  EXPECT_EQ(configuration, (Configuration{{"install_path", "/srv/a b"}, {"quiet", "yes"}}));
}

TEST(ConfigurationText, FailsWithTheLine) {
  const std::pair<std::string_view, const char*> cases[] = {
      {"quiet = no\ninstal_path = /srv", "line 2: there is no key \"instal_path\"; did you mean \"install_path\"?"},
      {"colour = red", "line 1: there is no key \"colour\""},
      {"quiet = maybe", "line 1: quiet must be yes or no"},
      {"\n\ninstall_path = srv", "line 3: install_path must be a path that begins with /"},
      {"server_type = a b", "line 1: server_type must be one word"},
      {"plugin =", "line 1: plugin has no value"},
      {"quiet", "line 1: it has not the form \"key = value\""},
      {std::string_view("install_path = /a\0b", 18), "line 1: install_path holds a control character"},
      {"server_type = \v", "line 1: server_type holds a control character"},
      {"log_file = /var/log/orv.log # all",
       "line 1: log_file goes on with \"#\", and a comment needs a line of its own"},
      {"quiet = no\nquiet = no", "line 2: quiet stands there twice"}};
  for (const auto& [text, complaint] : cases) {
    Configuration configuration;
    std::string error;
    EXPECT_FALSE(ParseConfiguration(text, &configuration, &error)) << text;
    EXPECT_EQ(error, complaint);
  }
}

TEST(NearestWord, IsTheOneThatWasMeant) {
  const std::vector<std::string> words = {"update", "apply", "verify"};
  EXPECT_EQ(Nearest("udpate", words), "update");
  EXPECT_EQ(Nearest("aply", words), "apply");
  EXPECT_EQ(Nearest("frobnicate", words), "");
  EXPECT_EQ(Nearest("", words), "");
  EXPECT_EQ(Nearest(std::string(100000, 'u'), words), "");
}

TEST(RepeatedOptions, StandInEveryCommandBetweenQuotes) {
  Outcome outcome;
  outcome.summary = "Run \"orvhost apply\", then \"orvhost verify\"; see \"orvhost --help\" and \"dmidecode\".";
  outcome.failure = Failure{"", {}, "Run \"orvhost update p.zip"};
  RepeatOptions(" --plugin x", &outcome);
  EXPECT_EQ(outcome.summary,
            "Run \"orvhost apply --plugin x\", then \"orvhost verify --plugin x\"; see \"orvhost --help\" and "
            "\"dmidecode\".");
  EXPECT_EQ(outcome.failure->nextStep, "Run \"orvhost update p.zip");
  EXPECT_EQ(ShellWord("/a b/it's"), "$'/a b/it\\'s'");
  EXPECT_EQ(ShellWord("a b\"c\n"), "$'a b\\x22c\\x0a'");
  EXPECT_EQ(ShellWord("/opt/orv"), "/opt/orv");
  EXPECT_EQ(ShellWord(""), "''");
}

class ConfigurationFile : public Orvhost {
 protected:
  ConfigurationFile() { setenv("ORVHOST_LAB_CONFIGURATION", (folder_ / "orvhost.conf").c_str(), 1); }
  ~ConfigurationFile() override {
    unsetenv("ORVHOST_LAB_CONFIGURATION");
    unsetenv("ORVHOST_INSTALL_PATH");
  }

  void Write(const std::string& text, mode_t mode = 0644) {
    ASSERT_EQ(chmod(folder_.Write("orvhost.conf", text).c_str(), mode), 0);
  }

  // Without the options that the other tests give.
  json Ask(const std::string& arguments) {
    const std::string command = "\"" ORVHOST_PROGRAM "\" --json " + arguments + " > \"" + (folder_ / "out") + "\"";
    (void)!std::system(command.c_str());
    KeepForTheSchema(folder_.Read("out"));
    return json::parse(folder_.Read("out"));
  }
};

TEST_F(ConfigurationFile, HoldsWhereNothingElseSaysOtherwise) {
  json facts = Ask("config")["facts"];
  EXPECT_EQ(facts["install_path"], "/opt/orv (built in)");
  Write("install_path = /srv/file\nserver_type = kv6000\n");
  const std::string file = " (" + (folder_ / "orvhost.conf") + ")";
  facts = Ask("config")["facts"];
  EXPECT_EQ(facts["install_path"], "/srv/file" + file);
  EXPECT_EQ(facts["server_type"], "kv6000" + file);
  EXPECT_EQ(facts["quiet"], "no (built in)");
  setenv("ORVHOST_INSTALL_PATH", "/srv/environment", 1);
  EXPECT_EQ(Ask("config")["facts"]["install_path"], "/srv/environment (environment, ORVHOST_INSTALL_PATH)");
  EXPECT_EQ(Ask("config --install-path /srv/line")["facts"]["install_path"], "/srv/line (command line)");
}

TEST_F(ConfigurationFile, FailsForALinkToWhatIsNotThere) {
  std::filesystem::create_symlink(folder_ / "missing.conf", folder_ / "orvhost.conf");
  EXPECT_EQ(Ask("config")["error"]["cause"],
            (folder_ / "orvhost.conf") + " cannot be used: it is a symbolic link to what is not there.");
}

TEST_F(ConfigurationFile, FailsBeforeAnythingElse) {
  Write("install_path = /srv\nplugin = no path\n");
  const std::string file = folder_ / "orvhost.conf";
  json object = Ask("identify");
  EXPECT_EQ(object["exit_code"], 2);
  EXPECT_EQ(object["verdict"], "usage");
  EXPECT_EQ(object["error"]["cause"], file + " cannot be used: line 2: plugin must be a path that begins with /.");
  Write("", 0666);
  EXPECT_NE(Ask("history")["error"]["cause"].get<std::string>().find("others than its owner may write it"),
            std::string::npos);
  std::filesystem::remove(file);
  std::filesystem::create_directory(file);
  EXPECT_EQ(Ask("config")["exit_code"], 2);
}

}  // namespace
}  // namespace orvhost
