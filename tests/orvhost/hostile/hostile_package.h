// Packages that somebody made to do harm, or that were damaged on their way: a table of them, one row each, and what
// must come of every row. The rows of one kind stand in one file.
#ifndef TESTS_ORVHOST_HOSTILE_HOSTILE_PACKAGE_H
#define TESTS_ORVHOST_HOSTILE_HOSTILE_PACKAGE_H

#include <map>
#include <string>
#include <vector>

#include "tests/orvhost/support/orvhost_fixture.h"

namespace orvhost {

using refhost::ArchiveBuilder;
using Format = ArchiveBuilder::Format;

struct HostileRow {
  std::string name;      // of the case
  std::string bytes;     // the file that is given as a package
  int exitCode;          // 0: "check" takes it; otherwise "update" ends so
  std::string sentence;  // part of what is said
};

using HostileRows = std::vector<HostileRow>;

// The tables of the other files.
HostileRows NameRows();
HostileRows LinkRows();
HostileRows FormRows();
HostileRows DescriptionRows();
HostileRows ContentsRows();

inline constexpr const char* kGoodDescription =
    R"({"name": "KV6000 BMC firmware", "version": "01-24", "server_types": ["kv6000"]})";

// What "check" says of a package that is taken.
inline constexpr const char* kNewer = "The package is newer";

inline std::string Repeated(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) {
    all += text;
  }
  return all;
}

// What every good package holds.
inline ArchiveBuilder GoodPackage() {
  return ArchiveBuilder().File("module.json", kGoodDescription).File("fw.ima", "image");
}

class HostilePackages : public Orvhost {
 protected:
  HostilePackages() {
    plainInstall_ = folder_ / "install";
    std::filesystem::create_directory(plainInstall_);
    std::filesystem::rename(folder_ / "KV6KBMC", plainInstall_ + "/KV6KBMC");
    installPath_ = plainInstall_;
    Ask("unpacks");
  }

  // Runs every row. Nothing may be changed but the lock and the journals, here or above this folder, and no row may
  // come as far as the flash.
  void Judge(const HostileRows& rows) {
    for (const HostileRow& row : rows) {
      SCOPED_TRACE(row.name);
      const std::string package = folder_.Write("package", row.bytes);
      const auto before = Everything();
      const auto beside = NamesBeside();
      const int exitCode = Run((row.exitCode == 0 ? "check \"" : "update \"") + package + "\"");
      EXPECT_EQ(exitCode, row.exitCode) << out_ << err_;
      EXPECT_NE((out_ + err_).find(row.sentence), std::string::npos) << row.sentence << "\n" << out_ << err_;
      EXPECT_EQ(err_.find("writing it had begun"), std::string::npos) << err_;
      EXPECT_EQ(Everything(), before);
      EXPECT_EQ(NamesBeside(), beside);
    }
  }

 private:
  // Of the folder, with the install path in it.
  std::map<std::string, std::string> Everything() const {
    auto tree = Tree();
    std::erase_if(tree, [](const auto& entry) {
      return entry.first == "install/orvhost.lock" || entry.first == "install/orvhost.run" ||
             entry.first.starts_with("install/journal");
    });
    return tree;
  }

  // What a package's name could leave above the folder.
  static std::vector<std::string> NamesBeside() {
    std::vector<std::string> names;
    for (const std::string& folder : {std::filesystem::temp_directory_path().string(), std::string("/")}) {
      for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().filename().string().starts_with("evil")) {
          names.push_back(entry.path().string());
        }
      }
    }
    return names;
  }

  std::string plainInstall_;
};

}  // namespace orvhost

#endif  // TESTS_ORVHOST_HOSTILE_HOSTILE_PACKAGE_H
