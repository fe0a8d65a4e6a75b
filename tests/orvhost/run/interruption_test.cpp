// What becomes of a run that is asked to end: before its plug-in begins what must not be left half-way it ends and
// leaves nothing, and from there on it goes on to its end.
#include "orvhost/journal/journal_folder.h"
#include "tests/orvhost/support/background_orvhost.h"

namespace orvhost {

namespace {

constexpr int kInterrupted = 11;
constexpr std::array kSignals{SIGTERM, SIGINT, SIGHUP, SIGQUIT};
constexpr std::array kOtherSignals{SIGALRM, SIGVTALRM, SIGPROF, SIGUSR1, SIGUSR2, SIGPWR, SIGXCPU, SIGIO, SIGSTKFLT};

std::string NameOf(int number) {
  return std::string("SIG") + sigabbrev_np(number);
}

constexpr const char* kAnswer =
    "orvhost: The firmware is being written; this cannot be interrupted. At most 1 min for this attempt.";

class Interrupted : public BackgroundOrvhost {
 protected:
  Interrupted() {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    told_ = posix::FileDescriptor(ends[0]);
    tellEnd_ = posix::FileDescriptor(ends[1]);
    fcntl(told_.Get(), F_SETFD, FD_CLOEXEC);
    prefix_ = "setsid ";  // a process group, as a shell at a terminal gives it to a job
    streams_ = "> \"" + (folder_ / "out") + "\" 2>&" + std::to_string(tellEnd_.Get());
  }

  pid_t Start(const std::string& arguments, const std::string& words) {
    const pid_t pid = StartAtTheGate(arguments, words);
    tellEnd_.Close();
    return pid;
  }

  // As the terminal's keys do: everything of the run's group gets it.
  static void Send(pid_t run, int number) { EXPECT_EQ(kill(-run, number), 0); }

  // What it says next on its standard error; "" when it has ended.
  std::string NextLine() const {
    std::string line;
    for (char byte = 0; read(told_.Get(), &byte, 1) == 1 && byte != '\n';) {
      line += byte;
    }
    return line;
  }

  int ExitCodeOf(pid_t pid) {
    int status = 0;
    EXPECT_EQ(waitpid(pid, &status, 0), pid);
    out_ = folder_.Read("out");
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  json Object() {
    EXPECT_EQ(std::ranges::count(out_, '\n'), 1) << out_;
    KeepForTheSchema(out_);
    return json::parse(out_, nullptr, false);
  }

  // Of a run that ended early: everything is given back, and its journal and the next run say so.
  void ExpectAllIsClosed() {
    gate_.Close();
    prefix_ = "";
    EXPECT_EQ(json::parse(folder_.Read("orvhost.run"), nullptr, false)["ended"], true);
    EXPECT_FALSE(std::filesystem::exists(folder_ / ".orvhost-package"));
    const json last = RunJson("history")["runs"].back();
    EXPECT_EQ(last["verdict"], "interrupted");
    EXPECT_EQ(last["exit_code"], "11");
    const json next = RunJson("identify");
    EXPECT_EQ(next["exit_code"], 0);
    EXPECT_EQ(next["notices"], json::array());
  }

  void Reset() {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    told_ = posix::FileDescriptor(ends[0]);
    tellEnd_ = posix::FileDescriptor(ends[1]);
    fcntl(told_.Get(), F_SETFD, FD_CLOEXEC);
    prefix_ = "setsid ";
    streams_ = "> \"" + (folder_ / "out") + "\" 2>&" + std::to_string(tellEnd_.Get());
  }

  posix::FileDescriptor told_;
  posix::FileDescriptor tellEnd_;
};

TEST_F(Interrupted, EverySubcommandEndsAndChangesNothing) {
  for (const std::string& arguments :
       {Update(good_), std::string("identify"), "check \"" + good_ + "\"", std::string("apply --yes"),
        std::string("verify"), "report --out \"" + folder_.Path() + "\"", std::string("notify"),
        std::string("methods SendInfoToSVP")}) {
    SCOPED_TRACE(arguments);
    Reset();
    const auto before = Tree();
    const pid_t run = Start(arguments + " --json", "links-slowly");
    Send(run, SIGTERM);
    EXPECT_EQ(ExitCodeOf(run), kInterrupted);
    const json object = Object();
    EXPECT_EQ(object["verdict"], "interrupted");
    EXPECT_EQ(object["phase"], "plug-in");
    EXPECT_EQ(object["changed"], false);
    EXPECT_EQ(object["flash_touched"], false);
    EXPECT_EQ(object["error"]["cause"], "Interrupted by SIGTERM: nothing was changed.");
    EXPECT_EQ(NextLine(), "");
    EXPECT_EQ(Tree(), before);
    ExpectAllIsClosed();
  }
}

TEST_F(Interrupted, ByEachOfTheSignals) {
  for (const int number : kSignals) {
    Reset();
    const pid_t run = Start("identify", "links-slowly");
    Send(run, number);
    EXPECT_EQ(ExitCodeOf(run), kInterrupted);
    EXPECT_EQ(NextLine(), "orvhost identify: Interrupted by " + NameOf(number) + ": nothing was changed.");
    ExpectAllIsClosed();
  }
}

TEST_F(Interrupted, AnIgnoredSignalStaysSo) {
  prefix_ = "sh -c 'trap \"\" HUP; exec setsid \"$@\"' sh ";
  const pid_t run = StartAtTheGate("identify", "links-slowly");
  Send(run, SIGHUP);
  gate_.Close();
  EXPECT_EQ(ExitCodeOf(run), 0);
}

TEST_F(Interrupted, BeforeTheFlashItSaysWhatItLeaves) {
  const pid_t run = Start(Update(good_) + " --json", "waits-before");
  Send(run, SIGTERM);
  EXPECT_EQ(ExitCodeOf(run), kInterrupted);
  const json object = Object();
  EXPECT_EQ(object["phase"], "write");
  EXPECT_EQ(object["changed"], true);
  EXPECT_EQ(object["flash_touched"], false);
  EXPECT_EQ(object["error"]["cause"],
            "Interrupted by SIGTERM: the flash was not touched. The host's records may name the package already. The "
            "BMC's virtual media may be connected.");
  ExpectAllIsClosed();
  const json diagnosis = RunJson("diagnose");
  EXPECT_EQ(diagnosis["verdict"], "flash-untouched");
  EXPECT_EQ(diagnosis["facts"]["unknown"], "Whether the BMC's virtual media are connected.");
  EXPECT_EQ(RunJson(Update(good_))["verdict"], "updated");
}

// Whoever runs the flash tool: the host, the plug-in by system() or by a child of its own.
TEST_F(Interrupted, WhileTheFlashIsWrittenItGoesOnToItsEnd) {
  for (const char* words : {"flashes", "waits", "starts-tool", "forks-tool"}) {
    for (const int number : kSignals) {
      SCOPED_TRACE(words + NameOf(number));
      Reset();
      const pid_t run = Start(UpdateAgain(good_), words);
      Send(run, number);
      EXPECT_EQ(NextLine(), kAnswer);
      for (const int again : kSignals) {
        Send(run, again);
      }
      gate_.Close();
      EXPECT_EQ(ExitCodeOf(run), 0);
      EXPECT_EQ(NextLine().find("orvhost: This run was asked to end (SIG"), 0U);
      EXPECT_EQ(NextLine(), "");
      EXPECT_EQ(State().updateStatus, refhost::kUpdateWritten);
      prefix_ = "";
      EXPECT_EQ(RunJson("diagnose")["verdict"], "written");
    }
  }
}

TEST_F(Interrupted, BySignalsThatSeldomAskItGoesOnToItsEndToo) {
  for (const int number : kOtherSignals) {
    SCOPED_TRACE(NameOf(number));
    Reset();
    const pid_t run = Start(UpdateAgain(good_), "flashes");
    Send(run, number);
    EXPECT_EQ(NextLine(), kAnswer);
    gate_.Close();
    EXPECT_EQ(ExitCodeOf(run), 0);
  }
}

TEST_F(Interrupted, ProgramsFindItInTheNotices) {
  const pid_t run = Start(Update(good_) + " --json", "flashes");
  Send(run, SIGTERM);
  EXPECT_NE(NextLine(), "");
  gate_.Close();
  EXPECT_EQ(ExitCodeOf(run), 0);
  const json object = Object();
  EXPECT_EQ(object["verdict"], "updated");
  EXPECT_EQ(object["notices"], json::array({"This run was asked to end (SIGTERM) and went on to its end, because the "
                                            "flash is being written."}));
}

TEST_F(Interrupted, WhatTheBmcIsInTheMiddleOfIsFinished) {
  EXPECT_EQ(Run(Update(good_)), 0) << err_;
  prefix_ = "setsid ";
  pid_t run = Start("apply --yes", "arms-slowly");
  Send(run, SIGTERM);
  EXPECT_EQ(NextLine(), "orvhost: Interrupted: the BMC is being given its reboot flag; this run goes on to its end.");
  gate_.Close();
  EXPECT_EQ(ExitCodeOf(run), 0);
  Reset();
  run = Start("notify", "locks-slowly");
  Send(run, SIGTERM);
  EXPECT_EQ(NextLine(),
            "orvhost: Interrupted: a record is being sent to the service processor; this run goes on to its end.");
  gate_.Close();
  EXPECT_EQ(ExitCodeOf(run), 0);
}

TEST_F(Interrupted, AReaderThatGoesAwayEndsNoFlash) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  fcntl(ends[0], F_SETFD, FD_CLOEXEC);
  streams_ = ">&" + std::to_string(ends[1]) + " 2>&1";
  const pid_t run = Start(Update(good_), "flashes");
  close(ends[0]);
  close(ends[1]);
  gate_.Close();
  EXPECT_EQ(ExitCodeOf(run), 12);
  EXPECT_EQ(State().updateStatus, refhost::kUpdateWritten);
}

TEST_F(Interrupted, AReaderThatDoesNotReadKeepsNobody) {
  setenv("ORVHOST_LAB_SLEEP_SCALE", "0.001", 1);
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe2(ends.data(), O_NONBLOCK), 0);
  while (write(ends[1], "x", 1) == 1) {
  }
  fcntl(ends[1], F_SETFL, 0);
  streams_ = ">&" + std::to_string(ends[1]) + " 2> /dev/null";
  const pid_t run = Start("identify", "links-slowly");
  gate_.Close();
  Send(run, SIGTERM);
  EXPECT_NE(ExitCodeOf(run), 0);
  close(ends[0]);
  close(ends[1]);
}

class InterruptedAtTheQuestion : public OrvhostAtATerminal {
 protected:
  InterruptedAtTheQuestion() { prefix_ = "exec "; }  // without a shell that the keys would end
};

TEST_F(InterruptedAtTheQuestion, NothingIsHalted) {
  ASSERT_EQ(Run(Update(good_)), 0) << err_;
  const auto before = Tree();
  for (const char* key : {"\x03", "\x1c"}) {
    EXPECT_EQ(RunAtTerminal("apply", key), kInterrupted) << screen_;
    EXPECT_NE(screen_.find(": nothing was changed."), std::string::npos) << screen_;
    EXPECT_EQ(Tree(), before);
  }
  EXPECT_EQ(RunJson("history")["runs"].back()["verdict"], "interrupted");
}

}  // namespace
}  // namespace orvhost
