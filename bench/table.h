// The table that all comparisons are printed in.
#ifndef BENCH_TABLE_H
#define BENCH_TABLE_H

#include <string>
#include <vector>

#include "bench/measure.h"

namespace bench {

void PrintHeader();

// `requests`: how many each side has sent.
void PrintRow(const std::string& what, const Comparison& comparison, int requests);

// The same without the plug-in's own share, where that is far below what one run differs from the next by.
void PrintRowWithoutOwn(const std::string& what, const Comparison& comparison);

// The same work in some size.
struct Sized {
  int size;
  Comparison comparison;
};

// What each further `unit` (such as "record") costs from one size to the next; the figures of a linear cost are equal.
void PrintGrowth(const std::string& unit, const std::vector<Sized>& sizes);

}  // namespace bench

#endif  // BENCH_TABLE_H
