// Files that are no whole archive, and archives that stand for more than they are.
#include "tests/orvhost/hostile/hostile_package.h"

namespace orvhost {

namespace {

constexpr const char* kUnusable = "cannot be used: ";
constexpr const char* kTooLarge = "it unpacks to more than 1 GiB";
constexpr const char* kTooMany = "it holds more than 10000 members";

struct NamedFormat {
  const char* name;
  Format format;
};

constexpr NamedFormat kFormats[] = {{"zip", Format::kZip},        {"tar", Format::kTar},
                                    {"tar.gz", Format::kTarGzip}, {"tar.bz2", Format::kTarBzip2},
                                    {"tar.xz", Format::kTarXz},   {"tar.zst", Format::kTarZstd}};

// Content that no compression makes smaller, so that damage meets it.
std::string Noise(std::size_t size) {
  std::string noise;
  unsigned state = 1;
  while (noise.size() < size) {
    state = state * 1664525U + 1013904223U;
    noise += static_cast<char>(state >> 24U);
  }
  return noise;
}

ArchiveBuilder NoisyPackage() {
  return ArchiveBuilder().File("module.json", kGoodDescription).File("fw.ima", Noise(20000));
}

void AddDamage(HostileRows* rows) {
  for (const auto& [name, format] : kFormats) {
    const std::string whole = NoisyPackage().Build(format);
    rows->push_back({std::string("a good ") + name, whole, 0, "The package is newer"});
    for (const std::size_t percent : {1U, 25U, 50U, 75U, 95U}) {
      rows->push_back({std::string("a ") + name + " cut off at " + std::to_string(percent) + " %",
                       whole.substr(0, whole.size() * percent / 100), 5, kUnusable});
    }
    rows->push_back({std::string("a ") + name + " without its first byte", whole.substr(1), 5, kUnusable});
    if (format == Format::kTar || format == Format::kTarZstd) {
      continue;  // which have no checksum of their content, as they are made here
    }
    std::string damaged = whole;
    damaged[damaged.size() / 2] = static_cast<char>(damaged[damaged.size() / 2] ^ 0x55);
    rows->push_back({std::string("a damaged ") + name, damaged, 5, kUnusable});
  }
}

void AddOtherFiles(HostileRows* rows) {
  const std::string good = GoodPackage().Build(Format::kZip);
  rows->push_back({"an empty file", "", 5, "the file is empty"});
  rows->push_back({"a byte", "x", 5, kUnusable});
  rows->push_back({"a text", "This is no archive.\n", 5, "it is neither a zip nor a tar archive"});
  rows->push_back({"zeros", std::string(100000, '\0'), 5, kUnusable});
  rows->push_back({"noise", Noise(100000), 5, kUnusable});
  rows->push_back({"the beginning of a program",
                   "\x7f"
                   "ELF" +
                       Noise(1000),
                   5, kUnusable});
  rows->push_back({"a description alone", kGoodDescription, 5, "it is neither a zip nor a tar archive"});
  rows->push_back({"a zip of nothing", ArchiveBuilder().Build(Format::kZip), 5, kUnusable});
  rows->push_back({"a tar of nothing", ArchiveBuilder().Build(Format::kTar), 5, "the archive is empty"});
  rows->push_back({"a zip in a zip", ArchiveBuilder().File("package.zip", good).Build(Format::kZip), 5,
                   "the archive holds no module.json"});
  rows->push_back({"a zip behind noise, which its directory finds", Noise(3000) + good, 0, "The package is newer"});
}

// A tar archive of one member whose header says that it has `size`, in twelve octal or other bytes.
std::string TarThatSays(const std::string& size) {
  std::string archive = GoodPackage().Build(Format::kTar);
  archive.replace(124, size.size(), size);
  archive.replace(148, 8, "        ");
  unsigned sum = 0;
  for (std::size_t at = 0; at < 512; ++at) {
    sum += static_cast<unsigned char>(archive[at]);
  }
  char checksum[8];
  snprintf(checksum, sizeof checksum, "%06o", sum);
  archive.replace(148, 7, std::string(checksum, 7));
  return archive;
}

void AddSizes(HostileRows* rows) {
  rows->push_back({"a member of 1 GiB and a byte", TarThatSays("10000000001"), 5, kTooLarge});
  rows->push_back({"a member of 8 GiB", TarThatSays("77777777777"), 5, kTooLarge});
  rows->push_back(
      {"a member of 8 EiB", TarThatSays(std::string("\x80\0\0\0\x7f\xff\xff\xff\xff\xff\xff\xff", 12)), 5, kUnusable});
  rows->push_back({"a member of a negative size", TarThatSays(std::string(12, '\xff')), 5, kUnusable});
  rows->push_back({"a member of a size that is no number", TarThatSays("xxxxxxxxxxx"), 5, kUnusable});
  rows->push_back({"a member that is cut off", TarThatSays("00000100000"), 5, kUnusable});
  ArchiveBuilder many;
  for (int i = 0; i <= 10000; ++i) {
    many.Folder("d");
  }
  for (const auto& [name, format] : kFormats) {
    rows->push_back({std::string("10001 members in a ") + name, many.Build(format), 5, kTooMany});
  }
}

}  // namespace

HostileRows FormRows() {
  HostileRows rows;
  AddDamage(&rows);
  AddOtherFiles(&rows);
  AddSizes(&rows);
  return rows;
}

namespace {

TEST_F(HostilePackages, OfBadForm) {
  Judge(FormRows());
}

TEST_F(HostilePackages, ThatAreNoFiles) {
  namespace fs = std::filesystem;
  fs::create_directory(folder_ / "folder");
  EXPECT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
  fs::create_symlink("circle", folder_ / "circle");
  fs::create_symlink("nowhere", folder_ / "dangling");
  const std::pair<std::string, std::string> files[] = {{folder_ / "missing", "there is no such file"},
                                                       {folder_ / "dangling", "there is no such file"},
                                                       {folder_ / "circle", "Too many levels of symbolic links"},
                                                       {folder_ / "folder", "it is not a file"},
                                                       {folder_ / "pipe", "it is not a file"},
                                                       {good_ + "/p", "Not a directory"},
                                                       {"/dev/null", "it is not a file"},
                                                       {"/dev/zero", "it is not a file"},
                                                       {"/proc/self/maps", "the file is empty"}};
  for (const auto& [path, sentence] : files) {
    EXPECT_EQ(Run("update \"" + path + "\""), 5) << path;
    EXPECT_NE(err_.find(sentence), std::string::npos) << path << err_;
  }
}

}  // namespace
}  // namespace orvhost
