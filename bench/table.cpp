#include "bench/table.h"

#include <cstddef>
#include <cstdio>

namespace bench {

namespace {

constexpr double kPerMillisecond = 1000;

void PrintUpToCpu(const std::string& what, const Comparison& comparison) {
  std::printf("%-62s %11.2f %11.2f %7.3f %7.3f", what.c_str(), comparison.bare.wall / kPerMillisecond,
              comparison.ours.wall / kPerMillisecond, comparison.ratio, comparison.cpuRatio);
}

void PrintRuns(const Comparison& comparison) {
  std::printf(" %5s\n", comparison.passes == 0 ? "-" : std::to_string(comparison.passes).c_str());
  std::fflush(stdout);
}

}  // namespace

void PrintHeader() {
  std::printf("%-62s %11s %11s %7s %7s %7s %13s %5s\n", "", "bare ms", "plug-in ms", "ratio", "CPU", "own %",
              "own us/request", "runs");
}

void PrintRow(const std::string& what, const Comparison& comparison, int requests) {
  PrintUpToCpu(what, comparison);
  std::printf(" %7.1f %14.1f", 100 * comparison.ownShare, comparison.own / requests);
  PrintRuns(comparison);
}

void PrintRowWithoutOwn(const std::string& what, const Comparison& comparison) {
  PrintUpToCpu(what, comparison);
  std::printf(" %7s %14s", "-", "-");
  PrintRuns(comparison);
}

void PrintGrowth(const std::string& unit, const std::vector<Sized>& sizes) {
  std::printf("  each further %s, in us of elapsed time / of the plug-in's own processor time:", unit.c_str());
  for (std::size_t i = 1; i < sizes.size(); ++i) {
    const Comparison& from = sizes[i - 1].comparison;
    const Comparison& to = sizes[i].comparison;
    const double more = sizes[i].size - sizes[i - 1].size;
    const Cost own = (to.ours - to.hosted) - (from.ours - from.hosted);
    std::printf("%s %d to %d: %.2f / %.2f", i == 1 ? "" : ",", sizes[i - 1].size, sizes[i].size,
                (to.ours - from.ours).wall / more, own.cpu / more);
  }
  std::printf("\n");
}

}  // namespace bench
