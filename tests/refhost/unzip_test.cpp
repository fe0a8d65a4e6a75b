#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "host/DllCommon.h"
#include "refhost/archive_member.h"
#include "tests/refhost/support/archive_builder.h"
#include "tests/refhost/support/host_test.h"

namespace refhost {

namespace {

namespace fs = std::filesystem;
using Format = ArchiveBuilder::Format;

class Unzip : public HostTest {
 protected:
  Unzip() { fs::create_directory(folder_ / "work"); }

  // True when the archive was unpacked; otherwise the reason must have been given and traced.
  bool Unpack(const std::string& bytes, std::list<std::string> members = {}) {
    folder_.Write("package", bytes);
    return UnpackFile(folder_ / "package", std::move(members));
  }
  bool UnpackFile(const std::string& path, std::list<std::string> members = {}) {
    message_.clear();
    const bool unpacked = CUnzip_Utility::UpdateModuleUnzip(path, &members, folder_ / "work", &message_, "bmc");
    EXPECT_EQ(TakeLines(), unpacked ? Lines{} : Lines{"2 " + message_});
    const std::string start = "Cannot unpack [" + path + "]: ";
    reason_ = message_.compare(0, start.size(), start) == 0 ? message_.substr(start.size()) : message_;
    return unpacked;
  }

  // Every path below the work folder, sorted.
  Lines Unpacked() const {
    Lines names;
    for (const auto& entry : fs::recursive_directory_iterator(folder_ / "work")) {
      names.push_back(entry.path().lexically_relative(folder_ / "work").string());
    }
    std::ranges::sort(names);
    return names;
  }

  std::string message_;
  std::string reason_;
};

TEST_F(Unzip, ZipAndTarAreUnpacked) {
  for (const Format format : {Format::kZip, Format::kTar, Format::kTarGzip}) {
    ASSERT_TRUE(CUnzip_Utility::DeleteFolder(folder_ / "work", "bmc"));
    fs::create_directory(folder_ / "work");
    const std::string large(300000, 'x');
    ASSERT_TRUE(
        Unpack(ArchiveBuilder().Folder("x64").File("x64/a.sh", "run", 0755).File("fw.ima", large).Build(format)))
        << reason_;
    EXPECT_EQ(Unpacked(), (Lines{"fw.ima", "x64", "x64/a.sh"}));
    EXPECT_EQ(folder_.Read("work/fw.ima"), large);
    EXPECT_EQ(folder_.Read("work/x64/a.sh"), "run");
    EXPECT_EQ(message_, "");
  }
}

TEST_F(Unzip, PermissionsAreKeptButNeverWidened) {
  ASSERT_TRUE(Unpack(ArchiveBuilder().File("run", "x", 06777).File("hidden", "x", 0).Build(Format::kTar)));
  struct stat status {};
  ASSERT_EQ(stat((folder_ / "work/run").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0755U);
  ASSERT_EQ(stat((folder_ / "work/hidden").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(Unzip, FoldersThatTheArchiveDoesNotNameAreMade) {
  ASSERT_TRUE(Unpack(ArchiveBuilder().File("./a/b/c", "x").Build(Format::kTar)));
  EXPECT_EQ(folder_.Read("work/a/b/c"), "x");
}

TEST_F(Unzip, OnlyTheWantedMembersAreUnpacked) {
  const std::string bytes = ArchiveBuilder().File("a", "1").File("b", "2").Build(Format::kZip);
  ASSERT_TRUE(Unpack(bytes, {"b"}));
  EXPECT_EQ(Unpacked(), Lines{"b"});
  EXPECT_FALSE(Unpack(bytes, {"a", "c"}));
  EXPECT_EQ(reason_, "it holds no member [c]");
  EXPECT_EQ(Unpacked(), Lines{"b"});
}

TEST_F(Unzip, TheListAndTheMessageMayBeNull) {
  folder_.Write("package", ArchiveBuilder().File("a", "1").Build(Format::kZip));
  EXPECT_TRUE(CUnzip_Utility::UpdateModuleUnzip(folder_ / "package", nullptr, folder_ / "work", nullptr, "bmc"));
  EXPECT_FALSE(CUnzip_Utility::UpdateModuleUnzip(folder_ / "missing", nullptr, folder_ / "work", nullptr, "bmc"));
}

TEST_F(Unzip, FailsWithTheReasonWithoutItsPackageOrFolder) {
  EXPECT_FALSE(UnpackFile(folder_ / "missing"));
  EXPECT_EQ(reason_, "No such file or directory");
  EXPECT_FALSE(UnpackFile(folder_.Path()));
  EXPECT_EQ(reason_, "it is not a file");
  fs::remove(folder_ / "work");
  EXPECT_FALSE(Unpack(ArchiveBuilder().File("a", "1").Build(Format::kZip)));
  EXPECT_EQ(reason_, "the folder " + (folder_ / "work") + " cannot be opened: No such file or directory");
}

TEST_F(Unzip, FailsWithTheReasonOnWhatIsNoArchive) {
  EXPECT_FALSE(Unpack(""));
  EXPECT_EQ(reason_, "the file is empty");
  EXPECT_FALSE(Unpack("this is a text and no archive\n"));
  EXPECT_EQ(reason_, "it is neither a zip nor a tar archive");
  EXPECT_FALSE(Unpack(ArchiveBuilder().Build(Format::kTar)));
  EXPECT_EQ(reason_, "the archive is empty");
  EXPECT_FALSE(Unpack(ArchiveBuilder().Build(Format::kZip)));
  EXPECT_EQ(Unpacked(), Lines{});
}

TEST_F(Unzip, AnArchiveThatIsCutOffAnywhereIsRefusedBeforeAnythingIsWritten) {
  ArchiveBuilder builder;
  builder.File("a", std::string(1000, 'a')).File("b", std::string(1024, 'b')).Folder("c");
  for (const Format format : {Format::kZip, Format::kTar, Format::kTarGzip}) {
    const std::string whole = builder.Build(format);
    // Behind the last member a tar archive has padding that may be missing.
    const std::size_t end = format == Format::kTar ? whole.find_last_not_of('\0') : whole.size();
    for (std::size_t size = 1; size < end; size += format == Format::kTar ? 128 : 7) {
      EXPECT_FALSE(Unpack(whole.substr(0, size))) << size << " of " << whole.size();
      EXPECT_NE(reason_, "");
    }
  }
  EXPECT_EQ(Unpacked(), Lines{});
}

TEST_F(Unzip, AZipWithAWrongChecksumIsRefused) {
  std::string content;
  for (unsigned i = 0; i < 4000; ++i) {
    content += static_cast<char>((i * i * 2654435761U) >> 24U);
  }
  std::string bytes = ArchiveBuilder().File("a", content).Build(Format::kZip);
  bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] ^ 1);
  EXPECT_FALSE(Unpack(bytes));
  EXPECT_EQ(reason_, "the archive is damaged, because a checksum (CRC) in it does not match");
  EXPECT_EQ(Unpacked(), Lines{});
}

TEST_F(Unzip, ACompressedTarWithAWrongChecksumIsRefused) {
  for (const Format format : {Format::kTarGzip, Format::kTarBzip2, Format::kTarXz}) {
    std::string bytes = ArchiveBuilder().File("a", std::string(5000, 'a')).Build(format);
    bytes[bytes.size() - 20] = static_cast<char>(bytes[bytes.size() - 20] ^ 1);
    EXPECT_FALSE(Unpack(bytes));
    EXPECT_NE(reason_, "");
  }
  EXPECT_EQ(Unpacked(), Lines{});
}

TEST_F(Unzip, NamesThatLeaveTheFolderAreRefused) {
  for (const Format format : {Format::kZip, Format::kTar}) {
    for (const std::string name : {"../evil", "/evil", "a/../../evil", ".."}) {
      EXPECT_FALSE(Unpack(ArchiveBuilder().File("good", "1").File(name, "x").Build(format))) << name;
      EXPECT_EQ(reason_, "member [" + name + "]: the name leaves the folder");
    }
  }
  EXPECT_EQ(Unpacked(), Lines{});
  EXPECT_FALSE(folder_.Has("evil"));
}

TEST_F(Unzip, NamesThatACommandLineCannotCarryAreRefused) {
  const std::string why =
      "the name holds a character that is unsafe in a command line (control character, \", \\, ` or $)";
  for (const Format format : {Format::kZip, Format::kTar}) {
    for (const std::string name : {"x\".ima", "`id`.ima", "$(id).ima", "d$/x.ima", "a/b\\c.ima"}) {
      EXPECT_FALSE(Unpack(ArchiveBuilder().File("good", "1").File(name, "x").Build(format))) << name;
      EXPECT_EQ(reason_, std::string("member [").append(name).append("]: ").append(why));
    }
    folder_.Write("package", ArchiveBuilder().File("good", "1").File("x\nid.ima", "x").Build(format));
    EXPECT_FALSE(CUnzip_Utility::UpdateModuleUnzip(folder_ / "package", nullptr, folder_ / "work", nullptr, "bmc"));
    EXPECT_EQ(TakeLines(), Lines{"2 Cannot unpack [" + (folder_ / "package") + "]: member [x\\nid.ima]: " + why});
  }
  EXPECT_FALSE(Unpack(ArchiveBuilder().Folder("a`b").Build(Format::kTar)));
  EXPECT_FALSE(Unpack(ArchiveBuilder().File("good", "1").Symlink("a$b", "good").Build(Format::kTar)));
  EXPECT_FALSE(Unpack(ArchiveBuilder().File("good", "1").HardLink("a\"b", "good").Build(Format::kTar)));
  EXPECT_EQ(Unpacked(), Lines{});
}

TEST_F(Unzip, LinksWithinTheFolderAreUnpacked) {
  ASSERT_TRUE(Unpack(ArchiveBuilder()
                         .File("d/file", "x")
                         .Symlink("d/up", "../top")
                         .Symlink("top", "d")
                         .HardLink("same", "d/file")
                         .Build(Format::kTar)))
      << reason_;
  EXPECT_EQ(fs::read_symlink(folder_ / "work/d/up"), "../top");
  EXPECT_EQ(folder_.Read("work/same"), "x");
  EXPECT_EQ(fs::hard_link_count(folder_ / "work/same"), 2U);
}

TEST_F(Unzip, LinksThatLeaveTheFolderAreRefused) {
  for (const std::string target : {"/etc", "..", "../x", "d/../../x"}) {
    EXPECT_FALSE(Unpack(ArchiveBuilder().File("good", "1").Symlink("link", target).Build(Format::kTar))) << target;
    EXPECT_EQ(reason_, "member [link]: the link to [" + target + "] leaves the folder");
  }
  for (const std::string target : {"/etc/passwd", "../secret"}) {
    EXPECT_FALSE(Unpack(ArchiveBuilder().File("good", "1").HardLink("link", target).Build(Format::kTar))) << target;
    EXPECT_EQ(reason_, "member [link]: the link to [" + target + "] leaves the folder");
  }
  EXPECT_EQ(Unpacked(), Lines{});
}

TEST_F(Unzip, NothingIsWrittenThroughALinkOfTheArchive) {
  EXPECT_FALSE(Unpack(ArchiveBuilder().Folder("d").Symlink("link", "d").File("link/file", "x").Build(Format::kTar)));
  EXPECT_EQ(reason_, "member [link/file]: link is not a folder that can be used: Not a directory");
  EXPECT_EQ(Unpacked(), (Lines{"d", "link"}));
}

TEST_F(Unzip, NothingIsWrittenThroughALinkThatIsInTheFolderAlready) {
  fs::create_directory(folder_ / "outside");
  folder_.Write("victim", "kept");
  fs::create_directory_symlink("../outside", folder_ / "work/link");
  fs::create_symlink("../victim", folder_ / "work/file");
  EXPECT_FALSE(Unpack(ArchiveBuilder().File("link/x", "x").Build(Format::kTar)));
  EXPECT_TRUE(fs::is_empty(folder_ / "outside"));
  EXPECT_FALSE(Unpack(ArchiveBuilder().Folder("link").Build(Format::kTar)));
  EXPECT_TRUE(Unpack(ArchiveBuilder().File("file", "new").Build(Format::kTar)));
  EXPECT_EQ(folder_.Read("victim"), "kept");
  EXPECT_EQ(folder_.Read("work/file"), "new");
  EXPECT_FALSE(fs::is_symlink(folder_ / "work/file"));
}

TEST_F(Unzip, AHardLinkToALinkOrToNothingIsRefused) {
  EXPECT_FALSE(Unpack(ArchiveBuilder().Symlink("d/up", "..").HardLink("up", "d/up").Build(Format::kTar)));
  EXPECT_EQ(reason_, "member [up]: the file that it is another name for is not there");
  EXPECT_FALSE(Unpack(ArchiveBuilder().HardLink("a", "missing").Build(Format::kTar)));
  EXPECT_EQ(reason_, "member [a]: the file that it is another name for is not there");
}

TEST_F(Unzip, DevicesAndPipesAreRefused) {
  EXPECT_FALSE(Unpack(ArchiveBuilder().File("good", "1").Pipe("pipe").Build(Format::kTar)));
  EXPECT_EQ(reason_, "member [pipe]: devices and pipes are not unpacked");
  EXPECT_FALSE(Unpack(ArchiveBuilder().File("good", "1").Device("null").Build(Format::kTar)));
  EXPECT_EQ(reason_, "member [null]: devices and pipes are not unpacked");
  EXPECT_EQ(Unpacked(), Lines{});
}

TEST_F(Unzip, AFileMayNotTakeThePlaceOfAFolder) {
  EXPECT_FALSE(Unpack(ArchiveBuilder().File("a/b", "1").File("a", "2").Build(Format::kTar)));
  EXPECT_EQ(folder_.Read("work/a/b"), "1");
}

// A tar archive of 2 KiB with one file of 8 GiB, all of it a hole but its last block.
std::string TarWithAHole() {
  std::string header(512, '\0');
  const auto put = [&header](std::size_t at, const std::string& text) { header.replace(at, text.size(), text); };
  put(0, "hole");
  put(100, "0000644");
  put(124, "00000001000");  // bytes that are there
  put(156, "S");
  put(257, "ustar  ");
  put(386, "77777776000");  // where they belong
  put(398, "00000001000");
  put(483, "77777777000");  // size of the file
  put(148, "        ");     // the checksum counts itself as blanks
  unsigned sum = 0;
  for (const char byte : header) {
    sum += static_cast<unsigned char>(byte);
  }
  std::array<char, 8> checksum{};
  snprintf(checksum.data(), checksum.size(), "%06o", sum);
  put(148, checksum.data());
  return header + std::string(512, 'x') + std::string(1024, '\0');
}

TEST_F(Unzip, AFewBytesThatStandForMoreThanADiskHoldsAreRefused) {
  EXPECT_FALSE(Unpack(TarWithAHole()));
  EXPECT_EQ(reason_, "it unpacks to more than 1 GiB");
  EXPECT_EQ(Unpacked(), Lines{});
  std::string content;
  std::string error;
  EXPECT_FALSE(ReadArchiveMember(folder_ / "package", "module.json", &content, &error));
  EXPECT_EQ(error, "it unpacks to more than 1 GiB");
}

TEST_F(Unzip, MoreMembersThanAPackageCanHaveAreRefused) {
  ArchiveBuilder members;
  for (int i = 0; i <= 10000; ++i) {
    members.File(std::to_string(i), "");
  }
  for (const Format format : {Format::kZip, Format::kTarGzip}) {
    EXPECT_FALSE(Unpack(members.Build(format)));
    EXPECT_EQ(reason_, "it holds more than 10000 members");
    std::string content;
    std::string error;
    EXPECT_FALSE(ReadArchiveMember(folder_ / "package", "module.json", &content, &error));
    EXPECT_EQ(error, "it holds more than 10000 members");
  }
  EXPECT_EQ(Unpacked(), Lines{});
}

TEST_F(Unzip, NamesThatAreTooLongOrTooDeepAreRefused) {
  const std::string longName(2000, 'n');
  EXPECT_FALSE(Unpack(ArchiveBuilder().File(longName, "x").Build(Format::kTar)));
  EXPECT_EQ(reason_, "member [" + longName.substr(0, 100) + "...]: the name is longer than 1024 bytes");
  std::string deepName;
  for (int depth = 0; depth < 17; ++depth) {
    deepName += "d/";
  }
  EXPECT_FALSE(Unpack(ArchiveBuilder().Folder(deepName).Build(Format::kTar)));
  EXPECT_EQ(reason_, "member [" + deepName + "]: it lies more than 16 folders deep");
  EXPECT_FALSE(Unpack(ArchiveBuilder().Symlink("link", longName).Build(Format::kTar)));
  EXPECT_EQ(reason_, "member [link]: the link's target is longer than 1024 bytes");
  EXPECT_EQ(Unpacked(), Lines{});
}

TEST_F(Unzip, EveryCompressionOfATarIsRead) {
  for (const Format format : {Format::kTarGzip, Format::kTarBzip2, Format::kTarXz, Format::kTarZstd}) {
    ASSERT_TRUE(Unpack(ArchiveBuilder().File("a", std::string(100000, 'a')).Build(format))) << reason_;
    EXPECT_EQ(folder_.Read("work/a").size(), 100000U);
  }
}

TEST_F(Unzip, ASingleMemberIsReadWithoutUnpacking) {
  std::string content;
  std::string error;
  folder_.Write("p", ArchiveBuilder().File("./module.json", "{}").File("b", "2").Build(Format::kTar));
  EXPECT_TRUE(ReadArchiveMember(folder_ / "p", "module.json", &content, &error));
  EXPECT_EQ(content, "{}");
  EXPECT_FALSE(ReadArchiveMember(folder_ / "p", "missing", &content, &error));
  EXPECT_EQ(error, "the archive holds no missing");
  folder_.Write("p", ArchiveBuilder().File("module.json", std::string(2000000, ' ')).Build(Format::kTarGzip));
  EXPECT_FALSE(ReadArchiveMember(folder_ / "p", "module.json", &content, &error));
  EXPECT_EQ(error, "member [module.json]: it is larger than 1 MiB");
}

}  // namespace
}  // namespace refhost
