// One run at a time: what becomes of a run beside another one, and after one that was killed.
#include <algorithm>

#include "orvhost/run/run_lock.h"
#include "orvhost/run/run_processes.h"
#include "posix/file_lock.h"
#include "tests/orvhost/support/background_orvhost.h"

namespace orvhost {

namespace {

constexpr const char* kWait = "read byte < \"$TEST_PLUGIN_GATE\"";

class Lock : public BackgroundOrvhost {
 protected:
  json Note() const { return json::parse(folder_.Read("orvhost.run"), nullptr, false); }

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
  pid_t StartOfRun(const std::string& mark, const char* user = "0") {
    const pid_t pid = fork();
    if (pid == 0) {
      setenv("ORVHOST_RUN", mark.c_str(), 1);
      if (user == std::string_view("set-user-ID")) {  // a program of root's that another user has started
        execlp("setpriv", "setpriv", "--ruid", "65534", "cat", (folder_ / "gate").c_str(), nullptr);
      }
      if (user != std::string_view("0")) {
        execlp("setpriv", "setpriv", "--reuid", user, "--clear-groups", "sh", "-c", kWait, nullptr);
      }
      execl("/bin/sh", "sh", "-c", kWait, nullptr);
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
  const std::string cause = "Another run is at work: run " + note["run_id"].get<std::string>() + " under " +
                            installPath_ + " (orvhost update, process " + std::to_string(first) + ", since " +
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
                      "\n  verdict:         busy, exit code 10\n  flash:           not touched by this run\n"
                      "  next step:       Wait until it ends, then run the same command again.\n"
                      "  same command:    orvhost identify\n");
  OpenTheGate();
  plugin_ = TEST_PLUGIN_PATH;
  EXPECT_EQ(Run("identify"), 0) << err_;
  EXPECT_EQ(err_, "");
}

TEST_F(Lock, IsFreeAgainHoweverARunHasEnded) {
  for (const char* words : {"unreadable", "no-vendor", "throws"}) {
    Ask(words);
    RunJson(Update(good_));
    EXPECT_EQ(Note()["ended"], true) << words;
  }
  Ask("");
  EXPECT_EQ(RunJson("identify")["notices"], json::array());
}

TEST_F(Lock, OfAKilledRunIsTakenOverAndSaidSo) {
  const pid_t killed = StartAtTheGate(Update(good_), "waits");
  Kill(killed);
  const std::string id = Note()["run_id"];
  EXPECT_EQ(Run("identify"), 0);
  EXPECT_EQ(err_.find(std::string("orvhost: ") + kTakeover + id + " under " + installPath_ +
                      " (orvhost update, process " + std::to_string(killed) + ", since "),
            0U)
      << err_;
  EXPECT_EQ(std::ranges::count(err_, '\n'), 1);
  EXPECT_EQ(Run("identify"), 0);
  EXPECT_EQ(err_, "");
}

TEST_F(Lock, TakenOverIsSaidToProgramsInTheObjectAndNotToTheQuiet) {
  Kill(StartAtTheGate(Update(good_), "waits"));
  const std::string note = folder_.Read("orvhost.run");
  const json object = RunJson("identify");
  ASSERT_EQ(object["notices"].size(), 1U);
  EXPECT_EQ(object["notices"][0].get<std::string>().find(kTakeover), 0U);
  folder_.Write("orvhost.run", note);
  EXPECT_EQ(Run("identify --quiet"), 0);
  EXPECT_EQ(out_ + err_, "");
}

TEST_F(Lock, OfAProcessNumberThatAnotherProcessHasNowIsTakenOver) {
  const std::string mine = std::to_string(getpid());
  folder_.Write("orvhost.run",
                R"({"schema": 1, "run_id": "00000007-20260131T120000Z", "command": "update", "pid": )" + mine +
                    R"(, "install_path": "/x", "since": "2026-01-31T12:00:00.000000Z", "ended": false})");
  const json object = RunJson("identify");
  EXPECT_EQ(object["exit_code"], 0);
  EXPECT_EQ(object["notices"][0], kTakeover +
                                      std::string("00000007-20260131T120000Z under /x (orvhost update, process ") +
                                      mine + ", since 2026-01-31T12:00:00.000000Z).");
}

constexpr std::array<const char*, 9> kDamagedNotes = {
    "",
    "garbage",
    "{}",
    "[1]",
    "{\"schema\": 2}",
    "\xff",
    R"({"schema": 1, "run_id": 3})",
    R"({"schema": 1, "run_id": "1", "command": "update", "install_path": "/x", "pid": "1", "since": "", "ended": false})",
    R"({"schema": 1, "run_id": "1", "command": "update", "install_path": "/x", "pid": 1, "since": "", "ended": "no"})"};

TEST_F(Lock, ANoteThatIsDamagedIsWrittenAnewAndSaidSo) {
  for (const char* damage : kDamagedNotes) {
    folder_.Write("orvhost.run", damage);
    const json object = RunJson("identify");
    EXPECT_EQ(object["exit_code"], 0) << damage;
    EXPECT_EQ(object["notices"], json::array({"The note of the last run was damaged and is written anew."})) << damage;
  }
}

TEST_F(Lock, HeldWithoutANoteThatTellsWhoIsBusyAllTheSame) {
  const posix::FileDescriptor held(open((folder_ / "orvhost.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  ASSERT_EQ(posix::TakeLock(held), posix::LockAnswer::kYes);
  for (const char* damage : kDamagedNotes) {
    folder_.Write("orvhost.run", damage);
    ExpectBusy("identify", "Another run is at work; its note in " + installPath_ + " does not say which.");
    EXPECT_EQ(folder_.Read("orvhost.run"), damage);
    EXPECT_EQ(RunAtWork(installPath_).runId, "") << damage;
  }
}

// As a look back sees it, which may not disturb anybody.
TEST_F(Lock, TheRunAtWorkIsSeenWithoutTakingTheLock) {
  EXPECT_EQ(RunAtWork(installPath_).runId, "");
  StartAtTheGate(Update(good_), "waits");
  EXPECT_EQ(RunAtWork(installPath_).runId, Note()["run_id"]);
  ExpectBusy("identify", "Another run is at work: run ");
  OpenTheGate();
  EXPECT_EQ(RunAtWork(installPath_).runId, "");
  const posix::FileDescriptor held(open((folder_ / "orvhost.lock").c_str(), O_RDWR | O_CLOEXEC));
  ASSERT_EQ(posix::TakeLock(held), posix::LockAnswer::kYes);
  EXPECT_EQ(RunAtWork(installPath_).runId, "") << "the one that ended is not the one that holds it";
}

// /proc/locks names such locks in another way than those of one machine, and two file systems may share a number.
TEST_F(Lock, IsOneThatNetworkFileSystemsKnow) {
  StartAtTheGate(Update(good_), "waits");
  const posix::FileDescriptor file(open((folder_ / "orvhost.lock").c_str(), O_RDWR | O_CLOEXEC));
  struct flock wanted {};
  wanted.l_type = F_WRLCK;
  ASSERT_EQ(fcntl(file.Get(), F_GETLK, &wanted), 0);
  EXPECT_EQ(wanted.l_type, F_WRLCK);
  OpenTheGate();
}

TEST_F(Lock, AFlashToolThatOutlivesItsKilledRunKeepsOthersAway) {
  Kill(StartAtTheGate(Update(good_), "runs-tool"));
  for (int i = 0; i < 2; ++i) {
    ExpectBusy("identify", "An earlier run has ended, but what it started is still at work: process ");
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
  ExpectBusy("identify", "The program has ended, but a process that it started holds the lock: run ");
  OpenTheGate();
  EXPECT_EQ(RunJson("identify")["exit_code"], 0);
}

// A run that was killed as it began may have no note, and a disk may lose one.
TEST_F(Lock, AFlashToolKeepsOthersAwayAlsoWithoutItsRunsNote) {
  Kill(StartAtTheGate(Update(good_), "runs-tool"));
  for (const char* damage : {"gone", "", "garbage", R"({"schema": 1, "run_id": 3})"}) {
    for (const std::string& path : {folder_ / "orvhost.run", machine_ / "runs/orvhost.run"}) {
      std::filesystem::remove(path);
      if (damage != std::string_view("gone")) {
        std::ofstream(path) << damage;
      }
    }
    ExpectBusy("identify", "An earlier run has ended, but what it started is still at work: process ");
  }
  installPath_ = folder_ / "other";
  EXPECT_EQ(RunJson("identify")["exit_code"], 10);
  OpenTheGate();
  EXPECT_EQ(RunJson("identify")["exit_code"], 0);
}

TEST_F(Lock, TheNoteOfAKilledRunIsNeverHalfWritten) {
  folder_.Write("orvhost.run.AbC123", "half");
  (void)RunJson("identify");
  EXPECT_FALSE(std::filesystem::exists(folder_ / "orvhost.run.AbC123"));
  EXPECT_EQ(folder_.Read("orvhost.lock"), "");
}

// There is one BMC.
TEST_F(Lock, AProcessOfAnotherFoldersRunKeepsOthersAwayToo) {
  StartOfRun("/elsewhere/00000001-20260131T120000Z");
  ExpectBusy("identify", "An earlier run has ended, but what it started is still at work: process ");
  OpenTheGate();
  EXPECT_EQ(RunJson("identify")["exit_code"], 0);
}

TEST_F(Lock, AProcessOfAnotherMachineOfTheLaboratoryKeepsNobodyAway) {
  setenv(kLockFolder, "/elsewhere", 1);
  StartOfRun("/elsewhere/00000001-20260131T120000Z");
  setenv(kLockFolder, (machine_ / "runs").c_str(), 1);
  EXPECT_EQ(RunJson("identify")["exit_code"], 0);
  OpenTheGate();
}

TEST_F(Lock, AProcessOfAnotherUserKeepsNobodyAway) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can start one";
  }
  std::filesystem::permissions(folder_.Path(), std::filesystem::perms(0755));
  std::filesystem::permissions(folder_ / "gate", std::filesystem::perms(0666));
  for (const char* user : {"65534", "set-user-ID"}) {
    StartOfRun("/elsewhere/00000001-20260131T120000Z", user);
    EXPECT_EQ(RunJson("identify")["exit_code"], 0) << user;
    OpenTheGate();
  }
}

// Without its capabilities root may not look at processes that have them, such as this one.
TEST_F(Lock, AProcessThatCannotBeLookedAtIsNotTakenForNone) {
  prefix_ = "setpriv --bounding-set -all --inh-caps -all ";
  if (geteuid() != 0 || std::system((prefix_ + "true > /dev/null 2>&1").c_str()) != 0 ||
      std::system((prefix_ + "cat /proc/$$/environ > /dev/null 2>&1").c_str()) == 0) {
    GTEST_SKIP() << "only root can give up the right to look at all processes";
  }
  const json object = RunJson("identify");
  EXPECT_EQ(object["exit_code"], 10);
  EXPECT_EQ(object["error"]
                .value("cause", "")
                .find("It is unknown whether something that an earlier run started is still at work: process "),
            0U)
      << object;
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

TEST_F(Lock, FailsForAnInstallPathThatCannotBeUsed) {
  std::filesystem::create_directory(folder_ / "orvhost.lock");
  json object = RunJson("identify");
  EXPECT_EQ(object["exit_code"], 2);
  EXPECT_EQ(object["verdict"], "install-path-unusable");
  EXPECT_EQ(object["error"]["cause"], "Only one run at a time may work under " + installPath_ +
                                          ", and that cannot be ensured: the lock file " + (folder_ / "orvhost.lock") +
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

TEST_F(Lock, IsNoSecondNameOfAnotherFile) {
  folder_.Write("target", "precious");
  std::filesystem::permissions(folder_ / "target", std::filesystem::perms(0644));
  std::filesystem::create_hard_link(folder_ / "target", folder_ / "orvhost.lock");
  const json object = RunJson("identify");
  EXPECT_EQ(object["exit_code"], 2);
  EXPECT_EQ(object["verdict"], "install-path-unusable");
  EXPECT_NE(object["error"].value("cause", "").find("is no file of its own"), std::string::npos) << object;
  EXPECT_EQ(std::filesystem::status(folder_ / "target").permissions(), std::filesystem::perms(0644));
}

TEST_F(Lock, TheMachinesOwnFolderIsNoInstallPath) {
  setenv(kLockFolder, installPath_.c_str(), 1);
  const json object = RunJson("identify");
  EXPECT_EQ(object["exit_code"], 2);
  EXPECT_EQ(object["verdict"], "install-path-unusable");
  EXPECT_NE(object["error"].value("cause", "").find("it is the folder of the machine's own lock"), std::string::npos)
      << object;
}

TEST_F(Lock, APackageThatARunWouldTidyAwayIsRefusedAndStays) {
  std::filesystem::create_directory(folder_ / ".orvhost-package");
  std::filesystem::copy_file(good_, folder_ / ".orvhost-package/package.zip");
  std::filesystem::create_symlink(folder_ / ".orvhost-package/package.zip", folder_ / "link.zip");
  for (const std::string name :
       {".orvhost-package/package.zip", ".orvhost-package/../.orvhost-package/package.zip", "link.zip"}) {
    for (const std::string command : {"check", "update"}) {
      const json object = RunJson(command + " \"" + (folder_ / name) + "\"");
      EXPECT_EQ(object["verdict"], "package-unusable") << name << object;
      EXPECT_EQ(object["exit_code"], 5);
      EXPECT_EQ(object["flash_touched"], false);
    }
  }
  EXPECT_EQ(folder_.Read(".orvhost-package/package.zip"), folder_.Read("good.zip"));
}

TEST_F(Lock, WhatAnotherInstallPathsUpdateMayHaveOverwrittenIsNotApplied) {
  ASSERT_EQ(Run(Update(good_)), 0) << err_;
  const std::string first = installPath_;
  installPath_ = folder_ / "other";
  std::filesystem::create_directories(installPath_ + "/KV6KBMC");
  std::filesystem::copy_file(first + "/" + kFlashTool, installPath_ + "/" + kFlashTool);
  Ask("flash-fails");
  ASSERT_EQ(Run(Update(good_)), 8) << err_;
  unsetenv("TEST_PLUGIN");
  const std::string second = installPath_;
  installPath_ = first;
  for (const char* arguments : {"apply --yes", "apply --dry-run"}) {
    const json object = RunJson(arguments);
    EXPECT_EQ(object["verdict"], "not-written") << object;
    EXPECT_EQ(object["exit_code"], 7);
    EXPECT_EQ(object["error"]["cause"], "Since this update was written, another one was begun under the install path " +
                                            second + "; the BMC may have what that one left.");
  }
  EXPECT_EQ(RunJson("methods Reboot --yes")["verdict"], "not-written");
  EXPECT_EQ(RunJson("identify")["needs_apply"], false);
  const json diagnosed = RunJson("diagnose");
  EXPECT_EQ(diagnosed["verdict"], "flash-unknown");
  EXPECT_EQ(diagnosed["facts"]["next_step"],
            "Keep the machine powered and run \"orvhost --install-path " + ShellWord(second) + " diagnose\".");
  std::filesystem::remove(machine_ / "runs/orvhost.writer");
  std::filesystem::create_directory(machine_ / "runs/orvhost.writer");
  EXPECT_EQ(RunJson("apply --yes")["error"]["cause"].get<std::string>().find(
                "Whether another update was begun since this one was written is not known: "),
            0U);
  std::filesystem::remove(machine_ / "runs/orvhost.writer");
  std::filesystem::create_symlink(first, folder_ / "link");
  ASSERT_EQ(Run(Update(good_)), 0) << err_;
  installPath_ = folder_ / "link";
  EXPECT_EQ(RunJson("apply --yes")["exit_code"], 0) << "the same folder under another name";
}

TEST_F(Lock, IsOneForAllInstallPathsOfAMachine) {
  const pid_t first = StartAtTheGate(Update(good_), "waits");
  const std::string at = installPath_;
  installPath_ = folder_ / "other";
  for (const std::string& arguments : {std::string("identify"), Update(good_)}) {
    const json object = RunJson(arguments);
    EXPECT_EQ(object["exit_code"], 10) << object;
    EXPECT_EQ(object["error"]["cause"], "Another run is at work: run " + Note()["run_id"].get<std::string>() +
                                            " under " + at + " (orvhost update, process " + std::to_string(first) +
                                            ", since " + Note()["since"].get<std::string>() + ").");
  }
  EXPECT_FALSE(std::filesystem::exists(installPath_ + "/journal"));
  setenv(kLockFolder, (machine_ / "another").c_str(), 1);
  EXPECT_EQ(RunJson("identify")["exit_code"], 0) << "of another machine";
  OpenTheGate();
}

TEST_F(Lock, WithoutTheMachinesLockNothingIsDone) {
  setenv(kLockFolder, (folder_.Write("file", "") + "/below").c_str(), 1);
  const json object = RunJson("identify");
  EXPECT_EQ(object["exit_code"], 2);
  EXPECT_EQ(object["verdict"], "lock-folder-unusable");
  EXPECT_NE(object["error"]
                .value("cause", "")
                .find("Only one run at a time may work on this machine, and that cannot be ensured: "),
            std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(folder_ / "journal"));
}

TEST_F(Lock, OfTheMachineIsNotForWhoMayNotUpdateIt) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "it would be the real machine's";
  }
  unsetenv(kLabMachine);
  std::filesystem::permissions(folder_.Path(), std::filesystem::perms(0777));
  prefix_ = "setpriv --reuid 65534 --regid 65534 --clear-groups ";
  if (std::system((prefix_ + "test -x \"" ORVHOST_PROGRAM "\"").c_str()) != 0) {
    GTEST_SKIP() << "another user cannot run the program where it was built";
  }
  EXPECT_EQ(RunJson("identify")["exit_code"], 0);
}

TEST_F(Lock, CannotBeHeldByOtherUsers) {
  folder_.Write("orvhost.lock", "");
  std::filesystem::permissions(folder_ / "orvhost.lock", std::filesystem::perms(0666));
  prefix_ = "umask 000; ";
  EXPECT_EQ(RunJson("identify")["exit_code"], 0);
  const auto mode = [](const std::string& path) { return std::filesystem::status(path).permissions(); };
  for (const std::string& folder : {folder_.Path(), machine_ / "runs"}) {
    for (const char* name : {"/orvhost.lock", "/orvhost.run"}) {
      EXPECT_EQ(mode(folder + name), std::filesystem::perms(0600)) << folder << name;
    }
  }
  EXPECT_EQ(mode(machine_ / "runs"), std::filesystem::perms(0700));
}

}  // namespace
}  // namespace orvhost
