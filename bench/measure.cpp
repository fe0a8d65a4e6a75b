#include "bench/measure.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <vector>

namespace bench {

namespace {

double Microseconds(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
}

double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace

Comparison Compare(int rounds, const std::function<void()>& bare, const std::function<void()>& ours) {
  bare();
  ours();
  std::vector<double> bareTimes;
  std::vector<double> ourTimes;
  for (int round = 0; round < rounds; ++round) {
    // Who goes first alternates too.
    if (round % 2 == 0) {
      bareTimes.push_back(Microseconds(bare));
      ourTimes.push_back(Microseconds(ours));
    } else {
      ourTimes.push_back(Microseconds(ours));
      bareTimes.push_back(Microseconds(bare));
    }
  }
  return {Median(bareTimes), Median(ourTimes)};
}

void PrintHeader() {
  std::printf("%-58s %12s %12s %7s\n", "", "bare us", "plug-in us", "ratio");
}

void PrintRow(const std::string& what, const Comparison& comparison) {
  std::printf("%-58s %12.1f %12.1f %7.3f\n", what.c_str(), comparison.bare, comparison.ours, comparison.Ratio());
  std::fflush(stdout);
}

void RunBare(const std::string& command) {
  std::array<std::string, 3> words{"sh", "-c", command};
  const std::array<char*, 4> arguments{words[0].data(), words[1].data(), words[2].data(), nullptr};
  pid_t pid = 0;
  int status = -1;
  if (posix_spawn(&pid, "/bin/sh", nullptr, nullptr, arguments.data(), environ) != 0 ||
      waitpid(pid, &status, 0) != pid || status != 0) {
    std::fprintf(stderr, "cannot run: %s\n", command.c_str());
    std::exit(1);
  }
}

double ResidentMiB() {
  long total = 0;
  long resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

}  // namespace bench
