// The package that is written is the package that was judged, however the operator's file changes meanwhile.
#include "tests/orvhost/support/background_orvhost.h"

namespace orvhost {

namespace {

class ReplacedPackage : public Orvhost {
 protected:
  ReplacedPackage() {
    setenv("TEST_PLUGIN_SWAP", (folder_ / "other.zip").c_str(), 1);
    setenv("TEST_PLUGIN_SWAPPED", good_.c_str(), 1);
  }
  ~ReplacedPackage() override {
    unsetenv("TEST_PLUGIN_SWAP");
    unsetenv("TEST_PLUGIN_SWAPPED");
  }

  // A package with another image, for another server type, or none at all.
  void PutOther(const std::string& bytes) const { folder_.Write("other.zip", bytes); }

  static std::string OtherPackage() {
    return refhost::ArchiveBuilder()
        .File("module.json", R"({"name": "other", "version": "01-30", "server_types": ["mx4000"]})")
        .File("fw.ima", "other image")
        .Build(refhost::ArchiveBuilder::Format::kZip);
  }
};

TEST_F(ReplacedPackage, IsWrittenAndRecordedAsItWasJudgedWheneverItIsReplaced) {
  const std::string judged = folder_.Read("good.zip");
  for (const std::string& other : {OtherPackage(), std::string("no archive")}) {
    for (const char* moment : {"load", "link", "prerequisites", "fit", "version", "prepare", "update"}) {
      folder_.Write("good.zip", judged);
      const std::string sha256 = Sha256Of(good_);
      PutOther(other);
      Ask("unpacks swaps-at-" + std::string(moment));
      const json object = RunJson(UpdateAgain(good_));
      EXPECT_EQ(object["verdict"], "updated") << moment << object;
      EXPECT_EQ(object["after"], "01-24");
      EXPECT_EQ(object["facts"]["package"], good_);
      EXPECT_EQ(object["facts"]["package_sha256"], sha256);
      EXPECT_EQ(folder_.Read("work/fw.ima"), "image") << moment;
      EXPECT_EQ(folder_.Read("good.zip"), other) << "it was replaced";
      const refhost::ModuleState state = State();
      EXPECT_EQ(state.operating.info.moduleVersion, "01-24");
      EXPECT_EQ(state.operating.packagePath, good_);
      EXPECT_EQ(state.operating.packageSha256, sha256);
      EXPECT_FALSE(folder_.Has(".orvhost-package"));
    }
  }
}

TEST_F(ReplacedPackage, IsNamedInTheJournalByItsDigest) {
  ASSERT_EQ(Run(Update(good_)), 0);
  ASSERT_EQ(Run("show last"), 0);
  EXPECT_NE(out_.find("takes " + good_ + ", SHA-256 " + Sha256Of(good_)), std::string::npos) << out_;
}

TEST_F(ReplacedPackage, APathThatIsNotUtf8IsCheckedAndWritten) {
  const std::string path = folder_.Write("p\xff\xfe.zip", refhost::Package("01-24"));
  EXPECT_EQ(Run("check \"" + path + "\""), 0) << err_;
  Ask("unpacks");
  EXPECT_EQ(Run(Update(path)), 0) << err_;
  EXPECT_EQ(folder_.Read("work/fw.ima"), "image");
  EXPECT_EQ(State().operating.packageSha256, Sha256Of(path));
}

TEST_F(ReplacedPackage, LeavesNoCopyHoweverTheRunEnds) {
  for (const char* asked : {"", "no-vendor", "no-tool", "unreadable", "unprepared", "throws", "flash-fails"}) {
    Ask(asked);
    Run(UpdateAgain(good_));
    EXPECT_FALSE(folder_.Has(".orvhost-package")) << asked;
  }
  Ask("");
  Run("check \"" + good_ + "\"");
  EXPECT_FALSE(folder_.Has(".orvhost-package"));
}

using KilledRun = BackgroundOrvhost;

TEST_F(KilledRun, LeavesACopyThatTheNextRunRemoves) {
  Kill(StartAtTheGate(Update(good_), "waits"));
  EXPECT_TRUE(folder_.Has(".orvhost-package/package"));
  EXPECT_EQ(Run("identify"), 0) << err_;
  EXPECT_FALSE(folder_.Has(".orvhost-package"));
}

}  // namespace
}  // namespace orvhost
