// What an update would fail at is found beforehand: by check, by the dry run and by the update itself alike.
#include "orvhost/commands/preflight.h"

#include "tests/orvhost/support/orvhost_fixture.h"

namespace orvhost {

namespace {

namespace fs = std::filesystem;
using Format = refhost::ArchiveBuilder::Format;

constexpr const char* kManifest = R"({"name": "n", "version": "01-24", "server_types": ["kv6000"]})";

class Preflight : public Orvhost {
 protected:
  struct Expected {
    int exitCode;
    std::string verdict;
    std::string cause;
    std::string phase = "preflight";
  };

  // Nothing is changed, and the three say the same.
  void IsFoundByAllThree(const std::string& package, const Expected& expected) {
    const auto before = Tree();
    json first;
    for (const std::string start : {"check ", "update --dry-run ", "update "}) {
      std::string line = start;
      line.append("\"").append(package).append("\"");
      json object = RunJson(line);
      EXPECT_EQ(object["exit_code"], expected.exitCode) << start << object;
      EXPECT_EQ(object["verdict"], expected.verdict) << start;
      EXPECT_EQ(object["phase"], expected.phase) << start;
      EXPECT_EQ(object["error"]["cause"], expected.cause) << start;
      EXPECT_EQ(object["flash_touched"], false) << start;
      EXPECT_EQ(object["changed"], false) << start;
      object.erase("command");
      object.erase("run_id");
      if (first.is_null()) {
        first = object;
      }
      EXPECT_EQ(object, first) << start;
    }
    EXPECT_EQ(Tree(), before);
  }

  void IsUnusable(const refhost::ArchiveBuilder& contents, const std::string& reason) {
    const std::string path = folder_.Write("p.zip", contents.Build(Format::kZip));
    IsFoundByAllThree(path, {5, "package-unusable", "The package " + path + " cannot be used: " + reason + "."});
  }

  void IsMissing(const std::string& cause) { IsFoundByAllThree(good_, {4, "prerequisites-missing", cause}); }

  bool GoesThrough(const std::string& package) {
    const bool checked = Run("check \"" + package + "\"") == 0;
    EXPECT_NE(out_.find("Not judged:"), std::string::npos) << out_ << err_;
    const bool tried = Run(Update(package) + " --dry-run") == 0;
    EXPECT_NE(out_.find("Not judged:"), std::string::npos) << out_ << err_;
    EXPECT_EQ(Run(Update(package)), 0) << err_;
    return checked && tried;
  }

  // A plug-in that was built without the phrase.
  std::string WithPlaceholder() const {
    std::ostringstream bytes;
    bytes << std::ifstream(TEST_PLUGIN_PATH, std::ios::binary).rdbuf() << "SET-WRITE-MODE-PHRASE!";
    return folder_.Write("plugin.so", bytes.str());
  }

  static refhost::ArchiveBuilder Described() { return refhost::ArchiveBuilder().File("module.json", kManifest); }
};

TEST_F(Preflight, AGoodPackageGoesThrough) {
  EXPECT_TRUE(GoesThrough(good_));
}

TEST_F(Preflight, APackageWithoutOneImageAtItsTopIsRefused) {
  IsUnusable(Described(), "it holds no image (a file whose name holds .ima)");
  IsUnusable(Described().File("a.ima", "1").File("b.ima", "2"),
             "it holds 2 images, a.ima and b.ima, and only one can be written");
  IsUnusable(Described().File("a.ima", "1").File("b.ima.txt", "2").Folder("c.ima"),
             "it holds 3 images, a.ima and b.ima.txt among them, and only one can be written");
  IsUnusable(Described().File("d/a.ima", "1"), "its image d/a.ima lies in a folder and not at its top");
  IsUnusable(Described().File("a.ima/b", "1"), "its image a.ima is not a file");
  IsUnusable(Described().File("b", "1").Symlink("a.ima", "b"), "its image a.ima is not a file");
  IsUnusable(Described().File("a.ima", ""), "its image a.ima is empty");
}

TEST_F(Preflight, AMemberThatLeavesItsFolderIsRefused) {
  const std::string path = folder_.Write("p.zip", Described().File("../x", "1").Build(Format::kZip));
  IsFoundByAllThree(path,
                    {5, "package-unusable",
                     "The package " + path + " cannot be used: member [../x]: the name leaves the folder.", "package"});
}

TEST_F(Preflight, AFlashToolThatCannotBeRunIsMissing) {
  const std::string tool = folder_ / kFlashTool;
  const std::string start = "The flash tool " + tool + " ";
  const std::string end = "; the server's maker supplies it.";
  fs::permissions(tool, fs::perms(0644));
  IsMissing(start + "is not executable" + end);
  fs::remove(tool);
  IsMissing(start + "is missing" + end);
  fs::create_directory(tool);
  IsMissing(start + "is not a file" + end);
  fs::remove(tool);
  fs::create_symlink("nowhere", tool);
  IsMissing(start + "is missing" + end);
}

TEST_F(Preflight, FailsWhereTheUpdateCouldNotBeRecorded) {
  folder_.Write("repository", "in the way");
  IsMissing("An update could not be recorded: " + (folder_ / "repository") +
            " is not a folder that can be written to.");
  fs::remove(folder_ / "repository");
  fs::remove_all(folder_ / "journal");
  folder_.Write("journal", "in the way");
  for (const char* start : {"check ", "update --dry-run "}) {
    const json object = RunJson(start + ("\"" + good_ + "\""));
    EXPECT_EQ(object["exit_code"], 4) << object;
    EXPECT_EQ(object["error"]["cause"],
              "An update could not be recorded: " + (folder_ / "journal") + " is not a folder that can be written to.");
  }
  EXPECT_EQ(RunJson(Update(good_))["verdict"], "journal-unusable");
}

TEST_F(Preflight, TheNextStepForTheFlashToolIsToInstallIt) {
  fs::remove(folder_ / kFlashTool);
  EXPECT_EQ(RunJson(Update(good_))["error"]["next_step"],
            "Install the maker's flash tool there as an executable file, then run the same command again.");
}

TEST_F(Preflight, FailsForAUserWithoutRights) {
  unsetenv(kLabMachine);
  std::string user = std::to_string(geteuid());
  if (geteuid() == 0) {
    user = "65534";
    prefix_ = "setpriv --reuid 65534 --regid 65534 --clear-groups ";
    fs::permissions(folder_.Path(), fs::perms(0777));
    if (std::system((prefix_ + "test -x \"" ORVHOST_PROGRAM "\"").c_str()) != 0) {
      GTEST_SKIP() << "another user cannot run the program where it was built";
    }
  }
  IsFoundByAllThree(good_, {4, "prerequisites-missing",
                            "Only root can write firmware and put it into operation, and this is user " + user + ".",
                            "prerequisites"});
}

TEST_F(Preflight, ApplyFailsForAUserWithoutRightsToo) {
  ASSERT_EQ(Run(Update(good_)), 0) << err_;
  unsetenv(kLabMachine);
  if (geteuid() == 0) {
    prefix_ = "setpriv --reuid 65534 --regid 65534 --clear-groups ";
    ASSERT_EQ(std::system(("chown -R 65534 \"" + folder_.Path() + "\"").c_str()), 0);
    if (std::system((prefix_ + "test -x \"" ORVHOST_PROGRAM "\"").c_str()) != 0) {
      GTEST_SKIP() << "another user cannot run the program where it was built";
    }
  }
  for (const char* arguments : {"apply --yes", "apply --dry-run"}) {
    const json object = RunJson(arguments);
    EXPECT_EQ(object["verdict"], "prerequisites-missing") << object;
    EXPECT_EQ(object["exit_code"], 4);
    EXPECT_EQ(object["changed"], false);
    EXPECT_EQ(object["needs_apply"], true);
  }
  EXPECT_EQ(State().updateStatus, refhost::kUpdateWritten);
}

// In this process: the program would take the lock of the real machine.
TEST_F(Preflight, APluginWithoutThePhraseIsFoundForFirmwareThatNeedsIt) {
  plugin_ = WithPlaceholder();
  unsetenv(kLabMachine);
  refhost::StagingFailure failure;
  const auto package = refhost::StagedPackage::Stage(good_, &failure);
  ASSERT_TRUE(package && package->Unpack(&failure)) << failure.reason;
  Options options;
  options.installPath = installPath_;
  for (const std::string major : {"06", "16"}) {
    options.pluginPath = plugin_;
    const auto obstacle = FindObstacle({options, *package, UpdateMethod::kFlashTool, major + "-10"});
    ASSERT_TRUE(obstacle.has_value());
    EXPECT_EQ(obstacle->verdict, "prerequisites-missing");
    EXPECT_EQ(obstacle->cause, "The plug-in was built without the write-mode phrase, and firmware " + major +
                                   "-10 refuses an update without it.");
    options.pluginPath = TEST_PLUGIN_PATH;
    EXPECT_FALSE(FindObstacle({options, *package, UpdateMethod::kFlashTool, major + "-10"}));
  }
  options.pluginPath = plugin_;
  EXPECT_FALSE(FindObstacle({options, *package, UpdateMethod::kFlashTool, "01-23"}));
}

TEST_F(Preflight, ALaboratorysMachineTakesThePlaceholderOfThePhrase) {
  plugin_ = WithPlaceholder();
  setenv("TEST_PLUGIN_VERSION", "16-10", 1);
  EXPECT_EQ(Run("check \"" + folder_.Write("p.zip", refhost::Package("16-11")) + "\""), 0) << err_;
}

// With a file system of that size at `folder`.
class SmallFileSystem : public Preflight {
 protected:
  void SetUp() override {
    if (geteuid() != 0 || std::system("unshare --mount true 2> /dev/null") != 0) {
      GTEST_SKIP() << "no file system can be mounted here";
    }
  }

  void Mount(const std::string& folder, const std::string& size) {
    fs::create_directories(folder);
    prefix_ = "unshare --mount sh -c 'mount -t tmpfs -o size=" + size + " tmpfs \"" + folder + "\" && exec \"$@\"' sh ";
  }

  // Unpacks to 20 MiB.
  std::string LargePackage() const {
    return folder_.Write("p.zip", Described().File("a.ima", std::string(20U << 20U, '\0')).Build(Format::kZip));
  }
};

TEST_F(SmallFileSystem, FailsInThePlaceOfTheScratchFolder) {
  Mount(folder_ / "tmp/KV6KBMC", "4m");
  IsFoundByAllThree(LargePackage(), {4, "prerequisites-missing",
                                     "There is no room to unpack the package: " + (folder_ / "tmp/KV6KBMC") +
                                         " has 4 MiB free, and it takes 21 MiB."});
}

TEST_F(SmallFileSystem, FailsInThePlaceOfTheInstallPath) {
  const std::string package = LargePackage();
  installPath_ = folder_ / "small";
  const std::string start = "The package " + package + " cannot be copied and unpacked below " + installPath_ + ": ";
  Mount(installPath_, "4m");
  IsFoundByAllThree(package,
                    {4, "prerequisites-missing", start + "the disk is too full for a copy of its 1 MiB.", "package"});
  Mount(installPath_, "16m");
  IsFoundByAllThree(package,
                    {4, "prerequisites-missing", start + "there is no room for what it unpacks to.", "package"});
}

TEST_F(Preflight, WithNothingToDoNothingIsMissing) {
  fs::remove(folder_ / kFlashTool);
  setenv("TEST_PLUGIN_VERSION", "01-24", 1);
  EXPECT_EQ(RunJson(Update(good_))["verdict"], "nothing-to-do");
  EXPECT_EQ(RunJson(Update(good_) + " --dry-run")["verdict"], "nothing-to-do");
  const json checked = RunJson("check \"" + good_ + "\"");
  EXPECT_EQ(checked["verdict"], "same");
  EXPECT_FALSE(checked["facts"].contains("not_judged"));
}

// A server whose packages bring a script, below an install path that holds no blank.
class RackPreflight : public Preflight {
 protected:
  RackPreflight() {
    std::string name = (fs::temp_directory_path() / "orvhost-rack-XXXXXX").string();
    EXPECT_NE(mkdtemp(name.data()), nullptr);
    installPath_ = name;
    serverType_ = "kv6000rt";
    setenv("TEST_PLUGIN_VERSION", "BMC:01-23,SDR:A1", 1);
  }
  ~RackPreflight() override { fs::remove_all(installPath_); }

  static refhost::ArchiveBuilder Described() {
    return refhost::ArchiveBuilder().File(
        "module.json", R"({"name": "n", "version": "BMC:01-24,SDR:A2", "server_types": ["kv6000rt"]})");
  }
};

TEST_F(RackPreflight, APackageWithItsScriptGoesThroughWithoutAFlashTool) {
  const auto contents = Described().File("bmcup.sh", "", 0644).File("Yes", "Yes\n").File("x64/BmcFlash", "");
  EXPECT_TRUE(GoesThrough(folder_.Write("p.zip", contents.Build(Format::kZip))));
}

TEST_F(RackPreflight, APackageWithoutItsScriptOrAnswersIsRefused) {
  IsUnusable(Described().File("Yes", ""), "it holds no file bmcup.sh at its top");
  IsUnusable(Described().File("Yes", "").File("bmcup.sh/a", ""), "it holds no file bmcup.sh at its top");
  IsUnusable(Described().File("Yes", "").File("x64/bmcup.sh", ""), "it holds no file bmcup.sh at its top");
  IsUnusable(Described().File("bmcup.sh", ""), "it holds no file Yes at its top");
  IsUnusable(Described().File("bmcup.sh", "").File("Yes", "").Symlink("x64/a", "nothing"),
             "its link x64/a points to nothing");
}

TEST_F(RackPreflight, AnInstallPathThatAShellTakesApartIsRefused) {
  const std::string package =
      folder_.Write("p.zip", Described().File("bmcup.sh", "").File("Yes", "").Build(Format::kZip));
  fs::remove_all(installPath_);
  installPath_ = folder_.Path();  // which holds a blank
  IsFoundByAllThree(package, {2, "install-path-unusable",
                              "No firmware can be written from below the install path " + installPath_ +
                                  ": a shell would split or change that name."});
}

}  // namespace
}  // namespace orvhost
