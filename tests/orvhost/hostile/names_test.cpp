// Names of members that want to leave the folder, to be taken for something else, or to break what reads them.
#include "tests/orvhost/hostile/hostile_package.h"

namespace orvhost {

namespace {

constexpr const char* kNameLeaves = "the name leaves the folder";
constexpr const char* kUnsafe = "the name holds a character that is unsafe in a command line";

// A name, and what must be said of a package that holds it too; "" when nothing.
struct NameCase {
  std::string name;
  const char* sentence;
};

std::vector<NameCase> NameCases() {
  return {{"..", kNameLeaves},
          {"../evil", kNameLeaves},
          {"../../evil", kNameLeaves},
          {"../../../../../../../../../evil", kNameLeaves},
          {"/evil", kNameLeaves},
          {"//evil", kNameLeaves},
          {"/tmp/evil", kNameLeaves},
          {"/../evil", kNameLeaves},
          {"a/../evil", kNameLeaves},
          {"a/../../evil", kNameLeaves},
          {"a/b/../../../evil", kNameLeaves},
          {"./../evil", kNameLeaves},
          {"././../evil", kNameLeaves},
          {"a/..", kNameLeaves},
          {"a//../../evil", kNameLeaves},
          {"evil\".ima", kUnsafe},
          {"`touch evil`.ima", kUnsafe},
          {"$(touch evil).ima", kUnsafe},
          {"$HOME/evil", kUnsafe},
          {"evil\nid", kUnsafe},
          {"evil\rid", kUnsafe},
          {"evil\tid", kUnsafe},
          {"evil\x1b[2Jid", kUnsafe},
          {"evil\x07", kUnsafe},
          {"evil\x7f", kUnsafe},
          {"evil\x01", kUnsafe},
          {std::string(256, 'n'), "File name too long"},
          {std::string(1025, 'n'), "the name is longer than 1024 bytes"},
          {std::string(60000, 'n'), "the name is longer than 1024 bytes"},
          {Repeated("d/", 17) + "evil", "it lies more than 16 folders deep"},
          {Repeated("d/", 500) + "evil", "it lies more than 16 folders deep"},
          {"evil.ima", "it holds 2 images, evil.ima and fw.ima, and only one can be written"},
          {"fw.ima.old", "it holds 2 images, fw.ima and fw.ima.old, and only one can be written"},
          {"-rf", ""},
          {"--help", ""},
          {"a b", ""},
          {"*", ""},
          {"?[a-z]", ""},
          {";reboot", ""},
          {"|cat", ""},
          {"&", ""},
          {"'", ""},
          {"~root", ""},
          {"...", ""},
          {"..evil", ""},
          {"a/.../b", ""},
          {"\xff\xfe", ""},
          {"\xe2\x80\xae"
           "ami.live",
           ""},
          {"module.json.ima.", "it holds 2 images"},
          {std::string(255, 'n'), ""},
          {Repeated("d/", 15) + "file", ""}};
}

}  // namespace

HostileRows NameRows() {
  HostileRows rows;
  for (const auto& [name, sentence] : NameCases()) {
    for (const Format format : {Format::kZip, Format::kTar}) {
      const bool isTaken = std::string(sentence).empty();
      rows.push_back({"the name [" + name.substr(0, 40) + "] in a " + (format == Format::kZip ? "zip" : "tar"),
                      GoodPackage().File(name, "evil").Build(format), isTaken ? 0 : 5,
                      isTaken ? "The package is newer" : sentence});
    }
  }
  for (const std::string name : {"../evil", "/evil", "a/../../evil"}) {
    rows.push_back({"a folder [" + name + "]", GoodPackage().Folder(name).Build(Format::kTar), 5, kNameLeaves});
    rows.push_back(
        {"a link [" + name + "]", GoodPackage().Symlink(name, "fw.ima").Build(Format::kTar), 5, kNameLeaves});
    rows.push_back(
        {"a hard link [" + name + "]", GoodPackage().HardLink(name, "fw.ima").Build(Format::kTar), 5, kNameLeaves});
  }
  rows.push_back(
      {"the top as a file", GoodPackage().File(".", "evil").Build(Format::kTar), 5, "stands for the folder itself"});
  return rows;
}

namespace {

TEST_F(HostilePackages, WithNames) {
  Judge(NameRows());
}

}  // namespace
}  // namespace orvhost
