// Real shell commands with their output on a console that is a file; the passing of time is scripted.
#include "ipmi/command_runner.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <list>
#include <set>
#include <sstream>

#include "tests/support/closed_stream.h"
#include "tests/support/scripted_host.h"

namespace kestrel {

namespace {

constexpr unsigned long kNoLimit = ~0UL;

class CommandRunner : public testing::Test {
 protected:
  int Run(const std::string& command, unsigned long timeoutMs = kNoLimit, const std::string& outputFile = "",
          const std::string& workDir = "") {
    return RunToConsole(command, outputFile, workDir, &exitCode_, timeoutMs);
  }
  std::string Content(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(host_.InstallPath() / name).rdbuf();
    return text.str();
  }
  std::string Path(const std::string& name) const { return (host_.InstallPath() / name).string(); }
  // What this process has done, and what its child has before it became the command.
  void ExpectJournals(const Lines& parent, const Lines& child) {
    EXPECT_TRUE(SameLines(host_.TakeJournal(), parent));
    EXPECT_TRUE(SameLines(host_.TakeChildJournal(), child));
  }
  // Numbers of the descriptors with which a command starts; what itself opens to look is closed again by then.
  std::set<int> DescriptorsOfACommand() {
    const char* const list =
        "for descriptor in /proc/$$/fd/*; do\n"
        "  if [ -e \"$descriptor\" ]; then echo \"${descriptor##*/}\"; fi\n"
        "done";
    EXPECT_EQ(Run(list, kNoLimit, Path("descriptors")), 0);
    std::istringstream numbers(Content("descriptors"));
    return {std::istream_iterator<int>(numbers), std::istream_iterator<int>()};
  }
  // Those of this process that are left open for a command, but for the streams.
  static std::set<int> LeftOpen() {
    std::set<int> left;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      const int descriptor = std::stoi(entry.path().filename());
      if (descriptor > STDERR_FILENO && (fcntl(descriptor, F_GETFD) & FD_CLOEXEC) == 0) {
        left.insert(descriptor);
      }
    }
    return left;
  }
  // The end of a child that nobody has waited for.
  int StatusOfChild() const {
    int status = -1;
    EXPECT_EQ(waitpid(host_.lastChild, &status, 0), host_.lastChild);
    return status;
  }

  ScriptedHost host_;
  unsigned long exitCode_ = 77;
};

const Lines kChildLines = {"1 open [/dev/console]", "1 open [/dev/console]"};
const Lines kErrorsOnly = "1 open [/dev/console]";  // the output goes to a file

TEST_F(CommandRunner, BothOutputsGoToTheConsole) {
  EXPECT_EQ(Run("echo out; echo err >&2"), 0);
  EXPECT_EQ(exitCode_, 0U);
  EXPECT_EQ(Content("console"), "out\nerr\n");
  ExpectJournals({}, kChildLines);
}

TEST_F(CommandRunner, OutputMayGoToAFileWhichIsTruncated) {
  std::ofstream(Path("output")) << "something longer than the new content";
  EXPECT_EQ(Run("echo out; echo err >&2", kNoLimit, Path("output")), 0);
  EXPECT_EQ(exitCode_, 0U);
  EXPECT_EQ(Content("output"), "out\n");
  EXPECT_EQ(Content("console"), "err\n");
  ExpectJournals({}, kErrorsOnly);
}

TEST_F(CommandRunner, TheProcessMaskDecidesWhoMayReadTheOutputFile) {
  struct Case {
    mode_t mask;
    mode_t mode;
  };
  for (const auto& [mask, mode] : {Case{022, 0644}, Case{027, 0640}, Case{0, 0666}}) {
    SCOPED_TRACE(mask);
    std::filesystem::remove(Path("output"));
    const mode_t before = umask(mask);
    EXPECT_EQ(Run("true", kNoLimit, Path("output")), 0);
    umask(before);
    struct stat file {};
    ASSERT_EQ(stat(Path("output").c_str(), &file), 0);
    EXPECT_EQ(file.st_mode & 07777U, mode);
    ExpectJournals({}, kErrorsOnly);
  }
}

TEST_F(CommandRunner, FailsWithExitStatusOneAndNoLineWhenTheOutputFileCannotBeOpened) {
  EXPECT_EQ(Run("echo out", kNoLimit, Path("missing/output")), 0);
  EXPECT_EQ(exitCode_, 1U);
  ExpectJournals({}, {});
}

TEST_F(CommandRunner, TheShellGoesByItsOwnName) {
  EXPECT_EQ(Run("echo \"$0\"", kNoLimit, Path("output")), 0);
  EXPECT_EQ(Content("output"), "sh\n");
  ExpectJournals({}, kErrorsOnly);
}

TEST_F(CommandRunner, ACommandGetsTheThreeStreamsAndNoOtherFileOfTheRunner) {
  std::set<int> expected = LeftOpen();
  expected.insert({STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO});
  EXPECT_EQ(DescriptorsOfACommand(), expected);
  ExpectJournals({}, kErrorsOnly);
}

TEST_F(CommandRunner, OutputsGoWhereTheyBelongWithAnyStreamsClosedInTheHost) {
  for (const std::list<int>& closed : {std::list{0}, {1}, {2}, {0, 1}, {0, 2}, {1, 2}, {0, 1, 2}}) {
    SCOPED_TRACE(testing::PrintToString(closed));
    int onConsole = -1;
    int inFile = -1;
    std::set<int> descriptors;
    {
      std::list<ClosedStream> streams;
      for (const int stream : closed) {
        streams.emplace_back(stream);
      }
      onConsole = Run("echo out; echo err >&2");
      inFile = Run("echo out; echo err >&2", kNoLimit, Path("output"));
      descriptors = DescriptorsOfACommand();
    }
    EXPECT_EQ(onConsole, 0);
    EXPECT_EQ(inFile, 0);
    EXPECT_EQ(exitCode_, 0U);
    EXPECT_EQ(Content("console"), "out\nerr\nerr\n");
    EXPECT_EQ(Content("output"), "out\n");
    std::set<int> expected = LeftOpen();
    expected.insert({STDOUT_FILENO, STDERR_FILENO});
    if (closed.front() != STDIN_FILENO) {
      expected.insert(STDIN_FILENO);
    }
    EXPECT_EQ(descriptors, expected);
    ExpectJournals({}, {kChildLines, kErrorsOnly, kErrorsOnly});
    std::filesystem::remove(Path("console"));
  }
}

TEST_F(CommandRunner, RunsInTheWorkingDirectory) {
  EXPECT_EQ(Run("pwd -P", kNoLimit, Path("output"), Path("tmp")), 0);
  EXPECT_EQ(Content("output"), std::filesystem::canonical(Path("tmp")).string() + "\n");
  EXPECT_EQ(exitCode_, 0U);
  ExpectJournals("exists $I/tmp", kErrorsOnly);
}

TEST_F(CommandRunner, FailsWithoutItsWorkingDirectory) {
  EXPECT_EQ(Run("true", kNoLimit, "", Path("missing")), 1);
  EXPECT_EQ(exitCode_, 255U);
  ExpectJournals("exists $I/missing", {});
}

TEST_F(CommandRunner, FailsWithExitStatusOneWhenTheWorkingDirectoryVanishes) {
  host_.readableFiles = {"$I/vanished"};
  EXPECT_EQ(Run("true", kNoLimit, "", Path("vanished")), 0);
  EXPECT_EQ(exitCode_, 1U);
  ExpectJournals("exists $I/vanished", {});
}

TEST_F(CommandRunner, FailsWithoutACommand) {
  EXPECT_EQ(Run(""), 1);
  EXPECT_EQ(exitCode_, 255U);
  EXPECT_EQ(Run("", kNoLimit, "", Path("tmp")), 1);  // nor is its folder looked for
  ExpectJournals({}, {});
}

TEST_F(CommandRunner, FailsWhenTheForkFails) {
  host_.forkFails = true;
  EXPECT_EQ(Run("true"), 1);
  EXPECT_EQ(exitCode_, 255U);
  ExpectJournals({}, {});
}

TEST_F(CommandRunner, FailsWhenTheForkFailsAndWaitsForNoOtherChildOfTheHost) {
  for (const unsigned long limit : {900000UL, kNoLimit}) {
    SCOPED_TRACE(limit);
    host_.forkFails = false;
    const pid_t other = fork();
    if (other == 0) {
      _exit(3);
    }
    siginfo_t end{};
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(other), &end, WEXITED | WNOWAIT), 0);
    host_.forkFails = true;
    EXPECT_EQ(Run("true", limit), 1);
    EXPECT_EQ(exitCode_, 255U);
    EXPECT_EQ(host_.waitOptions, -1);
    EXPECT_EQ(WEXITSTATUS(StatusOfChild()), 3);  // it was there still
    host_.waitOptions = -1;
    ExpectJournals({}, {});
  }
}

TEST_F(CommandRunner, FailsWhenTheConsoleCannotBeOpenedForOutput) {
  host_.consoleOpens = {false};
  EXPECT_EQ(Run("true"), 0);
  EXPECT_EQ(exitCode_, 1U);
  ExpectJournals({}, {"1 open [/dev/console]", "2 failed to open [/dev/console] 1 "});
}

TEST_F(CommandRunner, FailsWhenTheConsoleCannotBeOpenedForErrors) {
  host_.consoleOpens = {true, false};
  EXPECT_EQ(Run("true"), 0);
  EXPECT_EQ(exitCode_, 1U);
  ExpectJournals({}, {kChildLines, "2 failed to open [/dev/console] 2 "});
}

TEST_F(CommandRunner, FailsWithExitStatusOneWithoutAShell) {
  const char* const before = std::getenv("PATH");
  ASSERT_NE(before, nullptr);
  const std::string path = before;
  setenv("PATH", Path("tmp").c_str(), 1);
  EXPECT_EQ(Run("true"), 0);
  setenv("PATH", path.c_str(), 1);
  EXPECT_EQ(exitCode_, 1U);
  ExpectJournals({}, {kChildLines, "2 failed to exec esxclip [true]"});
}

TEST_F(CommandRunner, TheExitStatusIsThatOfTheCommand) {
  EXPECT_EQ(Run("exit 3"), 0);
  EXPECT_EQ(exitCode_, 3U);
  EXPECT_EQ(Run("exit 254", 900000), 0);
  EXPECT_EQ(exitCode_, 254U);
  ExpectJournals({}, kChildLines.Times(2));
}

TEST_F(CommandRunner, FailsWhenASignalEndsTheCommand) {
  for (const int signal : {SIGHUP, SIGTERM}) {  // SIGHUP has the least number, 1
    for (const unsigned long limit : {900000UL, kNoLimit}) {
      SCOPED_TRACE(std::to_string(signal) + " within " + std::to_string(limit));
      auto* const before = std::signal(signal, SIG_DFL);  // whoever started the test may have it ignored
      EXPECT_EQ(Run("kill -" + std::to_string(signal) + " $$", limit), 1);
      std::signal(signal, before);
      EXPECT_EQ(exitCode_, 255U);
      ExpectJournals({}, kChildLines);
    }
  }
}

TEST_F(CommandRunner, FailsWhenTheCommandIsStoppedWithAndWithoutALimit) {
  for (const unsigned long limit : {900000UL, kNoLimit}) {
    SCOPED_TRACE(limit);
    EXPECT_EQ(Run("kill -STOP $$", limit), 1);
    EXPECT_EQ(exitCode_, 255U);
    EXPECT_EQ(host_.waitOptions, WUNTRACED | WCONTINUED | (limit == kNoLimit ? 0 : WNOHANG));
    ASSERT_EQ(kill(host_.lastChild, SIGKILL), 0);
    EXPECT_EQ(StatusOfChild(), SIGKILL);  // it was there still
    ExpectJournals({}, kChildLines);
  }
}

TEST_F(CommandRunner, FailsWhenTheWaitFailsWithAndWithoutALimit) {
  host_.waitFails = true;
  EXPECT_EQ(Run("true"), 1);
  EXPECT_EQ(exitCode_, 255U);
  EXPECT_EQ(Run("true", 900000), 1);
  EXPECT_EQ(exitCode_, 255U);
  ExpectJournals({}, kChildLines.Times(2));
}

TEST_F(CommandRunner, WaitsInStepsOfASecond) {
  host_.pollsWhileRunning = 2;
  EXPECT_EQ(Run("exit 4", 900000), 0);
  EXPECT_EQ(exitCode_, 4U);
  ExpectJournals({"sleep 1000", "sleep 1000"}, kChildLines);
}

TEST_F(CommandRunner, FailsAtALimitOfZeroAfterOnePoll) {
  host_.pollsWhileRunning = 1;
  EXPECT_EQ(Run("true", 0), 255);
  EXPECT_EQ(exitCode_, 255U);
  EXPECT_EQ(StatusOfChild(), 0);
  ExpectJournals("sleep 0", kChildLines);
}

TEST_F(CommandRunner, FailsAtItsLimitAfterTheLastMillisecondOfIt) {
  const struct {
    unsigned long limit;
    Lines sleeps;
  } cases[] = {
      {1, "sleep 1"},
      {999, "sleep 999"},
      {1000, {"sleep 1000", "sleep 0"}},
      {1500, {"sleep 1000", "sleep 500"}},
      {1999, {"sleep 1000", "sleep 999"}},
      {2000, {"sleep 1000", "sleep 1000", "sleep 0"}},
  };
  for (const auto& [limit, sleeps] : cases) {
    SCOPED_TRACE(limit);
    host_.pollsWhileRunning = static_cast<int>(sleeps.All().size());
    EXPECT_EQ(Run("true", limit), 255);
    EXPECT_EQ(exitCode_, 255U);
    EXPECT_EQ(host_.pollsWhileRunning, 0);
    EXPECT_EQ(StatusOfChild(), 0);
    ExpectJournals(sleeps, kChildLines);
  }
}

TEST_F(CommandRunner, ACommandThatOutlivesItsLimitRunsOn) {
  const std::string gate = Path("gate");
  ASSERT_EQ(mkfifo(gate.c_str(), 0600), 0);
  host_.pollsWhileRunning = 1;
  EXPECT_EQ(Run("read word < \"" + gate + "\"; echo $word", 0, Path("output")), 255);
  std::ofstream(gate) << "finished\n";
  EXPECT_EQ(StatusOfChild(), 0);
  EXPECT_EQ(Content("output"), "finished\n");
  ExpectJournals("sleep 0", kErrorsOnly);
}

}  // namespace
}  // namespace kestrel
