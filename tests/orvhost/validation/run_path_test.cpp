#include "orvhost/validation/run_path.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "tests/refhost/support/temporary_folder.h"

namespace orvhost {

namespace {

namespace fs = std::filesystem;
using Folders = std::vector<std::string>;

class RunPath : public testing::Test {
 protected:
  std::string Make(const std::string& name, mode_t mode) const {
    fs::create_directory(folder_ / name);
    EXPECT_EQ(chmod((folder_ / name).c_str(), mode), 0);
    return folder_ / name;
  }

  refhost::TemporaryFolder folder_;
};

TEST_F(RunPath, IntoFoldersOfTheirOwnersIsFine) {
  const std::string own = Make("own", 0755);
  EXPECT_EQ(OpenFolders(own, ""), Folders{});
  EXPECT_EQ(OpenFolders(own + "/missing/too", ""), Folders{});
  EXPECT_EQ(OpenFolders(own + ":$ORIGIN:${ORIGIN}/../own", own), Folders{});
  EXPECT_EQ(OpenFolders(Make("group", 0775), ""), Folders{});
}

TEST_F(RunPath, WhereEverybodyMayWriteIsOpen) {
  const std::string open = Make("open", 0777);
  const std::string sticky = Make("sticky", 01777);
  EXPECT_EQ(OpenFolders(open, ""), Folders{open});
  EXPECT_EQ(OpenFolders(sticky, ""), Folders{sticky});
  EXPECT_EQ(OpenFolders(Make("own", 0755) + ":" + sticky + ":" + open, ""), (Folders{sticky, open}));
  EXPECT_EQ(OpenFolders("$ORIGIN/lib", open), Folders{"$ORIGIN/lib"});
  EXPECT_EQ(OpenFolders("/x/${ORIGIN}/..", "/../" + open + "/x"), Folders{"/x/${ORIGIN}/.."});
}

TEST_F(RunPath, BelowWhereEverybodyMayWriteItCanBeMadeOrReplaced) {
  const std::string open = Make("open", 0777);
  const std::string sticky = Make("sticky", 01777);
  EXPECT_EQ(OpenFolders(sticky + "/missing", ""), Folders{sticky + "/missing"});
  Make("sticky/there", 0755);
  EXPECT_EQ(OpenFolders(sticky + "/there", ""), Folders{});
  Make("open/there", 0755);
  EXPECT_EQ(OpenFolders(open + "/there", ""), Folders{open + "/there"});
}

TEST_F(RunPath, ALinkIsFollowed) {
  const std::string link = folder_ / "link";
  fs::create_symlink(Make("open", 0777), link);
  EXPECT_EQ(OpenFolders(link, ""), Folders{link});
}

TEST_F(RunPath, TheCurrentFolderIsAnybodys) {
  EXPECT_EQ(OpenFolders("", ""), Folders{"."});
  EXPECT_EQ(OpenFolders("/usr/lib:", ""), Folders{"."});
  EXPECT_EQ(OpenFolders(":/usr/lib", ""), Folders{"."});
  EXPECT_EQ(OpenFolders("lib", ""), Folders{"lib"});
}

}  // namespace
}  // namespace orvhost
