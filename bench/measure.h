// Measures two ways of doing the same work against each other. They take turns, so that whatever else the machine does
// falls on both alike, and what is printed is their ratio.
#ifndef BENCH_MEASURE_H
#define BENCH_MEASURE_H

#include <functional>
#include <string>

namespace bench {

struct Comparison {
  double bare;  // median microseconds of one round
  double ours;
  double Ratio() const { return ours / bare; }
};

// Runs each side `rounds` times, after one round of each that does not count.
Comparison Compare(int rounds, const std::function<void()>& bare, const std::function<void()>& ours);

// The head of the table that PrintRow adds to.
void PrintHeader();
void PrintRow(const std::string& what, const Comparison& comparison);

// Runs `command` by `sh -c` and waits for its end: what a bare request costs. Ends the program when it fails.
void RunBare(const std::string& command);

// Resident memory of this process in MiB.
double ResidentMiB();

}  // namespace bench

#endif  // BENCH_MEASURE_H
