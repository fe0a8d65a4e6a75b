#include "refhost/staged_package.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <thread>

#include "host/DllCommon.h"
#include "refhost/common/sha256.h"
#include "refhost/interruption.h"
#include "tests/refhost/support/archive_builder.h"
#include "tests/refhost/support/host_test.h"

namespace refhost {

namespace {

namespace fs = std::filesystem;
using Fault = StagingFailure::Fault;
using Format = ArchiveBuilder::Format;

class Staged : public HostTest {
 protected:
  Staged() { fs::create_directory(folder_ / "work"); }

  std::unique_ptr<StagedPackage> Stage(const std::string& path) {
    failure_ = {};
    auto package = StagedPackage::Stage(path, &failure_);
    if (package && !package->Unpack(&failure_)) {
      package = nullptr;
    }
    EXPECT_EQ(package == nullptr, !failure_.reason.empty()) << failure_.reason;
    EXPECT_EQ(package == nullptr, !folder_.Has(kFolder)) << "nothing is left of a failure";
    return package;
  }
  void FailsToStage(const std::string& path, const std::string& reason, Fault fault = Fault::kPackage) {
    EXPECT_EQ(Stage(path), nullptr);
    EXPECT_EQ(failure_.reason, reason);
    EXPECT_EQ(failure_.fault, fault);
  }

  static constexpr const char* kFolder = ".orvhost-package";
  StagingFailure failure_;
};

TEST_F(Staged, APackageIsCopiedUnpackedAndRemovedAgain) {
  const std::string bytes = Package("01-24");
  const std::string path = folder_.Write("package.zip", bytes);
  auto package = Stage(path);
  ASSERT_NE(package, nullptr);
  EXPECT_EQ(package->Original(), path);
  EXPECT_EQ(package->CopyPath(), folder_ / ".orvhost-package/package");
  EXPECT_EQ(folder_.Read(".orvhost-package/package"), bytes);
  EXPECT_EQ(folder_.Read(".orvhost-package/files/fw.ima"), "image");
  EXPECT_EQ(package->Size(), bytes.size());
  EXPECT_EQ(StagedPackage::Current(), package.get());
  package = nullptr;
  EXPECT_FALSE(folder_.Has(kFolder));
  EXPECT_EQ(StagedPackage::Current(), nullptr);
  EXPECT_EQ(folder_.Read("package.zip"), bytes);
}

TEST_F(Staged, ItsDigestIsThatOfTheFile) {
  const std::string bytes = ArchiveBuilder().File("a", std::string(200000, 'x')).Build(Format::kTar);
  const auto package = Stage(folder_.Write("package", bytes));
  ASSERT_NE(package, nullptr);
  Sha256 digest;
  digest.Add(bytes.data(), bytes.size());
  EXPECT_EQ(package->Sha256(), digest.TakeDigest());
}

TEST_F(Staged, NobodyElseReachesTheCopyWithAnyMask) {
  const mode_t mask = umask(0);
  const auto package = Stage(folder_.Write("package.zip", Package("01-24")));
  umask(mask);
  struct stat status {};
  for (const char* name : {".orvhost-package", ".orvhost-package/files"}) {
    ASSERT_EQ(lstat((folder_ / name).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0700U) << name;
  }
  ASSERT_EQ(lstat((folder_ / ".orvhost-package/package").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0400U);
}

TEST_F(Staged, WhatAKilledRunLeftIsRemovedFirst) {
  folder_.Write(".orvhost-package/files/old", "of a killed run");
  folder_.Write(".orvhost-package/package", "of a killed run");
  const auto package = Stage(folder_.Write("package.zip", Package("01-24")));
  ASSERT_NE(package, nullptr);
  EXPECT_FALSE(folder_.Has(".orvhost-package/files/old"));
  folder_.Write("outside/file", "kept");
  fs::create_directory_symlink(folder_ / "outside", folder_ / ".orvhost-package/link");
  StagedPackage::RemoveLeftovers();
  EXPECT_FALSE(folder_.Has(kFolder));
  EXPECT_EQ(folder_.Read("outside/file"), "kept");
}

TEST_F(Staged, ALinkInThePlaceOfTheFolderIsNotFollowed) {
  folder_.Write("outside/file", "kept");
  fs::create_directory_symlink(folder_ / "outside", folder_ / kFolder);
  const auto package = Stage(folder_.Write("package.zip", Package("01-24")));
  ASSERT_NE(package, nullptr);
  EXPECT_FALSE(fs::is_symlink(folder_ / kFolder));
  EXPECT_EQ(folder_.Read("outside/file"), "kept");
  EXPECT_FALSE(folder_.Has("outside/package"));
}

TEST_F(Staged, WhatIsNoFileFailsToBeStaged) {
  FailsToStage(folder_ / "missing", "No such file or directory");
  FailsToStage(folder_.Path(), "it is not a file");
  ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
  FailsToStage(folder_ / "pipe", "it is not a file");
  FailsToStage("/dev/zero", "it is not a file");
  FailsToStage(folder_.Write("empty", ""), "the file is empty");
}

TEST_F(Staged, AFileOfMoreThanAGigabyteFailsToBeStaged) {
  folder_.Write("huge", "x");
  fs::resize_file(folder_ / "huge", (1UL << 30U) + 1);
  FailsToStage(folder_ / "huge", "the file holds more than 1 GiB");
}

TEST_F(Staged, AFileThatIsChangedMeanwhileFailsToBeStaged) {
  const std::string path = folder_.Write("package", Package("01-24"));
  fs::resize_file(path, 32UL * 1024UL * 1024UL);
  std::atomic<bool> ended = false;
  std::atomic<bool> begun = false;
  std::thread writer([&] {
    std::ofstream file(path, std::ios::binary | std::ios::app);
    while (!ended) {
      file << 'x' << std::flush;
      begun = true;
    }
  });
  while (!begun) {
    std::this_thread::yield();
  }
  FailsToStage(path, "the file was changed while it was copied");
  ended = true;
  writer.join();
}

TEST_F(Staged, AMemberThatLeavesItsFolderFailsToBeStaged) {
  FailsToStage(folder_.Write("p", ArchiveBuilder().File("good", "1").File("../evil", "2").Build(Format::kZip)),
               "member [../evil]: the name leaves the folder");
  EXPECT_FALSE(folder_.Has("evil"));
}

TEST_F(Staged, ADamagedPackageFailsToBeStaged) {
  std::string bytes = ArchiveBuilder().File("a", std::string(5000, 'a')).Build(Format::kTarGzip);
  bytes.resize(bytes.size() / 2);
  EXPECT_EQ(Stage(folder_.Write("p", bytes)), nullptr);
  EXPECT_EQ(failure_.fault, Fault::kPackage);
}

TEST_F(Staged, AFolderThatTakesNoFilesIsNotThePackagesFault) {
  const std::string path = folder_.Write("package.zip", Package("01-24"));
  Configure({path, "kv6000", ""});
  FailsToStage(path, "the folder " + path + "/.orvhost-package cannot be made: Not a directory", Fault::kPlace);
}

TEST_F(Staged, ARunThatIsAskedToEndStagesNothing) {
  const std::string path = folder_.Write("package.zip", Package("01-24"));
  const pid_t child = fork();  // since what was given up stays known
  if (child == 0) {
    SetInterruptDescriptor(eventfd(1, EFD_CLOEXEC));
    StagingFailure failure;
    const auto package = StagedPackage::Stage(path, &failure);
    const bool staged = package && package->Unpack(&failure);
    _exit(!staged && WasInterrupted() && failure.fault == Fault::kPlace ? 0 : 1);
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_FALSE(folder_.Has(kFolder));
}

// Ends the shorter limit on the size of files that a test sets.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : ignored_(signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit shorter{bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &shorter);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &before_);
    signal(SIGXFSZ, ignored_);
  }

 private:
  rlimit before_{};
  sighandler_t ignored_;
};

TEST_F(Staged, AnErrorOfWritingIsNotThePackagesFault) {
  const std::string large(200000, 'x');
  const std::string tar = folder_.Write("p.tar", ArchiveBuilder().File("a", large).Build(Format::kTar));
  const std::string gzip = folder_.Write("p.tar.gz", ArchiveBuilder().File("a", large).Build(Format::kTarGzip));
  const FileSizeLimit limit(100000);
  FailsToStage(tar, "its copy cannot be written: File too large", Fault::kPlace);
  FailsToStage(gzip, "cannot write the file: File too large", Fault::kPlace);
}

TEST_F(Staged, UnpackingIntoTheWorkFolderMovesWhatWasUnpackedBefore) {
  const auto package = Stage(folder_.Write("package.zip", Package("01-24")));
  ASSERT_NE(package, nullptr);
  const ino_t number = [&] {
    struct stat status {};
    EXPECT_EQ(stat((package->FilesFolder() + "/fw.ima").c_str(), &status), 0);
    return status.st_ino;
  }();
  std::list<std::string> everything;
  std::string message;
  ASSERT_TRUE(CUnzip_Utility::UpdateModuleUnzip(package->CopyPath(), &everything, folder_ / "work", &message, "bmc"))
      << message;
  struct stat status {};
  ASSERT_EQ(stat((folder_ / "work/fw.ima").c_str(), &status), 0);
  EXPECT_EQ(status.st_ino, number);
  EXPECT_FALSE(fs::exists(package->FilesFolder()));
}

TEST_F(Staged, UnpackingASecondTimeReadsTheCopy) {
  const auto package = Stage(folder_.Write("package.zip", Package("01-24")));
  ASSERT_NE(package, nullptr);
  fs::create_directory(folder_ / "second");
  for (const char* work : {"work", "second"}) {
    std::string message;
    ASSERT_TRUE(CUnzip_Utility::UpdateModuleUnzip(package->CopyPath(), nullptr, folder_ / work, &message, "bmc"))
        << message;
    EXPECT_EQ(folder_.Read(std::string(work) + "/fw.ima"), "image");
  }
}

TEST_F(Staged, UnpackingIntoAFolderThatIsNotEmptyReadsTheCopy) {
  const auto package = Stage(folder_.Write("package.zip", Package("01-24")));
  ASSERT_NE(package, nullptr);
  folder_.Write("work/other", "kept");
  std::string message;
  ASSERT_TRUE(CUnzip_Utility::UpdateModuleUnzip(package->CopyPath(), nullptr, folder_ / "work", &message, "bmc"));
  EXPECT_EQ(folder_.Read("work/fw.ima"), "image");
  EXPECT_EQ(folder_.Read("work/other"), "kept");
}

TEST_F(Staged, UnpackingAnotherPackageReadsThatOne) {
  const auto package = Stage(folder_.Write("package.zip", Package("01-24")));
  ASSERT_NE(package, nullptr);
  const std::string other = folder_.Write("other.zip", ArchiveBuilder().File("other", "1").Build(Format::kZip));
  std::string message;
  ASSERT_TRUE(CUnzip_Utility::UpdateModuleUnzip(other, nullptr, folder_ / "work", &message, "bmc"));
  EXPECT_EQ(folder_.Read("work/other"), "1");
  EXPECT_TRUE(fs::exists(package->FilesFolder()));
}

TEST_F(Staged, TheRoomOfAFolderIsThatOfTheOneAboveItWhenItIsMissing) {
  std::uintmax_t free = 0;
  std::uintmax_t below = 0;
  ASSERT_TRUE(FreeBytes(folder_.Path(), &free));
  ASSERT_TRUE(FreeBytes(folder_ / "not/yet/there", &below));
  EXPECT_GT(below, 0U);
  EXPECT_FALSE(FreeBytes("relative and missing", &free));
}

}  // namespace
}  // namespace refhost
