// Many runs at once and many that are killed: one works on the BMC at a time, and what is left is said truthfully. How
// often, ORVHOST_ROUNDS and ORVHOST_KILLS in the environment say; a failure names the seed, which ORVHOST_SEED repeats.
#include <poll.h>
#include <sys/syscall.h>

#include <chrono>
#include <iostream>
#include <random>
#include <set>

#include "tests/orvhost/support/background_orvhost.h"

namespace orvhost {

namespace {

int Number(const char* name, int usual) {
  const char* text = getenv(name);
  return text != nullptr ? std::stoi(text) : usual;
}

class Crowd : public BackgroundOrvhost {
 protected:
  struct Result {
    int exitCode;
    json object;
  };

  pid_t Start(const std::string& arguments, const std::string& output) {
    const std::string command = "exec " + CommandLine(arguments + " --json") + " > \"" + output + "\" 2>&1";
    const pid_t pid = fork();
    if (pid == 0) {
      execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
      _exit(99);
    }
    return pid;
  }

  Result ResultOf(pid_t pid, const std::string& output) {
    int status = 0;
    EXPECT_EQ(waitpid(pid, &status, 0), pid);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status),
            json::parse(folder_.Read(output), nullptr, false)};
  }
};

TEST_F(Crowd, TwoRunsAtOnceFromTwoInstallPathsNeverMeet) {
  const std::vector<std::string> paths = {folder_ / "one", folder_ / "two"};
  for (std::size_t i = 0; i < paths.size(); ++i) {
    std::filesystem::create_directories(paths[i] + "/KV6KBMC");
    std::filesystem::copy_file(folder_ / kFlashTool, paths[i] + "/" + kFlashTool);
  }
  // Each flash is a begin and an end in one file; two at once would stand within each other.
  const std::string flashes = folder_.Write("flashes", "");
  setenv("TEST_PLUGIN_COMMAND", ("echo begin >> '" + flashes + "'; sleep 0.01; echo end >> '" + flashes + "'").c_str(),
         1);
  Ask("flashes-command unpacks");
  const std::vector<std::string> packages = {good_, folder_.Write("other.zip", refhost::Package("01-25"))};
  int written = 0;
  const int rounds = Number("ORVHOST_ROUNDS", 10);
  for (int round = 0; round < rounds; ++round) {
    std::vector<pid_t> runs;
    for (std::size_t i = 0; i < paths.size(); ++i) {
      installPath_ = paths[i];
      runs.push_back(Start(UpdateAgain(packages[i]), folder_ / ("out" + std::to_string(i))));
    }
    int done = 0;
    for (std::size_t i = 0; i < paths.size(); ++i) {
      const Result result = ResultOf(runs[i], "out" + std::to_string(i));
      SCOPED_TRACE("round " + std::to_string(round) + ", " + result.object.dump());
      if (result.exitCode == 0) {
        ++done;
        EXPECT_EQ(result.object["after"], i == 0 ? "01-24" : "01-25");
        EXPECT_EQ(result.object["facts"]["package_sha256"], Sha256Of(packages[i]));
        continue;
      }
      ASSERT_EQ(result.exitCode, 10);
      EXPECT_FALSE(result.object["flash_touched"]);
      const std::string cause = result.object["error"]["cause"];
      EXPECT_NE(cause.find("Another run is at work: run "), std::string::npos) << cause;
      EXPECT_NE(cause.find(" under " + paths[1 - i] + " (orvhost update, process " + std::to_string(runs[1 - i])),
                std::string::npos)
          << cause;
    }
    EXPECT_GE(done, 1) << "round " << round;
    written += done;
  }
  std::string expected;
  for (int i = 0; i < written; ++i) {
    expected += "begin\nend\n";
  }
  EXPECT_EQ(folder_.Read("flashes"), expected);
  unsetenv("TEST_PLUGIN_COMMAND");
}

TEST_F(Crowd, AKilledRunLeavesNothingUntrue) {
  const auto seed = static_cast<unsigned>(Number("ORVHOST_SEED", static_cast<int>(std::random_device()() >> 1U)));
  std::cout << "seed " << seed << "\n";
  std::mt19937 random(seed);
  const std::string flashed = machine_ / "flashed";  // what the device saw
  setenv("TEST_PLUGIN_COMMAND", ("touch '" + flashed + "'; sleep 0.02").c_str(), 1);
  Ask("flashes-command unpacks");
  const auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(Run(Update(good_)), 0) << err_;
  const auto whole = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
  std::set<std::string> names;  // all that may lie there
  for (const auto& [name, content] : Tree()) {
    names.insert(name);
  }
  const int kills = Number("ORVHOST_KILLS", 10);
  for (int number = 0; number < kills; ++number) {
    const auto moment = std::chrono::microseconds(std::uniform_int_distribution<long>(0, whole.count())(random));
    SCOPED_TRACE("seed " + std::to_string(seed) + ", kill " + std::to_string(number) + " after " +
                 std::to_string(moment.count()) + " us");
    const std::string earlier = RunJson("history")["runs"].back()["run_id"];  // old ones are dropped
    std::filesystem::remove(flashed);
    const pid_t run = Start(UpdateAgain(good_), folder_ / "out0");
    const posix::FileDescriptor ended(static_cast<int>(syscall(SYS_pidfd_open, run, 0)));
    pollfd wait{ended.Get(), POLLIN, 0};
    const timespec limit{0, moment.count() * 1000};
    const bool wasKilled = ppoll(&wait, 1, &limit, nullptr) == 0;
    kill(run, SIGKILL);
    EXPECT_EQ(waitpid(run, nullptr, 0), run);
    json runs = RunJson("history")["runs"];
    if (runs.back()["verdict"] == "at work") {  // what it had started holds the lock up to its own end
      ReapAll();
      runs = RunJson("history")["runs"];
    }
    if (runs.back()["run_id"] != earlier) {
      const std::string verdict = runs.back()["verdict"];
      const std::string exitCode = runs.back()["exit_code"];
      EXPECT_TRUE(exitCode.empty() ? verdict.starts_with("cut off in ") : verdict == "updated") << runs.back();
      EXPECT_TRUE(wasKilled || !exitCode.empty());
      const json diagnosis = RunJson("diagnose last");
      const bool flashBegan =
          folder_.Read("journal/" + runs.back()["run_id"].get<std::string>() + ".jsonl").find("\"Execute:") !=
          std::string::npos;
      EXPECT_EQ(diagnosis["flash_touched"], flashBegan) << diagnosis;
      EXPECT_TRUE(flashBegan || !std::filesystem::exists(flashed));
    } else {
      EXPECT_FALSE(std::filesystem::exists(flashed));
    }
    // What the run had started may be at work still, which the next one says; it ends by itself.
    json next = RunJson(UpdateAgain(good_));
    if (next["exit_code"] == 10) {
      EXPECT_NE(next["error"]["cause"].get<std::string>().find("still at work"), std::string::npos) << next;
      ReapAll();
      next = RunJson(UpdateAgain(good_));
    }
    EXPECT_EQ(next["verdict"], "updated") << next;
    EXPECT_LE(next["notices"].size(), 1U) << next;
    std::set<std::string> left;
    for (const auto& [name, content] : Tree()) {
      left.insert(name);
    }
    left.erase("out0");
    EXPECT_EQ(left, names);
  }
  unsetenv("TEST_PLUGIN_COMMAND");
}

}  // namespace
}  // namespace orvhost
