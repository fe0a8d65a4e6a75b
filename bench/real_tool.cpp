// The same comparison with a tool that asks the BMC of the virtual server that this runs in.
//
//   kestrel_bench_real_tool TOOL VERSION RECORDS
//
// VERSION is what the server tells of itself; the walk to it takes RECORDS records.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench/bench_host.h"
#include "bench/operations.h"
#include "bench/request_turns.h"
#include "bench/table.h"

int main(int count, char** arguments) {
  if (count != 4) {
    std::fprintf(stderr, "Usage: kestrel_bench_real_tool TOOL VERSION RECORDS\n");
    return 2;
  }
  const std::string tool = arguments[1];
  const std::string version = arguments[2];
  const int records = std::atoi(arguments[3]);
  const bench::BenchHost host;
  bench::RequestTurns turns(host, bench::Trace::kDiscarded);
  const std::string name = tool.substr(tool.rfind('/') + 1);
  bench::PrintRowWithoutOwn("one request through " + name,
                            bench::Compare([&] { return turns.Measure(1, [&] { bench::AskForDeviceId(tool); }); }));
  const int requests = bench::kRequestsBeforeWalk + records;
  bench::PrintRowWithoutOwn("SDR walk, " + std::to_string(records) + " records", bench::Compare([&] {
                              return turns.Measure(requests, [&] { bench::ReadVersion(tool, version); });
                            }));
  for (const int bytes : {32, 1024}) {
    bench::PrintRowWithoutOwn("transfer of " + std::to_string(bytes) + " bytes", bench::Compare([&] {
                                return turns.MeasureOneAfterTheOther(bench::RequestsToSend(bytes),
                                                                     [&] { bench::SendRecord(tool, bytes); });
                              }));
  }
  return 0;
}
