// The management library: how it is loaded and released, its three queries, and a library that is missing, incomplete,
// no library at all, or that throws.
#include "svp/management_library.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>

#include "tests/svp/management_library_file.h"

namespace kestrel {

namespace {

const Lines kUnloadedNothing = {"4 CBMC_MngLib::Unload [START]", "4 CBMC_MngLib::Unload [END]"};
const Lines kUnloaded = {"4 CBMC_MngLib::Unload [START]", "close library", "4 CBMC_MngLib::Unload [END]"};
const std::string kLibrary = kManagementLibrary;

const Lines kLoaded = {"4 CBMC_MngLib::Load [START]", "open library " + kLibrary, "4 CBMC_MngLib::Load [END]"};

// A Load that fails; `error` is the whole of its error line.
Lines FailedLoad(const std::string& error) {
  return {"4 CBMC_MngLib::Load [START]", "open library " + kLibrary, "2 " + error, "4 CBMC_MngLib::Load [END]"};
}

// A construction that ends in Load.
Lines NotLoaded(const std::string& error, const Lines& unloaded) {
  return {"4 CBMC_MngLib::CBMC_MngLib [START]", FailedLoad(error), "2 CBMC_MngLib::CBMC_MngLib() Error End.", unloaded};
}

// A construction that ends without an interface object; `exception` is the line of what the library threw, if it did.
Lines NotInitialized(const Lines& exception) {
  return {"4 CBMC_MngLib::CBMC_MngLib [START]",
          "4 CBMC_MngLib::Load [START]",
          "open library " + kLibrary,
          "4 CBMC_MngLib::Load [END]",
          "library CreateLibIF",
          exception,
          "2 Failed to initialize OrvLibIF.",
          kUnloaded};
}

class ManagementLibrary : public testing::Test {
 protected:
  // What the constructor throws; an exception of any other type ends the test.
  static bool ConstructorThrowsFalse() {
    try {
      const CBMC_MngLib library;
    } catch (bool thrown) {
      return !thrown;
    }
    return false;
  }

  Lines CallLines(const char* operation, const Lines& between) const {
    const std::string name = std::string("4 CBMC_MngLib::") + operation;
    return {name + " [START]", std::string("library ") + operation, between, name + " [END]"};
  }

  ScriptedHost host_;
};

TEST(ManagementLibraryLayout, IsAVirtualTableAndSixPointers) {
  EXPECT_EQ(sizeof(CBMC_MngLib), 7 * sizeof(void*));
}

TEST_F(ManagementLibrary, IsOpenAsLongAsTheObjectLives) {
  InstallManagementLibrary(host_, "whole");
  {
    const CBMC_MngLib library;
    EXPECT_TRUE(SameLines(host_.TakeJournal(), LibraryOpened()));
    EXPECT_TRUE(ManagementLibraryIsLoaded(host_));
  }
  EXPECT_TRUE(SameLines(host_.TakeJournal(), LibraryClosed()));
  EXPECT_FALSE(ManagementLibraryIsLoaded(host_));
}

TEST_F(ManagementLibrary, IsLoadedOnceMoreByEachLoadAndReleasedOnceByEachUnload) {
  InstallManagementLibrary(host_, "whole");
  {
    CBMC_MngLib library;
    host_.TakeJournal();
    EXPECT_EQ(library.Load(), 0);
    EXPECT_EQ(library.Load(), 0);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), kLoaded.Times(2)));
    library.Unload();
    library.Unload();  // the same handle again, which was not forgotten
    EXPECT_TRUE(SameLines(host_.TakeJournal(), kUnloaded.Times(2)));
    EXPECT_TRUE(ManagementLibraryIsLoaded(host_));
  }
  EXPECT_TRUE(SameLines(host_.TakeJournal(), LibraryClosed()));
  EXPECT_FALSE(ManagementLibraryIsLoaded(host_));
}

TEST_F(ManagementLibrary, ThatIsReplacedByALesserOneIsNotLoadedAgain) {
  InstallManagementLibrary(host_, "whole");
  auto library = std::make_optional<CBMC_MngLib>();
  library->Unload();  // with the interface object, whose code is in it
  EXPECT_FALSE(ManagementLibraryIsLoaded(host_));
  host_.TakeJournal();
  InstallManagementLibrary(host_, "without_delete_item_disp");
  EXPECT_EQ(library->Load(), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), FailedLoad("Failed to load MngSrv_OrvLib Library(" + kLibrary +
                                                        ": undefined symbol: DeleteItemDisp) .")));
  EXPECT_TRUE(ManagementLibraryIsLoaded(host_));  // until it is unloaded
  library->Unload();
  EXPECT_TRUE(SameLines(host_.TakeJournal(), kUnloaded));
  EXPECT_FALSE(ManagementLibraryIsLoaded(host_));
  std::filesystem::remove(host_.InstallPath() / "kind4" / "liborv_MngSrv_OrvLib.so");
  EXPECT_EQ(library->Load(), 1);
  library->Unload();
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {FailedLoad("Failed to load MngSrv_OrvLib Library(" + kLibrary +
                                                 ": cannot open shared object file: No such file or directory)."),
                                      kUnloadedNothing}));
  InstallManagementLibrary(host_, "whole");
  EXPECT_EQ(library->Load(), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), kLoaded));
  library.reset();
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {"4 CBMC_MngLib::~CBMC_MngLib [START]", "library DeleteLibIF of an object that is not its own",
                         kUnloaded, "4 CBMC_MngLib::~CBMC_MngLib [END]"}));
  EXPECT_FALSE(ManagementLibraryIsLoaded(host_));
}

TEST_F(ManagementLibrary, ThatIsMissingIsNotLoaded) {
  EXPECT_TRUE(ConstructorThrowsFalse());
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), NotLoaded("Failed to load MngSrv_OrvLib Library(" + kLibrary +
                                                   ": cannot open shared object file: No such file or directory).",
                                               kUnloadedNothing)));
}

TEST_F(ManagementLibrary, ThatIsAnEmptyFileIsNotLoaded) {
  InstallNoLibrary(host_, "");
  EXPECT_TRUE(ConstructorThrowsFalse());
  EXPECT_TRUE(SameLines(
      host_.TakeJournal(),
      NotLoaded("Failed to load MngSrv_OrvLib Library(" + kLibrary + ": file too short).", kUnloadedNothing)));
}

TEST_F(ManagementLibrary, ThatIsATextFileIsNotLoaded) {
  InstallNoLibrary(host_, std::string(1000, 'x'));
  EXPECT_TRUE(ConstructorThrowsFalse());
  EXPECT_TRUE(SameLines(
      host_.TakeJournal(),
      NotLoaded("Failed to load MngSrv_OrvLib Library(" + kLibrary + ": invalid ELF header).", kUnloadedNothing)));
}

TEST_F(ManagementLibrary, ThatIsAFolderIsNotLoaded) {
  std::filesystem::create_directories(host_.InstallPath() / "kind4" / "liborv_MngSrv_OrvLib.so");
  EXPECT_TRUE(ConstructorThrowsFalse());
  EXPECT_TRUE(SameLines(host_.TakeJournal(), NotLoaded("Failed to load MngSrv_OrvLib Library(" + kLibrary +
                                                           ": cannot read file data: Is a directory).",
                                                       kUnloadedNothing)));
}

TEST_F(ManagementLibrary, LackingAnEntryPointIsRefusedThoughItIsNeverCalled) {
  InstallManagementLibrary(host_, "without_delete_item_disp");
  EXPECT_TRUE(ConstructorThrowsFalse());
  EXPECT_TRUE(SameLines(host_.TakeJournal(), NotLoaded("Failed to load MngSrv_OrvLib Library(" + kLibrary +
                                                           ": undefined symbol: DeleteItemDisp) .",
                                                       kUnloaded)));
  EXPECT_FALSE(ManagementLibraryIsLoaded(host_));
}

TEST_F(ManagementLibrary, LackingOnlyAnEarlierEntryPointLeavesTheLoaderNothingToSay) {
  for (const char* lacking : {"without_create_lib_if", "without_delete_lib_if", "without_create_item_disp"}) {
    SCOPED_TRACE(lacking);
    InstallManagementLibrary(host_, lacking);
    EXPECT_TRUE(ConstructorThrowsFalse());
    EXPECT_TRUE(SameLines(host_.TakeJournal(), NotLoaded("Failed to load MngSrv_OrvLib Library() .", kUnloaded)));
    EXPECT_FALSE(ManagementLibraryIsLoaded(host_));
  }
}

TEST_F(ManagementLibrary, LackingAllEntryPointsIsRefusedByTheLast) {
  InstallManagementLibrary(host_, "without_entries");
  EXPECT_TRUE(ConstructorThrowsFalse());
  EXPECT_TRUE(SameLines(host_.TakeJournal(), NotLoaded("Failed to load MngSrv_OrvLib Library(" + kLibrary +
                                                           ": undefined symbol: DeleteItemDisp) .",
                                                       kUnloaded)));
}

TEST_F(ManagementLibrary, WithoutAnInterfaceObjectIsUnloadedAgain) {
  InstallManagementLibrary(host_, "whole");
  host_.managementLibrary.hasInterface = false;
  EXPECT_TRUE(ConstructorThrowsFalse());
  EXPECT_TRUE(SameLines(host_.TakeJournal(), NotInitialized({})));
  EXPECT_FALSE(ManagementLibraryIsLoaded(host_));
}

TEST_F(ManagementLibrary, ThatThrowsInsteadOfGivingItsInterfaceObjectIsUnloadedAgain) {
  InstallManagementLibrary(host_, "whole");
  host_.managementLibrary.throwsFrom = "CreateLibIF";
  EXPECT_TRUE(ConstructorThrowsFalse());
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        NotInitialized("2 MngSrv_OrvLib API(CreateLibIF) threw an exception. no such disk")));
  EXPECT_FALSE(ManagementLibraryIsLoaded(host_));
}

TEST_F(ManagementLibrary, IsNotUnloadedBeforeItsOwnExceptionIsGone) {
  InstallManagementLibrary(host_, "whole");
  host_.managementLibrary.throwsFrom = "CreateLibIF";
  host_.managementLibrary.throwsOwnClass = true;
  EXPECT_TRUE(ConstructorThrowsFalse());
  EXPECT_TRUE(SameLines(
      host_.TakeJournal(),
      NotInitialized({"2 MngSrv_OrvLib API(CreateLibIF) threw an unknown exception.", "library ~OwnException"})));
  EXPECT_FALSE(ManagementLibraryIsLoaded(host_));
}

TEST_F(ManagementLibrary, ThatThrowsFromItsReleaseIsUnloadedNevertheless) {
  InstallManagementLibrary(host_, "whole");
  host_.managementLibrary.throwsFrom = "DeleteLibIF";
  { const CBMC_MngLib library; }
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {LibraryOpened(), "4 CBMC_MngLib::~CBMC_MngLib [START]", "library DeleteLibIF",
                                      "2 MngSrv_OrvLib API(DeleteLibIF) threw an exception. no such disk", kUnloaded,
                                      "4 CBMC_MngLib::~CBMC_MngLib [END]"}));
  EXPECT_FALSE(ManagementLibraryIsLoaded(host_));
}

TEST_F(ManagementLibrary, FailsToBeClosedWithTheHostsErrorNumber) {
  InstallManagementLibrary(host_, "whole");
  host_.closeLibraryError = EBUSY;
  { const CBMC_MngLib library; }
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {LibraryOpened(), "4 CBMC_MngLib::~CBMC_MngLib [START]",
                                              "library DeleteLibIF", "4 CBMC_MngLib::Unload [START]", "close library",
                                              "2 Unload Library is FAILED (Error=00000010).",
                                              "4 CBMC_MngLib::Unload [END]", "4 CBMC_MngLib::~CBMC_MngLib [END]"}));
}

TEST_F(ManagementLibrary, GivesDiskInformationAndCodesUnchanged) {
  InstallManagementLibrary(host_, "whole");
  host_.managementLibrary.info = "0aFFzz";
  host_.managementLibrary.errorCode = "17";
  host_.managementLibrary.warningCode = "18";
  CBMC_MngLib library;
  host_.TakeJournal();
  for (const bool succeeds : {true, false}) {
    host_.managementLibrary.succeeds = succeeds;
    std::string info;
    std::string error;
    std::string warning;
    EXPECT_EQ(library.GetHddInfoToSVP(&info, &error, &warning), succeeds);
    EXPECT_EQ(info, "0aFFzz");
    EXPECT_EQ(error, "17");
    EXPECT_EQ(warning, "18");
    EXPECT_TRUE(SameLines(host_.TakeJournal(), CallLines("GetHddInfoToSVP", {})));
  }
}

TEST_F(ManagementLibrary, ThatThrowsFromItsQueryHasFailedItAndGoesOnWorking) {
  InstallManagementLibrary(host_, "whole");
  CBMC_MngLib library;
  host_.TakeJournal();
  std::string info;
  std::string error;
  std::string warning;
  host_.managementLibrary.throwsFrom = "GetHddInfoToSVP";
  EXPECT_FALSE(library.GetHddInfoToSVP(&info, &error, &warning));
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(),
                CallLines("GetHddInfoToSVP", "2 MngSrv_OrvLib API(GetHddInfoToSVP) threw an exception. no such disk")));
  host_.managementLibrary.throwsOwnClass = true;
  EXPECT_FALSE(library.GetHddInfoToSVP(&info, &error, &warning));
  EXPECT_TRUE(SameLines(
      host_.TakeJournal(),
      CallLines("GetHddInfoToSVP",
                {"2 MngSrv_OrvLib API(GetHddInfoToSVP) threw an unknown exception.", "library ~OwnException"})));
  host_.managementLibrary.throwsFrom = "";
  EXPECT_TRUE(library.GetHddInfoToSVP(&info, &error, &warning));
}

TEST_F(ManagementLibrary, GivesRaidInformationAndReleasesIt) {
  InstallManagementLibrary(host_, "whole");
  CBMC_MngLib library;
  host_.TakeJournal();
  std::list<CItemDisp*> items;
  EXPECT_EQ(library.GetRAIDInfo(&items), 0);
  EXPECT_EQ(items.size(), 1U);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), CallLines("GetRAIDInfo", {})));
  library.ExecFreeItemList(&items);
  EXPECT_TRUE(items.empty());
  EXPECT_TRUE(SameLines(host_.TakeJournal(), CallLines("ExecFreeItemList", {})));
}

TEST_F(ManagementLibrary, TellsRaidWarningsByOneCodeOnly) {
  InstallManagementLibrary(host_, "whole");
  CBMC_MngLib library;
  host_.TakeJournal();
  std::list<CItemDisp*> items;
  host_.managementLibrary.errorCode = "01";  // of no interest in a call that succeeded
  for (const char* warning : {"", "02", "1", "010"}) {
    SCOPED_TRACE(warning);
    host_.managementLibrary.warningCode = warning;
    EXPECT_EQ(library.GetRAIDInfo(&items), 0);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), CallLines("GetRAIDInfo", {})));
  }
  host_.managementLibrary.warningCode = "01";
  EXPECT_EQ(library.GetRAIDInfo(&items), 2);
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(),
                CallLines("GetRAIDInfo", "2 Failed to execute MngSrv_OrvLib API(GetRAIDInfo). WarningCode=01")));
}

TEST_F(ManagementLibrary, TellsTheErrorOfARaidQueryThatFailed) {
  InstallManagementLibrary(host_, "whole");
  CBMC_MngLib library;
  host_.TakeJournal();
  std::list<CItemDisp*> items;
  host_.managementLibrary.succeeds = false;
  host_.managementLibrary.errorCode = "07";
  host_.managementLibrary.warningCode = "01";
  EXPECT_EQ(library.GetRAIDInfo(&items), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        CallLines("GetRAIDInfo", "2 Failed to execute MngSrv_OrvLib API(GetRAIDInfo). ErrorCode=07")));
}

TEST_F(ManagementLibrary, ThatThrowsFromARaidOperationHasFailedIt) {
  InstallManagementLibrary(host_, "whole");
  CBMC_MngLib library;
  host_.TakeJournal();
  std::list<CItemDisp*> items;
  host_.managementLibrary.throwsFrom = "GetRAIDInfo";
  EXPECT_EQ(library.GetRAIDInfo(&items), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        CallLines("GetRAIDInfo", {"2 MngSrv_OrvLib API(GetRAIDInfo) threw an exception. no such disk",
                                                  "2 Failed to execute MngSrv_OrvLib API(GetRAIDInfo). ErrorCode="})));
  host_.managementLibrary.throwsFrom = "ExecFreeItemList";
  library.ExecFreeItemList(&items);
  EXPECT_TRUE(SameLines(
      host_.TakeJournal(),
      CallLines("ExecFreeItemList", "2 MngSrv_OrvLib API(ExecFreeItemList) threw an exception. no such disk")));
}

}  // namespace
}  // namespace kestrel
