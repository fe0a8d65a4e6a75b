// orvhost report: the three calls in their order, where the file goes, and that an old file outlives every failure.
#include "tests/orvhost/support/orvhost_fixture.h"

namespace orvhost {

namespace {

namespace fs = std::filesystem;

constexpr const char* kFile = "Kestrel_BmcConfigInfo.xml";

class Report : public OrvhostAtATerminal {
 protected:
  Report() { fs::create_directory(folder_ / "out dir"); }

  std::string To(const std::string& folder) const { return "report --out \"" + folder + "\""; }
  std::string File() const { return folder_ / "out dir/" + kFile; }

  // Runs a report that must fail beside an old file.
  json FailBesideAnOldFile(const std::string& words) {
    folder_.Write(std::string("out dir/") + kFile, "old");
    Ask(words);
    json object = RunJson(To(folder_ / "out dir"));
    EXPECT_EQ(folder_.Read(std::string("out dir/") + kFile), "old");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_ / "out dir"), {}), 1);
    EXPECT_EQ(object["changed"], false);
    return object;
  }
};

TEST_F(Report, TellsWhereTheFileIs) {
  EXPECT_EQ(Run(To(folder_ / "out dir")), 0) << err_;
  EXPECT_EQ(out_, "The report is in " + File() + ".\n");
  EXPECT_EQ(err_, "");
  EXPECT_NE(folder_.Read(std::string("out dir/") + kFile).find("<data>"), std::string::npos);
}

TEST_F(Report, AtATerminalItIsATable) {
  EXPECT_EQ(RunAtTerminal(To(folder_ / "out dir"), ""), 0);
  EXPECT_EQ(screen_, "The report is in " + File() +
                         ".\r\n"
                         "  File:            " +
                         File() +
                         "\r\n"
                         "  Product Name:    KV6000 <\"R&D\">\r\n"
                         "  Product Version: (none)\r\n"
                         "  mac_address:     00:19:99:AA:BB:CC\r\n"
                         "  dhcp:            Disabled\r\n");
}

TEST_F(Report, AsJsonItGivesTheSameItems) {
  const json object = RunJson(To(folder_ / "out dir"));
  EXPECT_EQ(object["verdict"], "reported");
  EXPECT_EQ(object["changed"], false);
  EXPECT_EQ(object["facts"], (json{{"file", File()},
                                   {"product_name", "KV6000 <\"R&D\">"},
                                   {"product_version", ""},
                                   {"mac_address", "00:19:99:AA:BB:CC"},
                                   {"dhcp", "Disabled"}}));
}

TEST_F(Report, TheThreeCallsGetTheFolderWithItsSeparator) {
  ASSERT_EQ(Run(To(folder_ / "out dir") + " --log-file \"" + (folder_ / "log") + "\""), 0);
  std::istringstream log(folder_.Read("log"));
  refhost::Lines lines;
  for (std::string line; std::getline(log, line);) {
    lines.push_back(line.substr(refhost::kTraceTimeWidth));
  }
  const std::string folder = folder_ / "out dir/";
  EXPECT_EQ(lines,
            (refhost::Lines{"4 LinkDevice [START]", "4 StartOutputDeviceConfigInfo " + folder,
                            "1 Execute command [tool raw 0x06 0x01 > result]", "4 ExecOutputDeviceConfigInfo " + folder,
                            "4 EndOutputDeviceConfigInfo " + folder, "4 ReleaseVendor"}));
}

TEST_F(Report, WithoutAFolderItIsTheCurrentOne) {
  const std::string command = "cd \"" + (folder_ / "out dir") + "\" && " + CommandLine("report --quiet");
  unsigned long exitCode = 99;
  EXPECT_EQ(CCommon_Information::ExecForeignModule(command, "", "", &exitCode, ~0UL), 0);
  EXPECT_EQ(exitCode, 0U);
  EXPECT_TRUE(fs::exists(File()));
}

TEST_F(Report, ASeparatorAtTheEndMakesNoDifference) {
  EXPECT_EQ(RunJson(To(folder_ / "out dir/"))["facts"]["file"], File());
}

TEST_F(Report, AnOldFileIsReplaced) {
  folder_.Write(std::string("out dir/") + kFile, "old");
  EXPECT_EQ(Run(To(folder_ / "out dir")), 0);
  EXPECT_NE(folder_.Read(std::string("out dir/") + kFile).find("<data>"), std::string::npos);
}

TEST_F(Report, AFolderWithoutANameIsRefused) {
  for (const char* arguments : {"report --out \"\"", "report --out \"$UNSET\"", "report --out=", "report --out"}) {
    const json object = RunJson(arguments);
    EXPECT_EQ(object["exit_code"], 2) << arguments;
    EXPECT_EQ(object["verdict"], "usage") << arguments;
  }
  EXPECT_EQ(RunJson("report --out \"\"")["error"]["cause"],
            "--out: the folder has no name (./NAME for one that begins with a dash)");
}

TEST_F(Report, FailsForAFolderThatCannotBeUsedBeforeThePluginIsLoaded) {
  plugin_ = "/missing.so";
  folder_.Write("file", "");
  const std::pair<std::string, std::string> cases[] = {{folder_ / "missing", "No such file or directory"},
                                                       {folder_ / "file", "Not a directory"},
                                                       {folder_ / "file/x", "Not a directory"}};
  for (const auto& [path, reason] : cases) {
    const json object = RunJson(To(path));
    EXPECT_EQ(object["exit_code"], 2);
    EXPECT_EQ(object["verdict"], "folder-unusable");
    EXPECT_EQ(object["phase"], "folder");
    std::string cause = "The report cannot be written to the folder ";
    cause.append(path).append(": ").append(reason).append(".");
    EXPECT_EQ(object["error"]["cause"], cause);
  }
}

TEST_F(Report, FailsForAFolderThatMayNotBeWrittenTo) {
  fs::permissions(folder_ / "out dir", fs::perms::owner_read | fs::perms::owner_exec);
  // To root everything is permitted, unless that power is taken away.
  const std::string powerless = geteuid() == 0 ? "setpriv --bounding-set=-dac_override,-dac_read_search " : "";
  const std::string command = powerless + CommandLine(To(folder_ / "out dir")) + " --json";
  unsigned long exitCode = 99;
  ASSERT_EQ(CCommon_Information::ExecForeignModule(command, folder_ / "out", "", &exitCode, ~0UL), 0);
  EXPECT_EQ(exitCode, 2U);
  const json object = json::parse(folder_.Read("out"));
  EXPECT_EQ(object["verdict"], "folder-unusable");
  EXPECT_EQ(object["error"]["cause"],
            "The report cannot be written to the folder " + (folder_ / "out dir") + ": Permission denied.");
}

// A limit on the size of files stands for a disk without room: the file is created, but not a byte can be written.
TEST_F(Report, FailsOnADiskWithoutRoomAndLosesNothing) {
  folder_.Write(std::string("out dir/") + kFile, "old");
  const std::string command = "(trap '' XFSZ; ulimit -f 0; " + CommandLine(To(folder_ / "out dir")) + " --json) | cat";
  unsigned long exitCode = 99;
  ASSERT_EQ(CCommon_Information::ExecForeignModule(command, folder_ / "out", "", &exitCode, ~0UL), 0);
  const json object = json::parse(folder_.Read("out"));
  EXPECT_EQ(object["exit_code"], 7);
  EXPECT_EQ(object["verdict"], "report-not-written");
  EXPECT_EQ(object["error"]["cause"],
            "The report could not be written to " + File() + ". The file " + File() + " is an earlier one.");
  EXPECT_EQ(object["error"]["evidence"]["records"][0],
            "MSGID_BMC_0018_F The device configuration report could not be made (27: the report file could not be "
            "written).");
  EXPECT_EQ(object["error"]["evidence"]["trace"][0], "cannot write " + File() + ": File too large");
  EXPECT_EQ(folder_.Read(std::string("out dir/") + kFile), "old");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_ / "out dir"), {}), 1);
}

TEST_F(Report, AServerOfAnotherFamilyHasNone) {
  const json object = FailBesideAnOldFile("no-report");
  EXPECT_EQ(object["exit_code"], 6);
  EXPECT_EQ(object["verdict"], "no-report");
  EXPECT_EQ(object["error"]["cause"], "There is no report for a server of the type kv6000.");
}

TEST_F(Report, FailsAtTheStartWhenTheBmcDoesNotAnswer) {
  const json object = FailBesideAnOldFile("unreadable");
  EXPECT_EQ(object["exit_code"], 7);
  EXPECT_EQ(object["verdict"], "report-failed");
  EXPECT_EQ(object["error"]["evidence"]["completion_code"], "C3");
  EXPECT_EQ(object["error"]["evidence"]["records"][0],
            "MSGID_BMC_0019_F The device configuration report cannot be started (1C: the firmware version could not be "
            "read from the BMC).");
}

TEST_F(Report, FailsWhenASectionCannotBeFilled) {
  const json object = FailBesideAnOldFile("no-lan");
  EXPECT_EQ(object["exit_code"], 7);
  EXPECT_EQ(object["verdict"], "report-failed");
  EXPECT_EQ(object["error"]["cause"], "The report could not be made. The file " + File() + " is an earlier one.");
  EXPECT_EQ(object["error"]["evidence"]["trace"][0], "Failed to execute IPMI Command (Get MAC Address) return:[C1]");
}

TEST_F(Report, FailsWhenThePluginThrows) {
  const json object = FailBesideAnOldFile("short-answer");
  EXPECT_EQ(object["exit_code"], 1);
  EXPECT_EQ(object["verdict"], "unexpected");
}

TEST_F(Report, MissingPrerequisitesAreNamed) {
  EXPECT_EQ(FailBesideAnOldFile("no-tool")["exit_code"], 4);
}

TEST_F(Report, FailsWhenTheFileCannotBeReadBack) {
  Ask("lost-report");
  json object = RunJson(To(folder_ / "out dir"));
  EXPECT_EQ(object["exit_code"], 7);
  EXPECT_EQ(object["verdict"], "report-unreadable");
  EXPECT_EQ(object["error"]["cause"], "The report in " + File() + " cannot be read back: File was not found.");
  folder_.Write(std::string("out dir/") + kFile, "<other/>");
  object = RunJson(To(folder_ / "out dir"));
  EXPECT_EQ(object["error"]["cause"], "The report in " + File() + " cannot be read back: it has no element \"data\".");
}

}  // namespace
}  // namespace orvhost
