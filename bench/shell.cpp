#include "bench/shell.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>

#include "host/DllCommon.h"

namespace bench {

namespace {

[[noreturn]] void Fail(const std::string& command) {
  std::fprintf(stderr, "cannot run: %s\n", command.c_str());
  std::exit(1);
}

}  // namespace

void RunByShell(std::string command) {
  std::array<std::string, 2> words{"sh", "-c"};
  const std::array<char*, 4> arguments{words[0].data(), words[1].data(), command.data(), nullptr};
  pid_t pid = 0;
  int status = -1;
  if (posix_spawn(&pid, "/bin/sh", nullptr, nullptr, arguments.data(), environ) != 0 ||
      waitpid(pid, &status, 0) != pid || status != 0) {
    Fail(command);
  }
}

void RunByHost(const std::string& command) {
  constexpr unsigned long kTimeout = 350000;  // milliseconds, as the plug-in's
  unsigned long exitCode = 0;
  if (CCommon_Information::ExecForeignModule(command, "", "", &exitCode, kTimeout) != 0 || exitCode != 0) {
    Fail(command);
  }
}

}  // namespace bench
