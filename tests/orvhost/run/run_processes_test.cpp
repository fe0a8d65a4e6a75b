// What a run left is seen at every moment.
#include "orvhost/run/run_processes.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <string>

namespace orvhost {

namespace {

// Becomes another program without end: the kernel shows no environment for a moment each time.
class Changing {
 public:
  explicit Changing(const std::string& mark) : mark_(std::string(kRunVariable) + "=" + mark) {
    std::array<char*, 2> environment = {mark_.data(), nullptr};
    std::array<char*, 4> words = {shell_.data(), option_.data(), text_.data(), nullptr};
    pid_ = fork();
    if (pid_ == 0) {
      execve(shell_.c_str(), words.data(), environment.data());
      _exit(127);
    }
  }
  Changing(const Changing&) = delete;
  Changing& operator=(const Changing&) = delete;
  ~Changing() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }

  pid_t pid() const { return pid_; }

 private:
  std::string shell_ = "/bin/sh";
  std::string option_ = "-c";
  std::string text_ = "text='exec /bin/sh -c \"$text\"'; export text; eval \"$text\"";
  std::string mark_;
  pid_t pid_ = -1;
};

bool IsSeen(const WorkingProcesses& processes, pid_t pid) {
  return std::ranges::any_of(processes.found, [pid](const WorkingProcess& each) { return each.pid == pid; });
}

TEST(RunProcesses, OneThatBecomesAnotherProgramIsSeenAtEveryMoment) {
  const Changing process("/nowhere/run-1");
  while (!IsSeen(ProcessesOfRun("/nowhere", "run-1"), process.pid())) {
    ASSERT_EQ(waitpid(process.pid(), nullptr, WNOHANG), 0);
  }
  for (int i = 0; i < 200; ++i) {
    const WorkingProcesses processes = ProcessesOfRun("/nowhere", "run-1");
    ASSERT_TRUE(IsSeen(processes, process.pid())) << "look " << i;
    ASSERT_EQ(processes.unseen, "");
  }
}

TEST(RunProcesses, OneThatHasEndedAndOneWithoutAnEnvironmentAreNotWaitedFor) {
  const pid_t ended = fork();
  if (ended == 0) {
    _exit(0);
  }
  siginfo_t info = {};
  ASSERT_EQ(waitid(P_PID, static_cast<id_t>(ended), &info, WEXITED | WNOWAIT), 0);
  const pid_t bare = fork();
  if (bare == 0) {
    execle("/bin/sleep", "sleep", "600", nullptr, std::array<char*, 1>{nullptr}.data());
    _exit(127);
  }
  const WorkingProcesses processes = ProcessesOfRun("/nowhere", "run-1");
  EXPECT_FALSE(IsSeen(processes, ended));
  EXPECT_FALSE(IsSeen(processes, bare));
  EXPECT_EQ(processes.unseen, "");
  kill(bare, SIGKILL);
  EXPECT_EQ(waitpid(bare, nullptr, 0), bare);
  EXPECT_EQ(waitpid(ended, nullptr, 0), ended);
}

}  // namespace

}  // namespace orvhost
