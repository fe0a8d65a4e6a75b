// Prints the table of what the plug-in costs. With --long, the slowest road too is measured whole.
#include <cstring>

#include "bench/bench_host.h"
#include "bench/rows.h"
#include "bench/table.h"

int main(int count, char** arguments) {
  const bool whole = count == 2 && std::strcmp(arguments[1], "--long") == 0;
  const bench::BenchHost host;
  bench::PrintHeader();
  bench::RequestCost(host);
  bench::SdrWalk(host, whole);
  bench::Transfer(host);
  bench::LibraryLoad(host);
  return 0;
}
