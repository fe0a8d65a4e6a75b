// Runs a command line by the shell and nothing around it: what a bare request costs.
#ifndef BENCH_SHELL_H
#define BENCH_SHELL_H

#include <string>

namespace bench {

// Runs `command` by `sh -c` and waits for its end. Ends this program when the command fails.
void RunByShell(std::string command);

}  // namespace bench

#endif  // BENCH_SHELL_H
