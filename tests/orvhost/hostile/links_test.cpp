// Links and special members: such that point out of the folder, and such through which something would be written.
#include "tests/orvhost/hostile/hostile_package.h"

namespace orvhost {

namespace {

constexpr const char* kLinkLeaves = "leaves the folder";
constexpr const char* kSpecial = "devices and pipes are not unpacked";

// Of a tar archive of one member of that type, which the builder cannot make.
std::string RawTar(char type, const std::string& name, const std::string& linkTarget = "") {
  std::string header(512, '\0');
  const auto put = [&header](std::size_t at, const std::string& text) { header.replace(at, text.size(), text); };
  put(0, name);
  put(100, "0000644");
  put(124, "00000000000");
  put(156, std::string(1, type));
  put(157, linkTarget);
  put(257, std::string("ustar\0", 6) + "00");
  put(148, "        ");  // the checksum counts itself as blanks
  unsigned sum = 0;
  for (const char byte : header) {
    sum += static_cast<unsigned char>(byte);
  }
  char checksum[8];
  snprintf(checksum, sizeof checksum, "%06o", sum);
  put(148, checksum);
  // In front of a good package, whose end is then the archive's.
  return header + GoodPackage().Build(Format::kTar);
}

void AddTargets(HostileRows* rows) {
  for (const std::string target : {"/evil", "/etc/passwd", "..", "../evil", "../../evil", "./../evil", "d/../../evil",
                                   "d/../..", "//evil", "../../../../../../evil"}) {
    for (const Format format : {Format::kZip, Format::kTar}) {
      rows->push_back(
          {"a link to [" + target + "]", GoodPackage().Symlink("link", target).Build(format), 5, kLinkLeaves});
    }
    rows->push_back({"a link of a folder to [" + target + "]",
                     GoodPackage().Folder("link").Symlink("link", target).Build(Format::kTar), 5, kLinkLeaves});
  }
  for (const std::string target : {"/etc/passwd", "../evil", "d/../../evil"}) {
    rows->push_back({"a hard link to [" + target + "]", GoodPackage().HardLink("link", target).Build(Format::kTar), 5,
                     kLinkLeaves});
  }
  for (const std::string target : {"missing", "d/missing", "link", "d"}) {
    rows->push_back({"a hard link to [" + target + "], which is no file",
                     GoodPackage().Folder("d").HardLink("link", target).Build(Format::kTar), 5, "member [link]: "});
  }
  rows->push_back({"a link to a name of 2000 bytes",
                   GoodPackage().Symlink("link", std::string(2000, 'n')).Build(Format::kTar), 5,
                   "the link's target is longer than 1024 bytes"});
}

void AddWritingThroughLinks(HostileRows* rows) {
  rows->push_back({"a file through a link",
                   GoodPackage().Folder("d").Symlink("l", "d").File("l/f", "").Build(Format::kTar), 5,
                   "l is not a folder that can be used"});
  rows->push_back({"a folder through a link",
                   GoodPackage().Folder("d").Symlink("l", "d").Folder("l/f").Build(Format::kTar), 5,
                   "l is not a folder that can be used"});
  rows->push_back({"a link in the place of a folder",
                   GoodPackage().Folder("d").Symlink("d", "fw.ima").Build(Format::kTar), 5,
                   "cannot replace what is there"});
  rows->push_back({"a file in the place of a folder", GoodPackage().File("d/f", "").File("d", "").Build(Format::kTar),
                   5, "cannot replace what is there"});
  rows->push_back({"a folder in the place of a file", GoodPackage().File("d", "").File("d/f", "").Build(Format::kTar),
                   5, "d is not a folder that can be used"});
  rows->push_back(
      {"links in a circle", GoodPackage().Symlink("a", "b").Symlink("b", "a").Build(Format::kTar), 0, kNewer});
  rows->push_back({"a file through links in a circle",
                   GoodPackage().Symlink("a", "b").Symlink("b", "a").File("a/f", "").Build(Format::kTar), 5,
                   "a is not a folder that can be used"});
  rows->push_back(
      {"a file in the place of a link", GoodPackage().Symlink("l", "x").File("l", "").Build(Format::kTar), 0, kNewer});
  rows->push_back({"a hard link to a link", GoodPackage().Symlink("l", "fw.ima").HardLink("h", "l").Build(Format::kTar),
                   5, "the file that it is another name for is not there"});
  rows->push_back(
      {"the image as a link",
       ArchiveBuilder().File("module.json", kGoodDescription).File("a", "x").Symlink("fw.ima", "a").Build(Format::kTar),
       5, "its image fw.ima is not a file"});
  rows->push_back({"the image as a hard link",
                   ArchiveBuilder()
                       .File("module.json", kGoodDescription)
                       .File("a", "x")
                       .HardLink("fw.ima", "a")
                       .Build(Format::kTar),
                   0, kNewer});
  rows->push_back({"the description as a link",
                   ArchiveBuilder().File("a", kGoodDescription).Symlink("module.json", "a").Build(Format::kTar), 5,
                   "the archive holds no module.json"});
  rows->push_back({"the description as a link to itself",
                   ArchiveBuilder().Symlink("module.json", "module.json").Build(Format::kTar), 5,
                   "the archive holds no module.json"});
}

void AddSpecialMembers(HostileRows* rows) {
  rows->push_back({"a pipe", GoodPackage().Pipe("p").Build(Format::kTar), 5, kSpecial});
  rows->push_back({"a pipe as the image", GoodPackage().Pipe("fw.ima").Build(Format::kTar), 5, kSpecial});
  rows->push_back({"a pipe as the description", ArchiveBuilder().Pipe("module.json").Build(Format::kTar), 5, kSpecial});
  rows->push_back({"a device", GoodPackage().Device("d").Build(Format::kTar), 5, kSpecial});
  rows->push_back({"a device as the image", GoodPackage().Device("fw.ima").Build(Format::kTar), 5, kSpecial});
  for (const char type : {'3', '4', '6'}) {
    rows->push_back({std::string("a member of type ") + type, RawTar(type, "evil"), 5, kSpecial});
  }
  rows->push_back({"a raw link out of the folder", RawTar('2', "evil", "../evil"), 5, kLinkLeaves});
  rows->push_back({"a raw hard link out of the folder", RawTar('1', "evil", "/etc/passwd"), 5, kLinkLeaves});
  rows->push_back({"a raw link to nothing", RawTar('2', "evil", ""), 5, kLinkLeaves});
}

}  // namespace

HostileRows LinkRows() {
  HostileRows rows;
  AddTargets(&rows);
  AddWritingThroughLinks(&rows);
  AddSpecialMembers(&rows);
  return rows;
}

namespace {

TEST_F(HostilePackages, WithLinksAndSpecialMembers) {
  Judge(LinkRows());
}

}  // namespace
}  // namespace orvhost
