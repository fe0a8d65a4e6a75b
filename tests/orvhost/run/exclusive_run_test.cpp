// One run at a time: what becomes of a run beside another one, and behind one that was killed.
#include <sys/file.h>

#include <algorithm>

#include "tests/orvhost/support/background_orvhost.h"

namespace orvhost {

namespace {

class Lock : public BackgroundOrvhost {
 protected:
  json Note() const { return json::parse(folder_.Read("orvhost.lock"), nullptr, false); }

  void ExpectBusy(const std::string& arguments, const std::string& cause) {
    const auto before = Tree();
    const json object = RunJson(arguments);
    EXPECT_EQ(object["exit_code"], 10) << object;
    EXPECT_EQ(object["verdict"], "busy");
    EXPECT_EQ(object["phase"], "lock");
    EXPECT_EQ(object["flash_touched"], false);
    EXPECT_NE(object["error"].value("cause", "").find(cause), std::string::npos) << object;
    EXPECT_NE(object["error"]["next_step"], "");
    EXPECT_EQ(Tree(), before);
  }

  // A program at the gate with this mark of a run.
  pid_t StartOfRun(const std::string& mark) {
    const pid_t pid = fork();
    if (pid == 0) {
      setenv("ORVHOST_RUN", mark.c_str(), 1);
      execl("/bin/sh", "sh", "-c", "read byte < \"$TEST_PLUGIN_GATE\"", nullptr);
      _exit(99);
    }
    gate_ = posix::FileDescriptor(open((folder_ / "gate").c_str(), O_WRONLY | O_CLOEXEC));
    return pid;
  }
};

constexpr const char* kTakeover =
    "The lock is taken over from a run that did not end properly (it was killed, or the machine went down): run ";

TEST_F(Lock, ASecondRunIsRefusedAndNamesTheFirst) {
  const pid_t first = StartAtTheGate(Update(good_), "waits");
  const json note = Note();
  EXPECT_EQ(note["pid"], first);
  EXPECT_EQ(note["ended"], false);
  const std::string cause = "Another run is at work: run " + note["run_id"].get<std::string>() +
                            " (orvhost update, process " + std::to_string(first) + ", since " +
                            note["since"].get<std::string>() + ").";
  plugin_ = "/missing.so";  // which nobody gets as far as to miss
  for (const std::string& arguments :
       {Update(good_), std::string("identify"), "check \"" + good_ + "\"", std::string("apply --yes"),
        std::string("apply --dry-run"), std::string("verify"), std::string("report"), std::string("notify"),
        std::string("methods SendInfoToSVP")}) {
    ExpectBusy(arguments, cause);
  }
  EXPECT_EQ(Note(), note);
  EXPECT_EQ(Run("identify"), 10);
  EXPECT_EQ(err_, "orvhost identify: " + cause +
                      "\n  flash:           not touched\n"
                      "  next step:       Wait until it ends, then run the same command again.\n");
  OpenTheGate();
  plugin_ = TEST_PLUGIN_PATH;
  EXPECT_EQ(Run("identify"), 0) << err_;
  EXPECT_EQ(err_, "");
}

TEST_F(Lock, IsFreeAgainWhenARunHasEndedInWhateverWay) {
  for (const char* words : {"unreadable", "no-vendor", "throws"}) {
    Ask(words);
    RunJson(Update(good_));
    EXPECT_EQ(folder_.Read("orvhost.lock"), "") << words;
  }
  Ask("");
  RunJson(Update(good_));
  EXPECT_EQ(Note()["ended"], true);
  EXPECT_EQ(RunJson("identify")["notices"], json::array());
}

TEST_F(Lock, OfAKilledRunIsTakenOverAndSaidSo) {
  const pid_t killed = StartAtTheGate(Update(good_), "waits");
  Kill(killed);
  const std::string id = Note()["run_id"];
  EXPECT_EQ(Run("identify"), 0);
  EXPECT_EQ(err_.find(std::string("orvhost: ") + kTakeover + id + " (orvhost update, process " +
                      std::to_string(killed) + ", since "),
            0U)
      << err_;
  EXPECT_EQ(std::ranges::count(err_, '\n'), 1);
  EXPECT_EQ(Run("identify"), 0);
  EXPECT_EQ(err_, "");
}

TEST_F(Lock, TakenOverIsToldToProgramsInTheObjectAndNotToTheQuiet) {
  Kill(StartAtTheGate(Update(good_), "waits"));
  const std::string note = folder_.Read("orvhost.lock");
  const json object = RunJson("identify");
  ASSERT_EQ(object["notices"].size(), 1U);
  EXPECT_EQ(object["notices"][0].get<std::string>().find(kTakeover), 0U);
  folder_.Write("orvhost.lock", note);
  EXPECT_EQ(Run("identify --quiet"), 0);
  EXPECT_EQ(out_ + err_, "");
}

TEST_F(Lock, OfAProcessNumberThatAnotherProcessHasNowIsTakenOver) {
  const std::string mine = std::to_string(getpid());
  folder_.Write("orvhost.lock", R"({"schema": 1, "run_id": "00000007-20260131T120000Z", "command": "update", "pid": )" +
                                    mine + R"(, "since": "2026-01-31T12:00:00.000000Z", "ended": false})");
  const json object = RunJson("identify");
  EXPECT_EQ(object["exit_code"], 0);
  EXPECT_EQ(object["notices"][0], kTakeover + std::string("00000007-20260131T120000Z (orvhost update, process ") +
                                      mine + ", since 2026-01-31T12:00:00.000000Z).");
}

TEST_F(Lock, AFileThatIsDamagedIsWrittenAnewAndSaidSo) {
  for (const char* damage : {"garbage", "{}", "[1]", "{\"schema\": 2}", "\xff", R"({"schema": 1, "run_id": 3})"}) {
    folder_.Write("orvhost.lock", damage);
    const json object = RunJson("identify");
    EXPECT_EQ(object["exit_code"], 0) << damage;
    EXPECT_EQ(object["notices"], json::array({"The lock file was damaged and is written anew."})) << damage;
  }
}

TEST_F(Lock, HeldWithADamagedFileIsBusyAllTheSame) {
  folder_.Write("orvhost.lock", "garbage");
  const posix::FileDescriptor held(open((folder_ / "orvhost.lock").c_str(), O_RDWR | O_CLOEXEC));
  ASSERT_EQ(flock(held.Get(), LOCK_EX | LOCK_NB), 0);
  ExpectBusy("identify",
             "Another run is at work; its lock file " + (folder_ / "orvhost.lock") + " does not tell which.");
  EXPECT_EQ(folder_.Read("orvhost.lock"), "garbage");
}

TEST_F(Lock, AFlashToolThatOutlivesItsKilledRunKeepsOthersAway) {
  Kill(StartAtTheGate(Update(good_), "runs-tool"));
  for (int i = 0; i < 2; ++i) {
    ExpectBusy("identify", "The program has ended, but what it started is still at work: process ");
    EXPECT_NE(out_.find("(sh -c "), std::string::npos) << out_;
    EXPECT_NE(out_.find("keep the machine powered, do not end it"), std::string::npos) << out_;
  }
  OpenTheGate();
  const json object = RunJson("identify");
  EXPECT_EQ(object["exit_code"], 0);
  EXPECT_EQ(object["notices"][0].get<std::string>().find(kTakeover), 0U);
}

TEST_F(Lock, AChildOfThePluginThatOutlivesItKeepsOthersAway) {
  Kill(StartAtTheGate(Update(good_), "forks"));
  ExpectBusy("identify", "The program has ended, but a process that it left behind holds the lock: run ");
  OpenTheGate();
  EXPECT_EQ(RunJson("identify")["exit_code"], 0);
}

// Its number and its second may be the same.
TEST_F(Lock, AProcessOfAnotherFoldersRunIsNotLookedFor) {
  Ask("flash-fails");
  ASSERT_EQ(Run(Update(good_)), 8);
  StartOfRun("/elsewhere/" + Note()["run_id"].get<std::string>());
  EXPECT_EQ(RunJson("identify")["exit_code"], 0);
  OpenTheGate();
}

TEST_F(Lock, TheFolderMayBeNamedInAnotherWay) {
  Ask("flash-fails");
  ASSERT_EQ(Run(Update(good_)), 8);
  const pid_t left = StartOfRun(folder_ / Note()["run_id"].get<std::string>());
  installPath_ += "/../" + std::filesystem::path(installPath_).filename().string() + "/";
  ExpectBusy("identify", "still at work: process " + std::to_string(left) + " (sh -c read byte < ");
  OpenTheGate();
}

TEST_F(Lock, WhatAFinishedUpdateLeftRunningIsLookedForToo) {
  Ask("flash-fails");
  ASSERT_EQ(Run(Update(good_)), 8);
  ASSERT_EQ(Note()["ended"], true);
  const std::string id = Note()["run_id"];
  const pid_t left = StartOfRun(folder_ / id);
  ExpectBusy("identify", "still at work: process " + std::to_string(left) + " (sh -c read byte < ");
  OpenTheGate();
  EXPECT_EQ(RunJson("identify")["notices"], json::array());
}

TEST_F(Lock, AnInstallPathThatCannotBeUsedIsTold) {
  std::filesystem::create_directory(folder_ / "orvhost.lock");
  json object = RunJson("identify");
  EXPECT_EQ(object["exit_code"], 2);
  EXPECT_EQ(object["verdict"], "install-path-unusable");
  EXPECT_EQ(object["error"]["cause"], "Runs under " + installPath_ + " cannot be kept apart: the lock file " +
                                          (folder_ / "orvhost.lock") +
                                          " cannot be opened for writing: Is a directory.");
  installPath_ = folder_.Write("file", "") + "/below";
  object = RunJson("identify");
  EXPECT_EQ(object["exit_code"], 2);
  EXPECT_NE(object["error"]["cause"].get<std::string>().find("cannot be made"), std::string::npos) << object;
}

TEST_F(Lock, IsNotFollowedThroughALink) {
  folder_.Write("target", "precious");
  std::filesystem::create_symlink(folder_ / "target", folder_ / "orvhost.lock");
  EXPECT_EQ(Run("identify"), 2);
  EXPECT_EQ(folder_.Read("target"), "precious");
}

TEST_F(Lock, OfAnotherInstallPathIsAnother) {
  StartAtTheGate(Update(good_), "waits");
  installPath_ = folder_ / "other";
  EXPECT_EQ(RunJson("identify")["exit_code"], 0);
  OpenTheGate();
}

}  // namespace
}  // namespace orvhost
