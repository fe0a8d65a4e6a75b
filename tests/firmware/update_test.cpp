// The update up to the choice of its method: when there is nothing to do, what is compared, and how the package gets
// into the work folder. What follows is flash_tool_method_test.cpp and script_method_test.cpp.
#include "firmware/update.h"

#include <gtest/gtest.h>

#include "tests/support/scripted_firmware.h"
#include "tests/support/scripted_host.h"

namespace kestrel {

namespace {

const Lines kStart = {"4 CBMC_KESTREL_Firmware::Update() [START]", "ask server type"};
const Lines kEnd = "4 CBMC_KESTREL_Firmware::Update() [END]";
const Lines kDeleteFolder = "delete folder $I/tmp/KV6KBMC/BMC_FW";
const Lines kUnpack = {"mkdir $I/tmp/KV6KBMC/BMC_FW", "unpack /packages/bmc.zip to $I/tmp/KV6KBMC/BMC_FW"};
const Lines kNoImage = {"list folder $I/tmp/KV6KBMC/BMC_FW", "record MSGID_BMC_0020_F 11", "2 Failed to find module"};
const Lines kNoChmod = {"1 [chmod +x -R $I/tmp/KV6KBMC/BMC_FW/*]",
                        "exec chmod +x -R $I/tmp/KV6KBMC/BMC_FW/* limit none", "2 Failed to chmod. iRtn:[1], dRtn:[0]"};

// The comparison of the running version 01-23 with the version of the "update module" or the "old module".
Lines Compared(const std::string& module, const std::string& serverType = "kv6000") {
  return {"1 Compare Version",
          "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [START]",
          Request("06 01"),
          "ask server type",
          "4 [01-23][" + serverType + "]",
          "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [01-23] [END]",
          "ask " + module};
}

class Update : public testing::Test {
 protected:
  Update() {
    host_.updateModule.moduleVersion = "01-24";
    host_.oldModule.moduleVersion = "01-22";
  }

  int Run(const std::string& package, bool useOldModule = false, std::list<std::string>* fileList = nullptr) {
    return RunUpdate(firmware_, kIpmitoolPath, package, fileList, useOldModule);
  }
  // The next reading finds 01-23.
  void AnswerVersion() { host_.Answer("06 01", "00 20 01 01 23"); }

  ScriptedHost host_;
  ScriptedFirmware firmware_;
};

TEST_F(Update, OfAnUnknownServerTypeFailsWithoutAnEndLine) {
  host_.serverType = "";
  EXPECT_EQ(Run("/packages/bmc.zip"), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, "2 Failed to get server type"}));
}

TEST_F(Update, ToTheVersionThatRunsIsNothingToDo) {
  AnswerVersion();
  host_.updateModule.moduleVersion = "01-23";
  EXPECT_EQ(Run("/packages/bmc.zip"), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Compared("update module"), "1 Already Updated", kEnd}));
}

TEST_F(Update, ToTheVersionThatRunsNeedsNoPackage) {
  AnswerVersion();
  host_.updateModule.moduleVersion = "01-23";
  EXPECT_EQ(Run(""), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Compared("update module"), "1 Already Updated", kEnd}));
}

TEST_F(Update, BackToTheOldModuleComparesTheOldModule) {
  AnswerVersion();
  host_.updateModule.moduleVersion = "01-24";
  host_.oldModule.moduleVersion = "01-23";
  EXPECT_EQ(Run("/packages/bmc.zip", true), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Compared("old module"), "1 Already Updated", kEnd}));
}

TEST_F(Update, BackToAnotherVersionGoesOnWithThePackage) {
  AnswerVersion();
  host_.updateModule.moduleVersion = "01-23";  // of no interest then
  EXPECT_EQ(Run("/packages/bmc.zip", true), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Compared("old module"), kDeleteFolder, kUnpack, kNoImage, kEnd}));
}

TEST_F(Update, AWorkFolderThatCannotBeMadeIsTheUnpackersConcern) {
  AnswerVersion();
  host_.foldersCanBeMade = false;
  EXPECT_EQ(Run("/packages/bmc.zip"), 1);
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {kStart, Compared("update module"), kDeleteFolder, kUnpack, kNoImage, kEnd}));
}

TEST_F(Update, TheOtherModulesVersionDoesNotCount) {
  AnswerVersion();
  host_.updateModule.moduleVersion = "01-23";
  EXPECT_EQ(Run("", true), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Compared("old module"), kEnd}));
}

TEST_F(Update, VersionsAreComparedExactly) {
  for (const char* version : {"01-2", "01-230", "01-23 ", ""}) {
    SCOPED_TRACE(version);
    AnswerVersion();
    host_.updateModule.moduleVersion = version;
    EXPECT_EQ(Run(""), 1);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Compared("update module"), kEnd}));
  }
}

TEST_F(Update, AsksTheBmcAndNotTheHandlerForTheVersionCompared) {
  AnswerVersion();
  firmware_.operatingVersion = "01-24";
  host_.updateModule.moduleVersion = "01-24";
  EXPECT_EQ(Run(""), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Compared("update module"), kEnd}));
}

TEST_F(Update, ABmcThatCannotBeComparedIsUpdatedAllTheSame) {
  host_.Answer("06 01", "c0", 3);
  const Lines attempt = {FailedRequest("06 01"), "ask server type"};
  const Lines retry = {"16 Failed to execute ipmi command(GetDeviceID) CompletionCode:", "sleep 10000"};
  EXPECT_EQ(Run("/packages/bmc.zip"), 1);
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(),
                {kStart, "1 Compare Version", "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [START]", attempt, retry,
                 attempt, retry, attempt, "2 Failed to execute ipmi command(GetDeviceID) CompletionCode:",
                 "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [END]", "ask update module", kDeleteFolder, kUnpack,
                 kNoImage, kEnd}));
}

TEST_F(Update, WithoutAPackageFails) {
  AnswerVersion();
  EXPECT_EQ(Run(""), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Compared("update module"), kEnd}));
}

TEST_F(Update, OfTheRackFamilyWithoutAPackageFailsWithoutAComparison) {
  host_.serverType = "kv6000rt";
  EXPECT_EQ(Run(""), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, kEnd}));
}

TEST_F(Update, FailsWhenTheWorkFolderCannotBeDeleted) {
  AnswerVersion();
  host_.folderDeletions = {false};
  EXPECT_EQ(Run("/packages/bmc.zip"), 1);
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {kStart, Compared("update module"), kDeleteFolder, "record MSGID_BMC_0009_F 0F",
                                      "2 Failed to delete temporary folder before updating", kEnd}));
}

TEST_F(Update, FailsWhenThePackageCannotBeUnpacked) {
  AnswerVersion();
  host_.packageCanBeUnpacked = false;
  EXPECT_EQ(Run("/packages/bmc.zip"), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Compared("update module"), kDeleteFolder, kUnpack,
                                              "record MSGID_BMC_0009_F 10", "2 Failed to Unzip", kEnd}));
}

TEST_F(Update, OfTheRackFamilyFailsWithoutAComparisonWhenTheWorkFolderCannotBeDeleted) {
  host_.serverType = "kv6000rt";
  host_.folderDeletions = {false};
  EXPECT_EQ(Run("/packages/bmc.zip"), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, kDeleteFolder, "record MSGID_BMC_0009_F 0F",
                                              "2 Failed to delete temporary folder before updating", kEnd}));
}

TEST_F(Update, OfTheRackFamilyFailsWithoutAComparisonWhenThePackageCannotBeUnpacked) {
  host_.serverType = "kv6000rt";
  host_.packageCanBeUnpacked = false;
  EXPECT_EQ(Run("/packages/bmc.zip"), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, kDeleteFolder, kUnpack, "record MSGID_BMC_0009_F 10", "2 Failed to Unzip", kEnd}));
}

TEST_F(Update, HandsTheFileListOn) {
  std::list<std::string> fileList = {"image.ima"};
  AnswerVersion();
  EXPECT_EQ(Run("/packages/bmc.zip", false, &fileList), 1);
  EXPECT_EQ(host_.unpackedFileList, &fileList);
  EXPECT_EQ(fileList, std::list<std::string>{"image.ima"});
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {kStart, Compared("update module"), kDeleteFolder, kUnpack, kNoImage, kEnd}));
}

TEST_F(Update, EveryFamilyButTheRackFamilyIsFlashedByTheTool) {
  for (const char* serverType : {"kv6000", "mx4000", "kv6000r", "something else"}) {
    SCOPED_TRACE(serverType);
    host_.serverType = serverType;
    host_.Answer("06 01", "00 20 01 01 23");
    EXPECT_EQ(Run("/packages/bmc.zip"), 1);
    EXPECT_TRUE(SameLines(host_.TakeJournal(),
                          {kStart, Compared("update module", serverType), kDeleteFolder, kUnpack, kNoImage, kEnd}));
  }
}

TEST_F(Update, TheRackFamilyIsUpdatedByItsScriptAndNotCompared) {
  for (const char* serverType : {"kv6000rt", "kv6000rt2", "new kv6000rt"}) {
    SCOPED_TRACE(serverType);
    host_.serverType = serverType;
    host_.Command("chmod +x -R $I/tmp/KV6KBMC/BMC_FW/*", {1, 0, ""});
    EXPECT_EQ(Run("/packages/bmc.zip"), 1);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, kDeleteFolder, kUnpack, kNoChmod, kEnd}));
  }
}

}  // namespace
}  // namespace kestrel
