// Base of the tests in which a run of the tool is at work, or is killed, while the test goes on. The run waits in the
// plug-in at a gate, a named pipe, so that nobody has to sleep.
#ifndef TESTS_ORVHOST_SUPPORT_BACKGROUND_ORVHOST_H
#define TESTS_ORVHOST_SUPPORT_BACKGROUND_ORVHOST_H

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>

#include <csignal>

#include "posix/file_descriptor.h"
#include "tests/orvhost/support/orvhost_fixture.h"

namespace orvhost {

class BackgroundOrvhost : public Orvhost {
 protected:
  BackgroundOrvhost() {
    // What a killed run leaves behind becomes a child of this process, which can then wait for its end.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    EXPECT_EQ(mkfifo((folder_ / "gate").c_str(), 0600), 0);
    setenv("TEST_PLUGIN_GATE", (folder_ / "gate").c_str(), 1);
  }
  ~BackgroundOrvhost() override {
    gate_.Close();
    ReapAll();
    prctl(PR_SET_CHILD_SUBREAPER, 0);
    unsetenv("TEST_PLUGIN_GATE");
  }

  // Starts a run whose plug-in is asked for `words`, and returns when it waits at the gate.
  pid_t StartAtTheGate(const std::string& arguments, const std::string& words) {
    Ask(words);
    const std::string command = "exec " + CommandLine(arguments) + " " + streams_;
    const pid_t pid = fork();
    if (pid == 0) {
      execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
      _exit(99);
    }
    gate_ = posix::FileDescriptor(open((folder_ / "gate").c_str(), O_WRONLY | O_CLOEXEC));  // waits for the reader
    unsetenv("TEST_PLUGIN");
    return pid;
  }

  static void Kill(pid_t pid) {
    EXPECT_EQ(kill(pid, SIGKILL), 0);
    EXPECT_EQ(waitpid(pid, nullptr, 0), pid);
  }

  // Lets everything go on that waits at the gate, and waits for its end.
  void OpenTheGate() {
    gate_.Close();
    ReapAll();
  }

  static void ReapAll() {
    while (waitpid(-1, nullptr, 0) > 0) {
    }
  }

  std::string streams_ = "> /dev/null 2>&1";  // of a run in the background
  posix::FileDescriptor gate_;
};

}  // namespace orvhost

#endif  // TESTS_ORVHOST_SUPPORT_BACKGROUND_ORVHOST_H
