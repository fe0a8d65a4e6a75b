// orvhost validate: the plug-in passes, and each way of breaking the contract fails the check that is made for it, with
// all other checks still done.
#include "tests/orvhost/support/orvhost_fixture.h"

namespace orvhost {

namespace {

class Validate : public Orvhost {
 protected:
  // "name: reason" of every check with that result.
  refhost::Lines Ending(const std::string& result) const {
    refhost::Lines lines;
    for (const json& check : object_["checks"]) {
      if (check["result"] != result) {
        continue;
      }
      lines.push_back(check["name"].get<std::string>() + ": " + check["reason"].get<std::string>());
    }
    return lines;
  }

  // That member of the check with that name.
  std::string Of(const std::string& name, const std::string& member) const {
    for (const json& check : object_["checks"]) {
      if (check["name"] == name) {
        return check[member].get<std::string>();
      }
    }
    return "";
  }

  // Validates the plug-in and returns what failed.
  refhost::Lines Failures(const std::string& plugin, const std::string& options = "") {
    object_ = RunJson("validate \"" + plugin + "\" " + options);
    refhost::Lines failures = Ending("fail");
    EXPECT_EQ(object_["checks"].size(), 33U);
    EXPECT_EQ(object_["exit_code"], failures.empty() ? 0 : 3);
    EXPECT_EQ(object_["verdict"], failures.empty() ? "valid" : "not-valid");
    EXPECT_EQ(object_["changed"], false);
    return failures;
  }

  // The same of the test plug-in that does what `words` ask.
  refhost::Lines FailuresOf(const std::string& words, const std::string& options = "") {
    Ask(words);
    return Failures(TEST_PLUGIN_PATH, options);
  }

  json object_;
};

TEST_F(Validate, ThePluginPassesEveryCheck) {
  EXPECT_EQ(Failures(REAL_PLUGIN_PATH), refhost::Lines{});
  EXPECT_EQ(Ending("skip"), refhost::Lines{});
  EXPECT_EQ(FailuresOf(""), refhost::Lines{});
  EXPECT_EQ(Ending("skip"), refhost::Lines{});
}

TEST_F(Validate, WhatIsNoFileOrNoLibraryFailsAndTheRestIsSkipped) {
  const std::pair<std::string, std::string> cases[] = {
      {folder_ / "missing.so", "file: it cannot be opened: No such file or directory"},
      {folder_.Path(), "file: it is no ELF file"},
      {folder_.Write("empty.so", ""), "file: it is no ELF file"},
      {folder_.Write("text.so", "no library"), "file: it is no ELF file"},
      {folder_.Write("cut.so", std::string("\177ELF\2\1\1\0", 8)), "file: it is no ELF file"},
      {ORVHOST_PROGRAM, "file: it is an ELF file, but no shared library"}};
  for (const auto& [path, reason] : cases) {
    EXPECT_EQ(Failures(path), refhost::Lines{reason});
    EXPECT_EQ(Ending("skip").size(), 32U);
    EXPECT_EQ(Ending("skip")[0], "string-abi: it needs \"file\"");
  }
}

TEST_F(Validate, FailsForAFileOfAnotherKindOfMachine) {
  std::string bytes = (std::ostringstream() << std::ifstream(TEST_PLUGIN_PATH, std::ios::binary).rdbuf()).str();
  bytes[18] = static_cast<char>(0xb7);  // e_machine: EM_AARCH64
  EXPECT_EQ(Failures(folder_.Write("other.so", bytes)), refhost::Lines{"file: it is made for another kind of machine"});
}

TEST_F(Validate, FailsForWhatTheFileShows) {
  EXPECT_EQ(Failures(TEST_PLUGIN_WITHOUT_RELEASE_PATH),
            refhost::Lines{"entry-points: it does not export ReleaseVendor"});
  EXPECT_EQ(Failures(NO_PLUGIN_PATH),
            (refhost::Lines{"entry-points: it does not export GetVendorFactory, ReleaseVendor",
                            "exports: it also exports SomethingElse",
                            "host-libraries: it does not say that it needs liborv_ProviderBase.so, "
                            "liborv_DllCommon.so"}));
  EXPECT_EQ(Failures(TEST_PLUGIN_VARIANT "extra_export.so"), refhost::Lines{"exports: it also exports SomethingElse"});
  EXPECT_EQ(Failures(TEST_PLUGIN_VARIANT "extra_library.so"), refhost::Lines{"libraries: it also needs libz.so.1"});
  EXPECT_EQ(Failures(TEST_PLUGIN_VARIANT "writable_relocations.so"),
            refhost::Lines{"hardening: its relocations stay writable (no full RELRO)"});
}

TEST_F(Validate, FailsForAPluginThatLeavesItToOthersToLoadTheHostsLibraries) {
  EXPECT_EQ(Failures(TEST_PLUGIN_VARIANT "no_host_libraries.so"),
            refhost::Lines{"host-libraries: it does not say that it needs liborv_ProviderBase.so, "
                           "liborv_DllCommon.so"});
}

TEST_F(Validate, FailsForAnExecutableStack) {
  const refhost::Lines failures = Failures(TEST_PLUGIN_VARIANT "executable_stack.so");
  ASSERT_FALSE(failures.empty());
  EXPECT_EQ(failures.front(), "stack: it makes the stack executable");  // some systems then refuse to load it too
}

TEST_F(Validate, FailsForARunPathIntoAFolderThatEverybodyMayWrite) {
  namespace fs = std::filesystem;
  const std::string plugin = folder_ / "plugin.so";
  const std::string beside = folder_ / "beside";
  fs::copy_file(TEST_PLUGIN_VARIANT "run_path.so", plugin);
  EXPECT_EQ(Failures(plugin), refhost::Lines{});  // nobody else can make the folder
  fs::create_directory(beside);
  EXPECT_EQ(Failures(plugin), refhost::Lines{});
  fs::permissions(beside, fs::perms::others_write, fs::perm_options::add);
  EXPECT_EQ(Failures(plugin),
            refhost::Lines{"run-path: it looks for libraries in folders that anybody can write to: $ORIGIN/beside"});
}

TEST_F(Validate, FailsForALibraryThatStaysInMemory) {
  EXPECT_EQ(Failures(TEST_PLUGIN_VARIANT "not_unloadable.so"),
            refhost::Lines{"unload: it stays in memory after it was unloaded"});
}

TEST_F(Validate, FailsForACrashAnExitOrAnExceptionInTheFactory) {
  EXPECT_EQ(FailuresOf("crashes"), refhost::Lines{"object: it was ended by signal 11 (Segmentation fault)"});
  EXPECT_EQ(Ending("skip").size(), 17U);
  EXPECT_EQ(Ending("pass").size(), 15U);
  EXPECT_EQ(FailuresOf("exits"), refhost::Lines{"object: it ended the process with exit status 5"});
  EXPECT_EQ(FailuresOf("throws-in-factory"), refhost::Lines{"object: an exception left it: basic_string::substr"});
  EXPECT_EQ(FailuresOf("releases-null"), refhost::Lines{"release-null: it was ended by signal 6 (Aborted)"});
}

TEST_F(Validate, FailsForAHangAtTheTimeLimit) {
  EXPECT_EQ(FailuresOf("hangs", "--time-limit 2.5"), refhost::Lines{"object: it did not come back within 2.5 s"});
}

TEST_F(Validate, FailsForAFactoryThatDoesNotGiveAnObjectForItsClassAlone) {
  EXPECT_EQ(FailuresOf("no-vendor"), refhost::Lines{"object: there is no object of the class CBMC_KESTREL_Vendor"});
  EXPECT_EQ(FailuresOf("null-class"), refhost::Lines{"null-class: it gives an object all the same"});
  EXPECT_EQ(FailuresOf("any-class"), refhost::Lines{"other-class: it gives an object for the class \"\""});
  EXPECT_EQ(FailuresOf("any-provider"), refhost::Lines{"null-provider: it gives an object all the same"});
}

TEST_F(Validate, TheVendorClassMayHaveAnotherName) {
  EXPECT_EQ(FailuresOf("class-MINE_Vendor", "--class MINE_Vendor"), refhost::Lines{});
  EXPECT_EQ(Ending("skip"), refhost::Lines{});
  EXPECT_EQ(FailuresOf("class-MINE_Vendor"),
            refhost::Lines{"object: there is no object of the class CBMC_KESTREL_Vendor"});
  EXPECT_EQ(FailuresOf("", "--class MINE_Vendor"),
            refhost::Lines{"object: there is no object of the class MINE_Vendor"});
}

TEST_F(Validate, FailsForAnObjectThatDoesNotKeepToTheContract) {
  EXPECT_EQ(FailuresOf("other-name"), refhost::Lines{"class-name: the object reports \"CVendor\""});
  EXPECT_EQ(FailuresOf("no-handler"), refhost::Lines{"link-device: there is no firmware handler afterwards"});
  EXPECT_EQ(FailuresOf("keeps-descriptor"), refhost::Lines{"life-cycle: it leaves 50 file descriptors open"});
  EXPECT_EQ(FailuresOf("incompatible"), refhost::Lines{"answers: the hardware version is not compatible with itself"});
  EXPECT_EQ(FailuresOf("clears-list"), refhost::Lines{"lists: the list of missing prerequisites is cleared"});
  EXPECT_EQ(FailuresOf("any-method"), refhost::Lines{"unknown-method: the method \"\" answers 0 and not -1"});
}

TEST_F(Validate, FailsForTheOtherStringAbi) {
  const refhost::Lines failures = Failures(TEST_PLUGIN_VARIANT "other_string_abi.so");
  ASSERT_EQ(failures.size(), 2U);
  const int own = _GLIBCXX_USE_CXX11_ABI;
  EXPECT_EQ(failures[0], "string-abi: it is built with _GLIBCXX_USE_CXX11_ABI=" + std::to_string(1 - own) +
                             " and the host's libraries with " + std::to_string(own));
  EXPECT_NE(failures[1].find("undefined symbol: "), std::string::npos) << failures[1];
  EXPECT_EQ(object_["facts"]["plugin_string_abi"], std::to_string(1 - own));
  EXPECT_EQ(object_["facts"]["host_string_abi"], std::to_string(own));
}

TEST_F(Validate, FailsForWhatAHostCannotLiveWith) {
  const refhost::Lines late = FailuresOf("links-late");
  ASSERT_EQ(late.size(), 1U);
  EXPECT_TRUE(late[0].starts_with("link-time: it takes 6.0")) << late[0];
  EXPECT_TRUE(Of("link-time", "evidence").ends_with(" s, 0 commands and pauses of 6000 ms asked for"));
  EXPECT_EQ(FailuresOf("makes-install-path"),
            refhost::Lines{"no-install: it makes the install path, which is the host's"});
  EXPECT_EQ(FailuresOf("one-thread"),
            refhost::Lines{"other-thread: it gives no object on another thread than the one that loads it"});
  EXPECT_EQ(FailuresOf("orders-all"), refhost::Lines{"version-order: comparing \"\" with \"\" answers 1 and not 0"});
  EXPECT_EQ(FailuresOf("odd-gate"), refhost::Lines{"pre-update: it answers 5 and neither 0 nor 1"});
  EXPECT_EQ(FailuresOf("empty-version"), refhost::Lines{"no-device: it answers an empty text"});
  EXPECT_EQ(FailuresOf("invents-version"),
            refhost::Lines{"no-device: it answers \"01-23\" although no command was run"});
}

TEST_F(Validate, SaysWhatItSawOfThePlugin) {
  EXPECT_EQ(Failures(REAL_PLUGIN_PATH), refhost::Lines{});
  EXPECT_EQ(Of("entry-points", "evidence"), "GetVendorFactory, ReleaseVendor");
  EXPECT_EQ(Of("class-name", "evidence"), "CBMC_KESTREL_Vendor");
  EXPECT_EQ(Of("no-install", "evidence"), "it makes its firmware handler all the same");
  EXPECT_TRUE(Of("link-time", "evidence").ends_with(" s, 0 commands and pauses of 0 ms asked for"));
  // With an IPMI tool on this machine it asks three times; without one it knows at once.
  const bool hasTool = Of("pre-update", "evidence") == "it answers 0";
  EXPECT_EQ(Of("no-device", "evidence"), hasTool
                                             ? "it answers \"abnormal\", 3 commands and pauses of 20000 ms asked for"
                                             : "it answers \"abnormal\", 0 commands and pauses of 0 ms asked for");
  for (const json& check : object_["checks"]) {
    EXPECT_LT(std::stod(check["seconds"].get<std::string>()), 20) << check;
    EXPECT_NE(check["evidence"], "") << check;
  }
}

TEST_F(Validate, SaysWhatWasJudgedWithWhat) {
  EXPECT_EQ(Failures(REAL_PLUGIN_PATH), refhost::Lines{});
  const json& facts = object_["facts"];
  EXPECT_EQ(facts["plugin"], REAL_PLUGIN_PATH);
  EXPECT_EQ(facts["plugin_sha256"], Sha256Of(REAL_PLUGIN_PATH));
  EXPECT_EQ(facts["plugin_string_abi"], facts["host_string_abi"]);
  EXPECT_EQ(facts["vendor_class"], "CBMC_KESTREL_Vendor");
  EXPECT_TRUE(facts["validated"].get<std::string>().ends_with("Z")) << facts;
  EXPECT_TRUE(facts["host"].get<std::string>().starts_with("orvhost "));
  for (const std::string key : {"liborv_dllcommon_so", "liborv_providerbase_so"}) {
    EXPECT_EQ(facts[key + "_sha256"], Sha256Of(facts[key]));
  }
  Failures(folder_ / "missing.so");
  EXPECT_FALSE(object_["facts"].contains("plugin_sha256"));
  EXPECT_FALSE(object_["facts"].contains("plugin_string_abi"));
}

TEST_F(Validate, ThePageIsANewFileOrNoneIsWritten) {
  const std::string page = folder_ / "page.html";
  EXPECT_EQ(FailuresOf("odd-gate", "--html \"" + page + "\""),
            refhost::Lines{"pre-update: it answers 5 and neither 0 nor 1"});
  EXPECT_EQ(object_["facts"]["page"], page);
  const std::string written = folder_.Read("page.html");
  EXPECT_NE(written.find("it answers 5 and neither 0 nor 1"), std::string::npos) << written;
  EXPECT_NE(written.find("not-valid, exit code 3"), std::string::npos) << written;
  for (const std::string& path : {page, folder_.Path(), folder_ / "none/page.html"}) {
    object_ = RunJson("validate --html \"" + path + "\"");
    EXPECT_EQ(object_["verdict"], "file-unusable");
    EXPECT_EQ(object_["exit_code"], 2);
  }
  EXPECT_EQ(folder_.Read("page.html"), written);
}

TEST_F(Validate, FailsForWhatLivesOnAfterItsRelease) {
  EXPECT_EQ(FailuresOf("keeps-vendor"), refhost::Lines{"release: the object lives on after its release"});
  EXPECT_EQ(FailuresOf("keeps-handler"),
            refhost::Lines{"release: the firmware handler lives on after the release of its object"});
}

TEST_F(Validate, WithoutAFolderForItsFilesNothingIsChecked) {
  for (const auto& [folder, reason] :
       {std::pair<std::string, std::string>{"/proc", "none can be made in /proc: No such file or directory."},
        {folder_ / "good.zip", "the one for temporary files cannot be used: Not a directory."}}) {
    setenv("TMPDIR", folder.c_str(), 1);
    object_ = RunJson("validate");
    unsetenv("TMPDIR");
    EXPECT_EQ(object_["verdict"], "folder-unusable");
    EXPECT_EQ(object_["exit_code"], 2);
    EXPECT_EQ(object_["error"]["cause"], "The checks need a folder of their own: " + reason);
  }
}

TEST_F(Validate, TheFolderForItsFilesMayBeGivenFromWhereOneStands) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder_.Path());
  setenv("TMPDIR", ".", 1);
  object_ = RunJson("validate");
  unsetenv("TMPDIR");
  std::filesystem::current_path(before);
  EXPECT_EQ(object_["exit_code"], 0) << object_;
}

TEST_F(Validate, NoCommandIsRunAndNothingIsWrittenBesideTheScratchFolder) {
  EXPECT_EQ(FailuresOf("runs-command"), refhost::Lines{"no-commands: it wanted to run [echo 18 01 | ipmicmd]"});
  const auto before = Tree();
  EXPECT_EQ(FailuresOf("writes-outside"), refhost::Lines{"no-writes: it writes install/beside"});
  EXPECT_EQ(Tree(), before);
}

TEST_F(Validate, PeopleGetATable) {
  EXPECT_EQ(Run("validate \"" REAL_PLUGIN_PATH "\""), 0);
  EXPECT_EQ(out_.find("pass  file            It is an ELF shared library for this kind of machine.\n"), 0U) << out_;
  EXPECT_NE(out_.find("\nThe plug-in passes all 33 checks.\n"), std::string::npos) << out_;
  EXPECT_EQ(Run("validate \"" TEST_PLUGIN_VARIANT "extra_export.so\""), 3);
  EXPECT_NE(out_.find("\nfail  exports         It exports nothing else.\n"
                      "                      -> it also exports SomethingElse\n"),
            std::string::npos)
      << out_;
  EXPECT_EQ(err_, "orvhost validate: The plug-in " TEST_PLUGIN_VARIANT
                  "extra_export.so fails these of the 33 checks: exports.\n"
                  "  verdict:         not-valid, exit code 3\n"
                  "  flash:           not touched by this run\n"
                  "  next step:       Do not use this plug-in before its maker has corrected what the failed checks "
                  "name.\n");
}

TEST_F(Validate, WithoutAFileItIsThePluginThatIsUsed) {
  EXPECT_EQ(RunJson("validate")["facts"]["plugin"], TEST_PLUGIN_PATH);
}

}  // namespace
}  // namespace orvhost
