// Starts a program about whose calls the kernel asks another process.
#ifndef TESTS_ORVHOST_ATTACKS_WATCHED_PROGRAM_H
#define TESTS_ORVHOST_ATTACKS_WATCHED_PROGRAM_H

#include <sys/types.h>

namespace attacks {

struct WatchedProgram {
  pid_t process;
  int listener;  // the questions about the calls of watched_calls.h, of the program and of all that it starts
};

// Runs the program `words[0]` with `words`, which end with a null. Ends this process when that is not possible.
[[nodiscard]] WatchedProgram StartWatched(char** words);

}  // namespace attacks

#endif  // TESTS_ORVHOST_ATTACKS_WATCHED_PROGRAM_H
