#include "ipmi/command_runner.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "host/Results.h"
#include "ipmi/trace.h"

namespace kestrel {

namespace {

constexpr const char* kConsole = "/dev/console";
constexpr unsigned long kNoExitStatus = 255;

// Not _exit: a host's logger may hold the child's lines back until then.
[[noreturn]] void EndChild() {
  std::exit(1);
}

bool Redirect(int descriptor, int target) {
  if (descriptor < 0) {
    return false;
  }
  dup2(descriptor, target);
  if (descriptor != target) {
    close(descriptor);
  }
  return true;
}

bool RedirectToConsole(int target) {
  CTraceUtility::WriteDebug(kChannel, kInfo, "open [%s]", kConsole);
  return Redirect(open(kConsole, O_WRONLY), target);
}

[[noreturn]] void RunChild(const std::string& command, const std::string& outputFile, const std::string& workDir) {
  if (!workDir.empty() && chdir(workDir.c_str()) != 0) {
    EndChild();
  }
  if (outputFile.empty()) {
    if (!RedirectToConsole(STDOUT_FILENO)) {
      CTraceUtility::WriteDebug(kChannel, kError, "failed to open [%s] 1 ", kConsole);
      EndChild();
    }
  } else if (!Redirect(open(outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666), STDOUT_FILENO)) {
    EndChild();
  }
  if (!RedirectToConsole(STDERR_FILENO)) {
    CTraceUtility::WriteDebug(kChannel, kError, "failed to open [%s] 2 ", kConsole);
    EndChild();
  }
  execlp("sh", "sh", "-c", command.c_str(), nullptr);
  // The wording is older than the shell; readers of the trace match on it.
  CTraceUtility::WriteDebug(kChannel, kError, "failed to exec esxclip [%s]", command.c_str());
  EndChild();
}

// Polls once a second until the child has changed its state or the limit has passed; false for the latter.
bool WaitWithLimit(pid_t child, int* status, unsigned long timeoutMs) {
  auto seconds = static_cast<long>(timeoutMs / 1000);
  while (waitpid(child, status, WNOHANG | WUNTRACED | WCONTINUED) == 0) {
    if (--seconds < 0) {
      Sleep(timeoutMs % 1000);
      return false;
    }
    Sleep(1000);
  }
  return true;
}

}  // namespace

int RunToConsole(const std::string& command, const std::string& outputFile, const std::string& workDir,
                 unsigned long* exitCode, unsigned long timeoutMs) {
  *exitCode = kNoExitStatus;
  if (command.empty()) {
    return host::kCommandNotRun;
  }
  if (!workDir.empty() && !CCommon_Information::MyPathFileExists(workDir)) {
    return host::kCommandNotRun;
  }
  const pid_t child = fork();
  if (child < 0) {
    return host::kCommandNotRun;
  }
  if (child == 0) {
    RunChild(command, outputFile, workDir);
  }
  int status = -1;  // stays so when the wait itself fails, and then counts as a command that did not end by itself
  if (timeoutMs == host::kNoTimeLimit) {
    waitpid(child, &status, WUNTRACED | WCONTINUED);
  } else if (!WaitWithLimit(child, &status, timeoutMs)) {
    return host::kCommandTimedOut;
  }
  if ((status & 0x7f) != 0) {
    return host::kCommandNotRun;
  }
  *exitCode = static_cast<unsigned long>(WEXITSTATUS(status));
  return host::kCommandRan;
}

}  // namespace kestrel
