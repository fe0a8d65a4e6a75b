// What programs write to the standard error while a run is at work: kept, shown with the failure, and not printed.
#include "orvhost/run/error_output.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "orvhost/journal/journal_folder.h"
#include "tests/orvhost/support/orvhost_fixture.h"

namespace orvhost {

namespace {

TEST(ErrorOutputOfPrograms, IsKeptWhoeverStartsThem) {
  ErrorOutput output;
  output.Begin();
  EXPECT_EQ(output.Take().text, "");
  EXPECT_EQ(std::system("echo one >&2"), 0);
  unsigned long exitCode = 99;
  EXPECT_EQ(CCommon_Information::ExecForeignModule("echo two >&2", "", "", &exitCode, ~0UL), 0);
  const ErrorText taken = output.Take();
  EXPECT_EQ(taken.text, "one\ntwo\n");
  EXPECT_FALSE(taken.isCut);
  EXPECT_EQ(output.Take().text, "");
}

TEST(ErrorOutputOfPrograms, OfMuchTheEndIsKept) {
  ErrorOutput output;
  output.Begin();
  EXPECT_EQ(std::system("head -c 100000 /dev/zero | tr '\\0' x >&2; echo busy >&2"), 0);
  const ErrorText taken = output.Take();
  EXPECT_EQ(taken.text, std::string(kLongestErrorText - 5, 'x') + "busy\n");
  EXPECT_TRUE(taken.isCut);
  EXPECT_EQ(std::system("echo more >&2"), 0);
  EXPECT_EQ(output.Take().text, "more\n");
}

TEST(ErrorOutputOfPrograms, OfVeryMuchTheMemoryIsGivenBackMeanwhile) {
  constexpr off_t kWritten = 1024L * 1024 * 1024;
  constexpr off_t kBound = 512L * 1024 * 1024;
  ErrorOutput output;
  output.Begin();
  output.KeepSmall();
  const pid_t program = fork();
  if (program == 0) {
    execl("/bin/sh", "sh", "-c", "head -c 1024M /dev/zero >&2 && echo done >&2", nullptr);
    _exit(99);
  }
  off_t most = 0;
  int status = -1;
  struct stat file {};
  while (waitpid(program, &status, WNOHANG) == 0 && most <= kBound) {
    EXPECT_EQ(fstat(STDERR_FILENO, &file), 0);
    most = std::max<off_t>(most, file.st_blocks * 512);
  }
  if (most > kBound) {
    kill(program, SIGKILL);
    waitpid(program, &status, 0);
  }
  EXPECT_LE(most, kBound);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(fstat(STDERR_FILENO, &file), 0);
  EXPECT_GE(file.st_size, kWritten);
  const ErrorText taken = output.Take();
  EXPECT_TRUE(taken.text.ends_with("done\n"));
  EXPECT_TRUE(taken.isCut);
}

TEST(ErrorOutputOfPrograms, AProgramMayOpenItAnew) {
  ErrorOutput output;
  output.Begin();
  EXPECT_EQ(std::system("echo a long line >&2"), 0);
  EXPECT_EQ(output.Take().text, "a long line\n");
  EXPECT_EQ(std::system("echo new > /dev/stderr"), 0);
  EXPECT_EQ(output.Take().text, "new\n");
}

TEST(ErrorOutputOfPrograms, AChildOfThisProcessTakesItsOwn) {
  ErrorOutput output;
  output.Begin();
  const pid_t child = fork();
  if (child == 0) {
    const bool wrote = std::system("echo child >&2") == 0;
    _exit(wrote && output.Take().text == "child\n" ? 0 : 1);
  }
  int status = -1;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(output.Take().text, "");
}

TEST(ErrorOutputOfPrograms, AtTheEndTheStandardErrorIsWhatItWas) {
  struct stat before {};
  struct stat during {};
  struct stat after {};
  EXPECT_EQ(fstat(STDERR_FILENO, &before), 0);
  ErrorOutput output;
  output.Begin();
  EXPECT_EQ(fstat(STDERR_FILENO, &during), 0);
  output.End();
  EXPECT_EQ(fstat(STDERR_FILENO, &after), 0);
  EXPECT_NE(std::pair(before.st_dev, before.st_ino), std::pair(during.st_dev, during.st_ino));
  EXPECT_EQ(std::pair(before.st_dev, before.st_ino), std::pair(after.st_dev, after.st_ino));
  EXPECT_EQ(output.Take().text, "");
}

class ErrorOutputOfARun : public OrvhostAtATerminal {
 protected:
  ErrorOutputOfARun() { SetCommand("printf 'Node %s\\n' busy >&2; exit 1"); }
  ~ErrorOutputOfARun() override { unsetenv("TEST_PLUGIN_COMMAND"); }

  // The plug-in's update is this command; it fails, and the plug-in tidies up.
  void SetCommand(const std::string& command) {
    command_ = command;
    setenv("TEST_PLUGIN_COMMAND", command.c_str(), 1);
    Ask("complains");
  }

  // What the journal of the last run has of it.
  std::vector<json> Kept() const {
    std::vector<json> kept;
    std::istringstream text(folder_.Read("journal/" + ListJournals(folder_ / "journal").runs.back() + ".jsonl"));
    for (std::string line; std::getline(text, line);) {
      const json entry = json::parse(line);
      if (entry["kind"] == "error_output") {
        kept.push_back({{"n", entry["n"]}, {"text", entry["text"]}, {"cut", entry["cut"]}});
      }
    }
    return kept;
  }

  std::string command_;
};

TEST_F(ErrorOutputOfARun, TheEvidenceIsOfTheCommandThatFailed) {
  const json evidence = RunJson(Update(good_))["error"]["evidence"];
  EXPECT_EQ(evidence["command"], command_);
  EXPECT_EQ(evidence["error_output"], json::array({"Node busy"}));
}

TEST_F(ErrorOutputOfARun, TheJournalHasItOfEveryCommand) {
  EXPECT_EQ(Run(Update(good_)), 7);
  EXPECT_EQ(Kept(), (std::vector<json>{{{"n", 1}, {"text", "Node busy\n"}, {"cut", false}},
                                       {{"n", nullptr}, {"text", "tidying up\n"}, {"cut", false}},
                                       {{"n", 2}, {"text", "all is well\n"}, {"cut", false}}}));
  const json shown = RunJson("show last")["timeline"];
  EXPECT_TRUE(std::ranges::any_of(shown, [](const json& line) {
    return line["kind"] == "error_output" && line["text"] == "  error output: Node busy";
  })) << shown;
}

TEST_F(ErrorOutputOfARun, APluginThatAbortsIsHeard) {
  Ask("aborts");
  EXPECT_EQ(Run(Update(good_)), 128 + SIGABRT);
  EXPECT_EQ(err_.find("last words\n"), 0U) << err_;
}

TEST_F(ErrorOutputOfARun, MuchOfItIsCutAndMarked) {
  SetCommand("seq 1 2000 >&2; exit 1");
  EXPECT_EQ(RunJson(Update(good_))["error"]["evidence"]["error_output"],
            json::array({"[...]", "1996", "1997", "1998", "1999", "2000"}));
  ASSERT_EQ(Kept().size(), 3U);
  EXPECT_EQ(Kept()[0]["cut"], true);
  EXPECT_EQ(Kept()[0]["text"].get<std::string>().size(), kLongestErrorText);
}

TEST_F(ErrorOutputOfARun, TheTerminalShowsItWithTheFailureOnly) {
  EXPECT_EQ(RunAtTerminal(Update(good_), ""), 7);
  EXPECT_NE(screen_.find("  error output:    Node busy\r\n  flash:"), std::string::npos) << screen_;
  EXPECT_EQ(screen_.find("Node busy"), screen_.rfind("Node busy")) << screen_;
  EXPECT_EQ(screen_.find("tidying up"), std::string::npos) << screen_;
}

TEST_F(ErrorOutputOfARun, WhoWantsTheTraceSeesItAtOnce) {
  EXPECT_EQ(Run(Update(good_) + " -v"), 7);
  const std::size_t first = err_.find("\nNode busy\n");
  ASSERT_NE(first, std::string::npos) << err_;
  EXPECT_LT(err_.find("Execute command ["), first);
  EXPECT_LT(first, err_.find("Failed to execute"));
  EXPECT_NE(err_.find("\ntidying up\n"), std::string::npos) << err_;
}

}  // namespace
}  // namespace orvhost
