// What a run does with the server that it is on: it says its verdict to the machine's log, and keeps the machine up
// while the flash is written. The test plays systemd's journal, a syslog and systemd's tool.
#include <sys/socket.h>
#include <sys/un.h>

#include <set>

#include "orvhost/journal/journal_folder.h"
#include "orvhost/run/system_log.h"
#include "tests/orvhost/support/background_orvhost.h"

namespace orvhost {

namespace {

constexpr const char* kJournal = "/run/systemd/journal/socket";
constexpr const char* kSyslog = "/dev/log";

class Server : public BackgroundOrvhost {
 protected:
  Server() { setenv("ORVHOST_LAB_SYSTEM", system_.Path().c_str(), 1); }
  ~Server() override { unsetenv("ORVHOST_LAB_SYSTEM"); }

  posix::FileDescriptor Listen(const std::string& path) const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string whole = system_.Path() + path;
    std::filesystem::create_directories(std::filesystem::path(whole).parent_path());
    EXPECT_LT(whole.size(), sizeof address.sun_path);
    whole.copy(address.sun_path, whole.size());
    posix::FileDescriptor listener(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    EXPECT_EQ(bind(listener.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return listener;
  }

  static std::string Heard(const posix::FileDescriptor& listener) {
    std::array<char, 8192> buffer{};
    const ssize_t size = recv(listener.Get(), buffer.data(), buffer.size(), 0);
    return size > 0 ? std::string(buffer.data(), static_cast<std::size_t>(size)) : "";
  }

  // Plays systemd's tool: writes down how it was called, then does `acts`.
  void PutInhibitor(const std::string& acts) const {
    const std::string path = system_.Write(
        "usr/bin/systemd-inhibit", "#!/bin/sh\nprintf '%s\\n' \"$@\" \"run=$ORVHOST_RUN\" >> '" + Log() + "'\n" + acts);
    std::filesystem::permissions(path, std::filesystem::perms(0755));
  }
  void PutInhibitor() const {
    PutInhibitor("while case $1 in --*) ;; *) break ;; esac; do shift; done\n\"$@\"\necho released >> '" + Log() +
                 "'\n");
  }
  std::string Log() const { return system_ / "log"; }
  std::string Calls() const { return std::filesystem::exists(Log()) ? system_.Read("log") : ""; }
  std::string JournalOf(std::size_t at) const {
    return folder_.Read("journal/" + ListJournals(folder_ / "journal").runs.at(at) + ".jsonl");
  }

  const std::string lock_ =
      "--what=shutdown:sleep\n--who=orvhost\n--why=The BMC's firmware is being written.\n--mode=block\n/bin/sh\n-c\n"
      "echo; exec cat >&2\nrun=\n";
  refhost::TemporaryFolder system_;
};

TEST_F(Server, TheJournalGetsEveryVerdictWithItsFields) {
  const posix::FileDescriptor journal = Listen(kJournal);
  ASSERT_EQ(Run("identify"), 0);
  const std::string id = ListJournals(folder_ / "journal").runs.at(0);
  EXPECT_EQ(
      Heard(journal),
      "MESSAGE=identify: identified: The BMC runs firmware version 01-23.\nMESSAGE_ID=" + MessageId("identified") +
          "\nPRIORITY=6\nSYSLOG_FACILITY=3\nSYSLOG_IDENTIFIER=orvhost\nORVHOST_RUN=" + id +
          "\nORVHOST_COMMAND=identify\nORVHOST_VERDICT=identified\nORVHOST_EXIT_CODE=0\nORVHOST_BEFORE=01-23\n"
          "ORVHOST_AFTER=01-23\nORVHOST_INSTALL_PATH=" +
          installPath_ + "\n");
  Ask("flash-fails");
  ASSERT_EQ(Run(Update(good_)), 8);
  const std::string failure = Heard(journal);
  EXPECT_NE(failure.find("\nPRIORITY=2\n"), std::string::npos) << failure;
  EXPECT_NE(failure.find("MESSAGE=update: update-failed: The update failed after writing the firmware had begun. Next "
                         "step: Keep the machine powered"),
            std::string::npos)
      << failure;
  ASSERT_EQ(Run("history"), 0);
  EXPECT_EQ(Heard(journal), "");
}

TEST_F(Server, ARunThatIsRefusedSaysSoWithoutAnId) {
  const posix::FileDescriptor journal = Listen(kJournal);
  StartAtTheGate(Update(good_), "waits");
  ASSERT_EQ(Run("identify"), 10);
  const std::string heard = Heard(journal);
  EXPECT_NE(heard.find("ORVHOST_VERDICT=busy\n"), std::string::npos) << heard;
  EXPECT_NE(heard.find("PRIORITY=4\n"), std::string::npos) << heard;
  EXPECT_EQ(heard.find("ORVHOST_RUN="), std::string::npos) << heard;
  OpenTheGate();
  EXPECT_NE(Heard(journal).find("ORVHOST_VERDICT=updated\n"), std::string::npos);
}

TEST_F(Server, ASyslogGetsThemWhereThereIsNoJournal) {
  const posix::FileDescriptor syslog = Listen(kSyslog);
  ASSERT_EQ(Run("identify"), 0);
  const std::string heard = Heard(syslog);
  EXPECT_EQ(heard.find("<30>orvhost["), 0U) << heard;
  EXPECT_NE(
      heard.find("]: identify: identified: The BMC runs firmware version 01-23. [run=" +
                 ListJournals(folder_ / "journal").runs.at(0) + " exit_code=0 id=" + MessageId("identified") + "]"),
      std::string::npos)
      << heard;
}

TEST_F(Server, ALogThatTakesNothingDisturbsNoRun) {
  ASSERT_EQ(Run("identify"), 0);  // nobody listens
  const posix::FileDescriptor journal = Listen(kJournal);
  Outcome outcome;
  outcome.verdict = "filled";
  setenv("ORVHOST_LAB_MACHINE", "1", 1);
  for (int i = 0; i < 1000; ++i) {  // far more than a socket takes that nobody reads
    SayToSystemLog(outcome, "/x");
  }
  EXPECT_EQ(Run("identify"), 0);
  EXPECT_EQ(err_, "");
}

TEST_F(Server, WhatAFieldHoldsCannotBecomeAnother) {
  Outcome outcome;
  outcome.command = "update";
  outcome.verdict = "updated";
  outcome.summary = "one\nPRIORITY=0\n";
  const std::string fields = JournalFields(outcome, "/a\nb");
  EXPECT_EQ(fields.find("\nPRIORITY=0"), std::string::npos) << fields;
  EXPECT_NE(fields.find("ORVHOST_INSTALL_PATH=/a\\nb\n"), std::string::npos) << fields;
}

TEST(MessageId, StaysTheSameForEver) {
  EXPECT_EQ(MessageId("updated"), "17163bd948a1f53a693017c284a1b987");
  EXPECT_EQ(MessageId("update-failed"), "f324127d0bd9ff398bfed47b2faa4df1");
  EXPECT_EQ(MessageId("verified"), "70a1f3f39748bee72c0f714ee5c62dec");
}

TEST_F(Server, StaysUpWhileTheFlashIsWrittenAndNoLonger) {
  PutInhibitor();
  StartAtTheGate(Update(good_), "waits");
  EXPECT_EQ(Calls(), lock_);
  OpenTheGate();
  EXPECT_EQ(Calls(), lock_ + "released\n");
  EXPECT_EQ(JournalOf(0).find("may be shut down"), std::string::npos);
}

TEST_F(Server, OnlyAnUpdateThatWritesAsksForIt) {
  PutInhibitor();
  ASSERT_EQ(Run("identify"), 0);
  ASSERT_EQ(Run(Update(good_) + " --dry-run"), 0);
  EXPECT_EQ(Calls(), "");
  ASSERT_EQ(Run(Update(good_)), 0);
  EXPECT_EQ(Calls(), lock_ + "released\n");
  ASSERT_EQ(Run("apply --yes"), 0);
  EXPECT_EQ(Calls(), lock_ + "released\n");
}

TEST_F(Server, AFlashToolThatOutlivesItsRunKeepsTheMachineUp) {
  PutInhibitor();
  Kill(StartAtTheGate(Update(good_), "runs-tool"));
  EXPECT_EQ(Calls(), lock_);
  OpenTheGate();
  EXPECT_EQ(Calls(), lock_ + "released\n");
}

TEST_F(Server, AKilledRunThatLeavesNothingGivesTheLockBack) {
  PutInhibitor();
  Kill(StartAtTheGate(Update(good_), "waits"));
  ReapAll();
  EXPECT_EQ(Calls(), lock_ + "released\n");
  EXPECT_EQ(Run("identify"), 0);
}

TEST_F(Server, WithoutTheLockTheFlashIsWrittenAllTheSame) {
  ASSERT_EQ(Run(Update(good_)), 0);
  EXPECT_EQ(JournalOf(0).find("may be shut down"), std::string::npos);
  setenv("TEST_PLUGIN_VERSION", "01-24", 1);
  const std::string other = folder_.Write("other.zip", refhost::Package("01-25"));
  PutInhibitor("echo complaint >&2\nexit 1\n");
  ASSERT_EQ(Run(Update(other)), 0);
  EXPECT_EQ(err_, "");
  EXPECT_EQ(Calls(), lock_);
  EXPECT_NE(JournalOf(1).find("The machine may be shut down meanwhile"), std::string::npos);
}

TEST_F(Server, VerifyIfWaitingDoesNothingWhereNothingWaits) {
  const posix::FileDescriptor journal = Listen(kJournal);
  json object = RunJson("verify --if-waiting");
  EXPECT_EQ(object["verdict"], "nothing-to-do");
  EXPECT_EQ(object["run_id"], "");
  EXPECT_EQ(object["needs_apply"], false);
  EXPECT_FALSE(std::filesystem::exists(folder_ / "journal"));
  EXPECT_EQ(Heard(journal), "");
  ASSERT_EQ(Run(Update(good_)), 0);
  setenv("TEST_PLUGIN_VERSION", "01-24", 1);
  EXPECT_EQ(RunJson("verify --if-waiting")["verdict"], "verified");
  EXPECT_EQ(ListJournals(folder_ / "journal").runs.size(), 2U);
  EXPECT_EQ(RunJson("verify --if-waiting")["verdict"], "nothing-to-do");
  EXPECT_EQ(ListJournals(folder_ / "journal").runs.size(), 2U);
  EXPECT_EQ(RunJson("verify")["verdict"], "verified");
}

TEST_F(Server, FailsToVerifyWhatWaitsInRecordsThatCannotBeRead) {
  folder_.Write("repository/state.json", "{");
  EXPECT_EQ(RunJson("verify --if-waiting")["verdict"], "records-damaged");
}

}  // namespace
}  // namespace orvhost
