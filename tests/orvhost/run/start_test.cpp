// What a caller handed down to the program does not mix with its files and does not reach what it starts.
#include <array>

#include "orvhost/run/run_processes.h"
#include "tests/orvhost/support/background_orvhost.h"

namespace orvhost {

namespace {

class Start : public BackgroundOrvhost {
 protected:
  std::vector<std::string> DescriptorsOfWhatIsLeft() const {
    std::vector<std::string> descriptors;
    for (const WorkingProcess& process : ProcessesOfFolder(installPath_).found) {
      const std::string folder = "/proc/" + std::to_string(process.pid) + "/fd";
      for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        descriptors.push_back(entry.path().filename());
      }
    }
    std::ranges::sort(descriptors);
    return descriptors;
  }
};

TEST_F(Start, WithClosedStreamsNoFileOfTheRunTakesTheirPlace) {
  for (const char* closed : {"<&- >&- 2>&-", "> /dev/null 2>&-", ">&- 2> /dev/null"}) {
    streams_ = closed;
    Kill(StartAtTheGate(Update(good_), "runs-tool"));
    EXPECT_EQ(folder_.Read("orvhost.lock"), "") << closed;
    EXPECT_EQ(folder_.Read("journal/" +
                           std::filesystem::directory_iterator(folder_ / "journal")->path().filename().string())[0],
              '{');
    EXPECT_EQ(RunJson("identify")["exit_code"], 10) << closed;
    OpenTheGate();
    EXPECT_EQ(RunJson("identify")["exit_code"], 0) << closed;
    std::filesystem::remove_all(folder_ / "journal");
  }
}

TEST_F(Start, InheritedDescriptorsDoNotReachWhatTheRunStarts) {
  streams_ = "> /dev/null 2>&1 7> \"" + (folder_ / "seven") + "\" 9< /dev/null";
  Kill(StartAtTheGate(Update(good_), "runs-tool"));
  const std::vector<std::string> descriptors = DescriptorsOfWhatIsLeft();
  EXPECT_EQ(std::ranges::count(descriptors, "0"), 1);
  EXPECT_EQ(std::ranges::count(descriptors, "7"), 0);
  EXPECT_EQ(std::ranges::count(descriptors, "9"), 0);
  OpenTheGate();
}

TEST_F(Start, WithoutProcNothingIsBegun) {
  prefix_ = "unshare --mount sh -c 'mount -t tmpfs tmpfs /proc && exec \"$@\"' sh ";
  if (std::system((prefix_ + "true > /dev/null 2>&1").c_str()) != 0) {
    GTEST_SKIP() << "only root can take /proc away";
  }
  // Without /proc the loader does not find the libraries by where the program is.
  prefix_ = "LD_LIBRARY_PATH=\"" HOST_LIBRARIES "\" " + prefix_;
  EXPECT_EQ(Run("identify"), 1);
  // A sanitizer has something to say of it too.
  EXPECT_NE(err_.find("orvhost: cannot start: its standard input, output and error cannot be set up (No such file or "
                      "directory); /dev/null and /proc are needed. Nothing was done.\n"),
            std::string::npos)
      << err_;
  EXPECT_FALSE(std::filesystem::exists(folder_ / "orvhost.lock"));
}

TEST_F(Start, NothingIsMadeThatOthersMayWrite) {
  installPath_ += "/deep/er";
  prefix_ = "umask 000; ";
  ASSERT_EQ(RunJson("identify")["exit_code"], 0);
  namespace fs = std::filesystem;
  EXPECT_EQ(fs::status(folder_ / "deep").permissions(), fs::perms(0755));
  for (const auto& entry : fs::recursive_directory_iterator(folder_ / "deep")) {
    EXPECT_EQ(entry.status().permissions() & fs::perms(0022), fs::perms::none) << entry.path();
  }
}

TEST_F(Start, WhatAKilledRunWasWritingIsRemovedByTheNext) {
  ASSERT_EQ(Run(Update(good_)), 0) << err_;
  for (const char* name : {"repository/state.json.AbC123", "orvhost.run.AbC123"}) {
    folder_.Write(name, "half");
  }
  const auto kept = folder_.Write("repository/state.json.damaged-1", "kept");
  ASSERT_EQ(Run("identify"), 0) << err_;
  EXPECT_FALSE(std::filesystem::exists(folder_ / "repository/state.json.AbC123"));
  EXPECT_FALSE(std::filesystem::exists(folder_ / "orvhost.run.AbC123"));
  EXPECT_TRUE(std::filesystem::exists(kept));
}

}  // namespace
}  // namespace orvhost
