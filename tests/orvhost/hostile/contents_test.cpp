// Packages in good form that do not hold what an update needs, or hold it twice, in another order or version.
#include "tests/orvhost/hostile/hostile_package.h"

namespace orvhost {

namespace {

constexpr const char* kMalformed = "is malformed, because it does not have the form 01-24";
constexpr const char* kNoDescription = "the archive holds no module.json";

ArchiveBuilder Described(const std::string& text = kGoodDescription) {
  return ArchiveBuilder().File("module.json", text);
}

std::string Version(const std::string& version) {
  return R"({"name": "n", "version": ")" + version + R"(", "server_types": ["kv6000"]})";
}

void AddOrders(HostileRows* rows) {
  const auto add = [rows](const char* name, const ArchiveBuilder& contents, int exitCode, const char* sentence) {
    for (const Format format : {Format::kZip, Format::kTar}) {
      rows->push_back({name, contents.Build(format), exitCode, sentence});
    }
  };
  add("the description last", ArchiveBuilder().File("fw.ima", "image").File("module.json", kGoodDescription), 0,
      kNewer);
  add("the description in the same folder",
      ArchiveBuilder().File("./module.json", kGoodDescription).File("./fw.ima", "x"), 0, kNewer);
  add("the description in a folder", ArchiveBuilder().File("d/module.json", kGoodDescription).File("fw.ima", "x"), 5,
      "module.json lies in folder d of the archive and not at its top");
  add("the description in capitals", ArchiveBuilder().File("MODULE.JSON", kGoodDescription).File("fw.ima", "x"), 5,
      kNoDescription);
  add("the description as a folder", ArchiveBuilder().Folder("module.json").File("fw.ima", "x"), 5, kNoDescription);
  add("a file in the description", Described().File("module.json/x", "x").File("fw.ima", "x"), 5,
      "module.json is not a folder that can be used");
  add("a bad description behind a good one", Described().File("fw.ima", "x").File("module.json", "{"), 5,
      "module.json is not valid");
  add("a good description behind a bad one", Described("{").File("fw.ima", "x").File("module.json", kGoodDescription),
      0, kNewer);
  add("another version behind the first", Described().File("fw.ima", "x").File("./module.json", Version("1.25")), 5,
      kMalformed);
  add("an empty image behind a good one", Described().File("fw.ima", "x").File("fw.ima", ""), 5,
      "its image fw.ima is empty");
  add("a good image behind an empty one", Described().File("fw.ima", "").File("fw.ima", "x"), 0, kNewer);
  add("a folder behind the image", Described().File("fw.ima", "x").Folder("fw.ima"), 5,
      "fw.ima is not a folder that can be used");
}

void AddContents(HostileRows* rows) {
  const auto add = [rows](const char* name, const ArchiveBuilder& contents, const char* sentence) {
    rows->push_back({name, contents.Build(Format::kZip), 5, sentence});
  };
  add("no description", ArchiveBuilder().File("fw.ima", "x"), kNoDescription);
  add("no image", Described(), "it holds no image");
  add("no image but a script", Described().File("bmcup.sh", "#!/bin/sh\n").File("Yes", "Yes\n"), "it holds no image");
  add("an image of another ending", Described().File("fw.img", "x"), "it holds no image");
  add("an image in capitals", Described().File("FW.IMA", "x"), "it holds no image");
  add("two images", Described().File("a.ima", "1").File("b.ima", "2"), "it holds 2 images, a.ima and b.ima");
  add("five images",
      Described().File("a.ima", "").File("b.ima", "").File("c.ima", "").File("d.ima", "").File("e.ima", ""),
      "it holds 5 images, a.ima and b.ima among them");
  add("an image and a folder named like one", Described().File("a.ima", "1").Folder("b.ima"), "it holds 2 images");
  add("an image in a folder", Described().File("d/a.ima", "1"), "its image d/a.ima lies in a folder");
  add("an image deep down", Described().File("a/b/c/d.ima", "1"), "its image a/b/c/d.ima lies in a folder");
  add("an empty image", Described().File("a.ima", ""), "its image a.ima is empty");
  add("a folder as the image", Described().File("a.ima/b", "1"), "its image a.ima is not a file");
}

void AddVersions(HostileRows* rows) {
  for (const char* version : {"01-2Z",
                              "1.25",
                              "01-2",
                              "01-245",
                              "001-24",
                              "0a-24",
                              "01_24",
                              "01-24 ",
                              " 01-24",
                              "+1-24",
                              "01-+4",
                              "01--4",
                              "01:24",
                              "01-24\\n",
                              "01-24\\u0000",
                              "\\u0030\\u0031-2",
                              "BMC:01-24,SDR:A2",
                              "*",
                              "%s",
                              "\xd9\xa0\xd9\xa1-24",
                              "latest"}) {
    rows->push_back({std::string("the version ") + version,
                     Described(Version(version)).File("fw.ima", "x").Build(Format::kZip), 5, kMalformed});
  }
  const auto add = [rows](const char* name, const std::string& description, int exitCode, const char* sentence) {
    rows->push_back({name, Described(description).File("fw.ima", "x").Build(Format::kZip), exitCode, sentence});
  };
  add("the version of another major", Version("06-24"), 6, "does not fit this machine");
  add("an escaped version", Version("\\u0030\\u0031-24"), 0, kNewer);
  add("an older version", Version("00-99"), 6, "does not fit this machine");
  add("another server", R"({"name": "n", "version": "1.25", "server_types": ["mx4000"]})", 6, "is made for mx4000");
  add("the beginning of this server", R"({"name": "n", "version": "01-24", "server_types": ["kv600"]})", 6,
      "is made for kv600");
  add("more than this server", R"({"name": "n", "version": "01-24", "server_types": ["kv6000rt"]})", 6,
      "is made for kv6000rt");
  add("a server in capitals", R"({"name": "n", "version": "01-24", "server_types": ["KV6000"]})", 0, kNewer);
}

}  // namespace

HostileRows ContentsRows() {
  HostileRows rows;
  AddOrders(&rows);
  AddContents(&rows);
  AddVersions(&rows);
  return rows;
}

namespace {

TEST_F(HostilePackages, WithContents) {
  Judge(ContentsRows());
}

TEST_F(HostilePackages, AreMoreThanTwoHundred) {
  EXPECT_GT(
      NameRows().size() + LinkRows().size() + FormRows().size() + DescriptionRows().size() + ContentsRows().size(),
      200U);
}

}  // namespace
}  // namespace orvhost
