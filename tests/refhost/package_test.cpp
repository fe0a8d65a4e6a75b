#include "refhost/package.h"

#include <gtest/gtest.h>

#include "tests/refhost/support/archive_builder.h"
#include "tests/refhost/support/host_test.h"

namespace refhost {

namespace {

class PackageFile : public HostTest {
 protected:
  bool Read(const std::string& bytes) {
    error_.clear();
    return ReadPackageManifest(folder_.Write("package.zip", bytes), &manifest_, &error_);
  }
  bool ReadManifest(const std::string& text) {
    return Read(ArchiveBuilder().File("module.json", text).Build(ArchiveBuilder::Format::kTar));
  }

  PackageManifest manifest_;
  std::string error_;
};

TEST_F(PackageFile, TellsWhatItIsAndForWhichServers) {
  ASSERT_TRUE(Read(Package("01-24", "long/ssd", R"(["KV6000", "kv6000rt"])"))) << error_;
  EXPECT_EQ(manifest_.name, "KV6000 BMC firmware");
  EXPECT_EQ(manifest_.version, "01-24");
  EXPECT_EQ(manifest_.model, "long/ssd");
  EXPECT_EQ(manifest_.serverTypes, (Lines{"kv6000", "kv6000rt"}));
}

TEST_F(PackageFile, TheModelMayBeLeftOut) {
  ASSERT_TRUE(ReadManifest(R"({"name": "n", "version": "01-24", "server_types": ["kv6000"]})")) << error_;
  EXPECT_EQ(manifest_.model, "");
}

constexpr const char* kDigest = "6105d6cc76af400325e94d588ce511be5bfdbb73b437dc51eca43917d7a43e3d";  // of "image"

std::string WithFiles(const std::string& files) {
  return R"({"name": "n", "version": "01-24", "server_types": ["kv6000"], "files": )" + files + "}";
}

TEST_F(PackageFile, StatesSizeAndDigestOfItsFiles) {
  ASSERT_TRUE(ReadManifest(WithFiles(R"({"a/b.ima": {"size": 5, "sha256": ")" + std::string(64, 'A') + "\"}}")))
      << error_;
  EXPECT_TRUE(manifest_.listsFiles);
  ASSERT_EQ(manifest_.files.size(), 1U);
  EXPECT_EQ(manifest_.files["a/b.ima"].size, 5U);
  EXPECT_EQ(manifest_.files["a/b.ima"].sha256, std::string(64, 'a'));
  ASSERT_TRUE(ReadManifest(R"({"name": "n", "version": "01-24", "server_types": ["kv6000"]})")) << error_;
  EXPECT_FALSE(manifest_.listsFiles);
  EXPECT_TRUE(manifest_.files.empty());
}

TEST_F(PackageFile, FailsOnAListThatSaysTooLittle) {
  const std::string digest = "\"sha256\": \"" + std::string(kDigest) + "\"";
  const std::pair<std::string, const char*> cases[] = {
      {"[]", "\"files\" is no object"},
      {"null", "\"files\" is no object"},
      {R"({"a": 5})", "\"files\", a: it is no JSON object"},
      {"{\"a\": {" + digest + "}}", "\"files\", a: \"size\" is missing"},
      {"{\"a\": {\"size\": -1, " + digest + "}}", "\"files\", a: \"size\" is no number of bytes"},
      {"{\"a\": {\"size\": 1.5, " + digest + "}}", "\"files\", a: \"size\" is no number of bytes"},
      {R"({"a": {"size": 1}})", "\"files\", a: \"sha256\" is missing"},
      {R"({"a": {"size": 1, "sha256": "12"}})", "\"files\", a: \"sha256\" is not 64 hexadecimal digits"},
      {R"({"a": {"size": 1, "sha256": ")" + std::string(64, 'g') + "\"}}",
       "\"files\", a: \"sha256\" is not 64 hexadecimal digits"},
      {"{\"module.json\": {\"size\": 1, " + digest + "}}", "\"files\" lists the description itself"}};
  for (const auto& [files, reason] : cases) {
    EXPECT_FALSE(ReadManifest(WithFiles(files))) << files;
    EXPECT_EQ(error_, std::string("module.json is not valid: ") + reason);
  }
}

TEST_F(PackageFile, IsComparedWithWhatItsFolderHolds) {
  folder_.Write("p/module.json", "{}");
  folder_.Write("p/fw.ima", "image");
  folder_.Write("p/sub/empty", "");
  const StatedFile image{kDigest, 5};
  const StatedFile empty{"e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855", 0};
  const auto difference = [this](bool lists, const std::map<std::string, StatedFile>& files) {
    PackageManifest manifest;
    manifest.listsFiles = lists;
    manifest.files = files;
    return DifferenceFromList(manifest, folder_ / "p");
  };
  EXPECT_EQ(difference(false, {}), "");
  EXPECT_EQ(difference(true, {{"fw.ima", image}, {"sub/empty", empty}}), "");
  EXPECT_EQ(difference(true, {{"fw.ima", image}}), "it holds sub/empty, which its description does not list");
  EXPECT_EQ(difference(true, {}), "it holds fw.ima, which its description does not list");
  EXPECT_EQ(difference(true, {{"fw.ima", image}, {"sub/empty", empty}, {"more", empty}}),
            "its file more is listed and not in it");
  EXPECT_EQ(difference(true, {{"fw.ima", {kDigest, 6}}, {"sub/empty", empty}}),
            "its file fw.ima has 5 bytes, and its description states 6");
  EXPECT_EQ(difference(true, {{"fw.ima", {empty.sha256, 5}}, {"sub/empty", empty}}),
            "its file fw.ima is not the one that its description states, as its SHA-256 shows");
  std::filesystem::create_symlink("fw.ima", folder_ / "p/link");
  EXPECT_EQ(difference(true, {{"fw.ima", image}, {"sub/empty", empty}}),
            "it holds link, which its description does not list");
  EXPECT_EQ(difference(true, {{"fw.ima", image}, {"sub/empty", empty}, {"link", image}}), "");
}

TEST_F(PackageFile, FailsOnWhatIsMissingOrWrong) {
  const std::pair<const char*, const char*> cases[] = {
      {R"({"version": "01-24", "server_types": ["kv6000"]})", "\"name\" is missing"},
      {R"({"name": "n", "server_types": ["kv6000"]})", "\"version\" is missing"},
      {R"({"name": "n", "version": "01-24"})", "\"server_types\" is missing"},
      {R"({"name": "n", "version": "", "server_types": ["kv6000"]})", "\"version\" is empty"},
      {R"({"name": "", "version": "01-24", "server_types": ["kv6000"]})", "\"name\" is empty"},
      {R"({"name": "n", "version": "01-24", "server_types": []})", "\"server_types\" names no server type"},
      {R"({"name": "n", "version": 124, "server_types": ["kv6000"]})", "\"version\" is no text"},
      {R"({"name": "n", "version": "01-24", "server_types": [1]})", "\"server_types\" holds what is no text"},
      {R"({"name": "n", "version": "01-24", "server_types": ["kv6000", null]})",
       "\"server_types\" holds what is no text"},
      {R"({"name": "n", "version": "01-24", "server_types": "kv6000"})", "\"server_types\" is no list"},
      {R"({"name": "n", "version": "01-24", "server_types": {"a": "kv6000"}})", "\"server_types\" is no list"},
      {R"({"name": "n", "version": "01-24", "server_types": null})", "\"server_types\" is no list"},
      {R"([])", "it is no JSON object"},
      {"", "it is no JSON text, as its byte 1 shows"},
      {"garbage", "it is no JSON text, as its byte 1 shows"},
      {R"({"name": "n", "version": "01-24", "server_types": [""]})", "\"server_types\" names an empty server type"},
      {R"({"name": "n", "version": "01-24", "version": "01-25", "server_types": ["kv6000"]})",
       "\"version\" stands twice in an object"},
      {R"({"name": "n", "version": "01-24", "server_types": ["kv6000"], "more": {"a": 1, "a": 2}})",
       "\"a\" stands twice in an object"},
      {R"({"name": "n", "version": "01-24", "server_types": ["kv6000"], "more": [[[[[[[[1]]]]]]]]})",
       "it is nested more than 8 levels deep"}};
  for (const auto& [text, reason] : cases) {
    EXPECT_FALSE(ReadManifest(text)) << text;
    EXPECT_EQ(error_.find("module.json is not valid: "), 0U) << error_;
    EXPECT_NE(error_.find(reason), std::string::npos) << error_;
  }
}

TEST_F(PackageFile, ADescriptionThatTwoReadersCouldTakeDifferentlyIsRefused) {
  const std::string good = R"({"name": "n", "version": "01-24", "server_types": ["kv6000"]})";
  EXPECT_FALSE(ReadManifest(good + std::string(1, '\0') + R"({"version": "01-25"})"));
  EXPECT_EQ(error_, "module.json is not valid: it holds a NUL character");
  const std::string types = R"(", "server_types": ["kv6000"]})";
  EXPECT_FALSE(ReadManifest(R"({"name": ")" + std::string(256, 'n') + R"(", "version": "01-24)" + types));
  EXPECT_EQ(error_, "module.json is not valid: a text is longer than 255 bytes");
  EXPECT_TRUE(ReadManifest(R"({"name": ")" + std::string(255, 'n') + R"(", "version": "01-24)" + types)) << error_;
  std::string many = R"(["kv6000")";
  for (int i = 0; i < 64; ++i) {
    many += R"(, "kv6000")";
  }
  EXPECT_FALSE(Read(Package("01-24", "", many + "]")));
  EXPECT_EQ(error_, "module.json is not valid: \"server_types\" names more than 64 server types");
}

TEST_F(PackageFile, ADescriptionThatIsNestedAMillionTimesIsRefused) {
  EXPECT_FALSE(ReadManifest(std::string(1000000, '[')));
  EXPECT_EQ(error_, "module.json is not valid: it is nested more than 8 levels deep");
}

TEST_F(PackageFile, FailsOnAnUnusableArchive) {
  EXPECT_FALSE(Read(""));
  EXPECT_EQ(error_, "the file is empty");
  EXPECT_FALSE(Read("no archive"));
  EXPECT_EQ(error_, kNoArchive);
  EXPECT_FALSE(Read(ArchiveBuilder().File("fw.ima", "x").Build(ArchiveBuilder::Format::kZip)));
  EXPECT_EQ(error_, "the archive holds no module.json");
  EXPECT_FALSE(ReadPackageManifest(folder_ / "missing", &manifest_, &error_));
  EXPECT_EQ(error_, "No such file or directory");
}

TEST_F(PackageFile, IsMadeForTheServerTypesThatItLists) {
  PackageManifest manifest;
  manifest.serverTypes = {"kv6000", "mx4000"};
  for (const char* type : {"kv6000", "mx4000", "kv6000-2", "kv6000 rev b"}) {
    EXPECT_TRUE(IsMadeFor(manifest, type)) << type;
  }
  for (const char* type : {"", "kv600", "kv6000rt", "kv60001", "mx400", "xkv6000"}) {
    EXPECT_FALSE(IsMadeFor(manifest, type)) << type;
  }
}

}  // namespace
}  // namespace refhost
