// The groups of rows that the table consists of, each in the source file of its name.
#ifndef BENCH_ROWS_H
#define BENCH_ROWS_H

#include "bench/bench_host.h"

namespace bench {

// One request through either tool, in this process and in one of 1 GiB.
void RequestCost(const BenchHost& host);

// Reading the version of a rack server, SDR walk and all. `whole`: also all 65,536 records of a repository that claims
// none, which takes minutes.
void SdrWalk(const BenchHost& host, bool whole);

// One record for the service processor.
void Transfer(const BenchHost& host);

// From dlopen to LinkDevice, and the memory that takes.
void LibraryLoad(const BenchHost& host);

}  // namespace bench

#endif  // BENCH_ROWS_H
