#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "host/DllCommon.h"
#include "tests/refhost/support/host_test.h"

namespace refhost {

namespace {

namespace fs = std::filesystem;

class Files : public HostTest {};

TEST_F(Files, InstallPathsHaveNoTrailingSeparator) {
  Configure({"/opt/some where//", "", ""});
  EXPECT_EQ(CFileUtility::GetInstallPath(0), "/opt/some where");
  EXPECT_EQ(CFileUtility::GetInstallPath(4), "/opt/some where/MngSrv");
  EXPECT_EQ(CFileUtility::GetInstallPath(1), "");
}

TEST_F(Files, AFileExistsWhenItIsNoFolder) {
  folder_.Write("file", "");
  fs::create_symlink("file", folder_ / "link");
  fs::create_symlink("nothing", folder_ / "dangling");
  EXPECT_TRUE(CFileUtility::IsFileExist(folder_ / "file"));
  EXPECT_TRUE(CFileUtility::IsFileExist(folder_ / "link"));
  EXPECT_FALSE(CFileUtility::IsFileExist(folder_ / "dangling"));
  EXPECT_FALSE(CFileUtility::IsFileExist(folder_.Path()));
  EXPECT_FALSE(CFileUtility::IsFileExist(folder_ / "missing"));
}

TEST_F(Files, APathOfAnyKindExists) {
  fs::create_symlink("nothing", folder_ / "dangling");
  EXPECT_TRUE(CCommon_Information::MyPathFileExists(folder_.Path()));
  EXPECT_TRUE(CCommon_Information::MyPathFileExists(folder_ / "dangling"));
  EXPECT_FALSE(CCommon_Information::MyPathFileExists(folder_ / "missing"));
  EXPECT_FALSE(CCommon_Information::MyPathFileExists(""));
}

TEST_F(Files, ADeletedFileIsGone) {
  const std::string path = folder_.Write("file", "x");
  EXPECT_TRUE(CCommon_Information::RetryDeleteFile(path));
  EXPECT_FALSE(folder_.Has("file"));
}

TEST_F(Files, DeletingAFileThatWasNeverThereSucceeds) {
  EXPECT_TRUE(CCommon_Information::RetryDeleteFile(folder_ / "missing"));
}

TEST_F(Files, DeletingFailsOnWhatCannotBeDeleted) {
  folder_.Write("sub/file", "x");
  EXPECT_FALSE(CCommon_Information::RetryDeleteFile(folder_ / "sub"));
  EXPECT_TRUE(folder_.Has("sub/file"));
}

TEST_F(Files, ADeletedFolderIsGoneWithAllThatIsInIt) {
  folder_.Write("work/a/b", "x");
  EXPECT_TRUE(CUnzip_Utility::DeleteFolder(folder_ / "work", "bmc"));
  EXPECT_FALSE(folder_.Has("work"));
  EXPECT_EQ(TakeLines(), Lines{});
}

TEST_F(Files, DeletingAFolderThatIsNotThereSucceeds) {
  EXPECT_TRUE(CUnzip_Utility::DeleteFolder(folder_ / "work", "bmc"));
  EXPECT_TRUE(CUnzip_Utility::DeleteFolder("", "bmc"));
}

TEST_F(Files, DeletingAFolderDoesNotFollowLinks) {
  folder_.Write("kept/file", "x");
  folder_.Write("work/file", "x");
  fs::create_directory_symlink("../kept", folder_ / "work/link");
  EXPECT_TRUE(CUnzip_Utility::DeleteFolder(folder_ / "work", "bmc"));
  EXPECT_TRUE(folder_.Has("kept/file"));
}

TEST_F(Files, AFileOrALinkIsNotDeletedAsAFolder) {
  folder_.Write("kept/file", "x");
  fs::create_directory_symlink("kept", folder_ / "link");
  EXPECT_FALSE(CUnzip_Utility::DeleteFolder(folder_ / "link", "bmc"));
  EXPECT_FALSE(CUnzip_Utility::DeleteFolder(folder_ / "kept/file", "bmc"));
  EXPECT_TRUE(folder_.Has("link"));
  EXPECT_TRUE(folder_.Has("kept/file"));
  EXPECT_EQ(TakeLines(), (Lines{"2 Not a folder, so it is not deleted: [" + (folder_ / "link") + "]",
                                "2 Not a folder, so it is not deleted: [" + (folder_ / "kept/file") + "]"}));
}

TEST_F(Files, ANewFolderIsItsOwnersOnly) {
  const std::string path = folder_ / "tmp";
  ASSERT_EQ(_mkdir(path.c_str()), 0);
  struct stat status {};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0700U);
}

TEST_F(Files, MakingAFolderFailsWithTheErrorNumber) {
  EXPECT_EQ(_mkdir(folder_.Path().c_str()), -1);
  EXPECT_EQ(GetLastError(), static_cast<unsigned long>(EEXIST));
}

}  // namespace
}  // namespace refhost
