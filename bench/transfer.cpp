// What it costs to hand one record over to the service processor.
#include <string>
#include <vector>

#include "bench/operations.h"
#include "bench/request_turns.h"
#include "bench/rows.h"
#include "bench/table.h"

namespace bench {

namespace {

Comparison Measure(RequestTurns* turns, int bytes) {
  return Compare(
      [=] { return turns->Measure(RequestsToSend(bytes), [=] { SendRecord(STUB_FOLDER "/ipmitool", bytes); }); });
}

void Print(int bytes, const std::string& remark, const Comparison& comparison) {
  PrintRow("transfer of " + std::to_string(bytes) + " bytes" + remark, comparison, RequestsToSend(bytes));
}

}  // namespace

void Transfer(const BenchHost& host) {
  RequestTurns turns(host, Trace::kDiscarded);
  std::vector<Sized> transfers;
  for (const int bytes : {32, 1024, 65536}) {
    transfers.push_back({bytes, Measure(&turns, bytes)});
    Print(bytes, "", transfers.back().comparison);
  }
  PrintGrowth("byte", transfers);
  RequestTurns traced(host, Trace::kToFile);
  constexpr int kTraced = 1024;
  Print(kTraced, ", trace to a file", Measure(&traced, kTraced));
}

}  // namespace bench
