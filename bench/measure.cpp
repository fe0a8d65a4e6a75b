#include "bench/measure.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <fstream>

namespace bench {

namespace {

constexpr double kTimePerComparison = 2e6;  // microseconds

double Microseconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
}

double Spent(int who) {
  rusage usage{};
  getrusage(who, &usage);
  return Microseconds(usage.ru_utime) + Microseconds(usage.ru_stime);
}

double MedianOver(const std::vector<Pass>& passes, const std::function<double(const Pass&)>& value) {
  std::vector<double> values;
  values.reserve(passes.size());
  for (const Pass& pass : passes) {
    values.push_back(value(pass));
  }
  return Median(std::move(values));
}

}  // namespace

Cost operator+(Cost left, Cost right) {
  return {left.wall + right.wall, left.cpu + right.cpu};
}

Cost operator-(Cost left, Cost right) {
  return {left.wall - right.wall, left.cpu - right.cpu};
}

Cost operator*(double factor, Cost cost) {
  return {factor * cost.wall, factor * cost.cpu};
}

Cost Now() {
  const auto wall = std::chrono::steady_clock::now().time_since_epoch();
  return {std::chrono::duration<double, std::micro>(wall).count(), Spent(RUSAGE_SELF) + Spent(RUSAGE_CHILDREN)};
}

Comparison Summary(const std::vector<Pass>& passes) {
  const auto cost = [&passes](Cost Pass::*side) -> Cost {
    return {MedianOver(passes, [side](const Pass& pass) { return (pass.*side).wall; }),
            MedianOver(passes, [side](const Pass& pass) { return (pass.*side).cpu; })};
  };
  return {cost(&Pass::bare),
          cost(&Pass::hosted),
          cost(&Pass::ours),
          MedianOver(passes, [](const Pass& pass) { return pass.ours.wall / pass.bare.wall; }),
          MedianOver(passes, [](const Pass& pass) { return pass.ours.cpu / pass.bare.cpu; }),
          MedianOver(passes, [](const Pass& pass) { return pass.ours.cpu - pass.hosted.cpu; }),
          MedianOver(passes, [](const Pass& pass) { return 1 - pass.hosted.cpu / pass.ours.cpu; }),
          static_cast<int>(passes.size())};
}

Comparison Compare(const std::function<Pass()>& pass) {
  std::vector<Pass> passes;
  const double start = Now().wall;
  do {
    passes.push_back(pass());
  } while (Now().wall - start < kTimePerComparison);
  return Summary(passes);
}

double Median(std::vector<double> values) {
  std::ranges::sort(values);
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

double ResidentKiB() {
  long total = 0;
  long resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024.0;
}

}  // namespace bench
