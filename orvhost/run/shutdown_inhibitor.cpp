#include "orvhost/run/shutdown_inhibitor.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <vector>

#include "orvhost/run/machine.h"
#include "orvhost/run/run_processes.h"

namespace orvhost {

namespace {

constexpr const char* kProgram = "/usr/bin/systemd-inhibit";
constexpr int kForTheLockMs = 5000;
constexpr int kForTheEndMs = 2000;

struct Pipe {
  posix::FileDescriptor reader;
  posix::FileDescriptor writer;
};

bool MakePipe(Pipe* made) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    return false;
  }
  made->reader = posix::FileDescriptor(ends[0]);
  made->writer = posix::FileDescriptor(ends[1]);
  return true;
}

// The holder of the lock is nothing that the run leaves at work, so it goes without the run's mark.
std::vector<char*> EnvironmentOfHolder() {
  std::vector<char*> environment;
  const std::string mark = std::string(kRunVariable) + "=";
  for (char** each = environ; *each != nullptr; ++each) {
    if (!std::string_view(*each).starts_with(mark)) {
      environment.push_back(*each);
    }
  }
  environment.push_back(nullptr);
  return environment;
}

// Starts the process that asks for the lock, says so by a line, and waits for the end of its input. -1 on failure.
int Start(std::string program, const std::string& why, const Pipe& life, const Pipe& answer) {
  std::vector<std::string> words{
      std::move(program),  "--what=shutdown:sleep", "--who=orvhost", "--why=" + why, "--mode=block", "/bin/sh", "-c",
      "echo; exec cat >&2"};
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) {
    arguments.push_back(word.data());
  }
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions{};
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, life.reader.Get(), STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, answer.writer.Get(), STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawnattr_t attributes{};
  posix_spawnattr_init(&attributes);
  sigset_t signals;
  sigfillset(&signals);
  posix_spawnattr_setsigdefault(&attributes, &signals);
  sigemptyset(&signals);
  posix_spawnattr_setsigmask(&attributes, &signals);
  posix_spawnattr_setpgroup(&attributes, 0);  // the interrupt key is not for it
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  int holder = -1;
  if (posix_spawn(&holder, arguments[0], &actions, &attributes, arguments.data(), EnvironmentOfHolder().data()) != 0) {
    holder = -1;
  }
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  return holder;
}

bool IsReadableWithin(int descriptor, int milliseconds) {
  pollfd source{descriptor, POLLIN, 0};
  int ready = 0;
  while ((ready = poll(&source, 1, milliseconds)) < 0 && errno == EINTR) {
  }
  return ready > 0;
}

}  // namespace

ShutdownInhibitor::ShutdownInhibitor(const std::string& why) {
  const std::string program = SystemFile(kProgram);
  Pipe life;
  Pipe answer;
  if (program.empty() || access(program.c_str(), X_OK) != 0 || !MakePipe(&life) || !MakePipe(&answer)) {
    return;
  }
  wasAsked_ = true;
  holder_ = Start(program, why, life, answer);
  if (holder_ < 0) {
    return;
  }
  lifeline_ = std::move(life.writer);
  answer.writer.Close();
  char line = 0;
  isHeld_ = IsReadableWithin(answer.reader.Get(), kForTheLockMs) && read(answer.reader.Get(), &line, 1) == 1;
  if (isHeld_) {
    fcntl(lifeline_.Get(), F_SETFD, 0);  // from here on all that is started has it
  }
}

ShutdownInhibitor::~ShutdownInhibitor() {
  lifeline_.Close();
  if (holder_ < 0) {
    return;
  }
  const posix::FileDescriptor end(static_cast<int>(syscall(SYS_pidfd_open, holder_, 0U)));
  if (end.IsOpen() && IsReadableWithin(end.Get(), kForTheEndMs)) {
    waitpid(holder_, nullptr, 0);
  }
}

}  // namespace orvhost
