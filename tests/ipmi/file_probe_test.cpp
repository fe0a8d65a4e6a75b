// Whether a file is there.
#include "ipmi/file_probe.h"

#include <gtest/gtest.h>

#include "tests/support/scripted_host.h"

namespace kestrel {

namespace {

class FileProbe : public testing::Test {
 protected:
  ScriptedHost host_;
};

TEST_F(FileProbe, FindsAFileThatCanBeRead) {
  host_.readableFiles = {"$I/there"};
  EXPECT_TRUE(CanBeRead((host_.InstallPath() / "there").string()));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {"probe $I/there"}));
}

TEST_F(FileProbe, MissesAFileThatCannotBeRead) {
  EXPECT_FALSE(CanBeRead((host_.InstallPath() / "missing").string()));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {"probe $I/missing"}));
}

}  // namespace
}  // namespace kestrel
