// Runs a command line without the plug-in.
#ifndef BENCH_SHELL_H
#define BENCH_SHELL_H

#include <string>

namespace bench {

// Runs `command` by `sh -c` with nothing around it. Ends this program when it fails.
void RunByShell(std::string command);

// The same by the service that the plug-in uses.
void RunByHost(const std::string& command);

}  // namespace bench

#endif  // BENCH_SHELL_H
