// What a piece of work costs, and two ways of doing the same work against each other.
#ifndef BENCH_MEASURE_H
#define BENCH_MEASURE_H

#include <functional>
#include <vector>

namespace bench {

// Microseconds. `cpu` is what this process and the children it has waited for have spent, in the kernel too.
struct Cost {
  double wall = 0;
  double cpu = 0;
};

Cost operator+(Cost left, Cost right);
Cost operator-(Cost left, Cost right);
Cost operator*(double factor, Cost cost);

// A moment: the difference of two is the cost of what lies between them.
[[nodiscard]] Cost Now();

// The same commands in one pass: bare, run by the host, and through the plug-in.
struct Pass {
  Cost bare;
  Cost hosted;
  Cost ours;
};

struct Comparison {
  Cost bare;  // medians over the passes
  Cost hosted;
  Cost ours;
  double ratio;     // ours to bare in wall time: median over the passes of the ratio within one pass
  double cpuRatio;  // the same in processor time
  double own;       // what of ours is not the hosted commands, in microseconds of processor time: median as above
  double ownShare;  // the same as a share of ours
  int passes;       // 0 when this was not measured but computed
};

[[nodiscard]] Comparison Summary(const std::vector<Pass>& passes);

// Repeats a pass for about two seconds, at least once.
[[nodiscard]] Comparison Compare(const std::function<Pass()>& pass);

// Of at least one value; the mean of the middle two when their number is even.
[[nodiscard]] double Median(std::vector<double> values);

// Resident memory of this process in KiB.
[[nodiscard]] double ResidentKiB();

}  // namespace bench

#endif  // BENCH_MEASURE_H
