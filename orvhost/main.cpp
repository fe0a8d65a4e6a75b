// orvhost: drives a plug-in through the reference host's libraries.
#include <unistd.h>

#include <csignal>
#include <string>

#include "orvhost/program.h"
#include "orvhost/run/failure.h"
#include "posix/file_descriptor.h"
#include "posix/last_error.h"
#include "posix/start_of_program.h"

namespace orvhost {

namespace {

// Nothing may be opened, so nothing but the reason is stated.
int CannotStart() {
  const std::string text = "orvhost: cannot start: its standard input, output and error cannot be set up (" +
                           posix::LastError() + "); /dev/null and /proc are needed. Nothing was done.\n";
  (void)posix::WriteAll(STDERR_FILENO, text.data(), text.size());
  return static_cast<int>(ExitCode::kUnexpected);
}

}  // namespace
}  // namespace orvhost

int main(int argc, char** argv) {
  if (!posix::SettleInheritance()) {
    return orvhost::CannotStart();
  }
  // A reader of the output that goes away must not end a run that writes to a device.
  signal(SIGPIPE, SIG_IGN);
  signal(SIGCHLD, SIG_DFL);  // where the caller ignores it, how a command ended would be lost
  signal(SIGXFSZ, SIG_IGN);  // nor may a limit on the size of its journal
  return orvhost::RunProgram(argc, argv);
}
