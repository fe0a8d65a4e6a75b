// What it costs to read the version of a rack server: the BMC's own, and the walk through its sensor data records.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench/operations.h"
#include "bench/request_turns.h"
#include "bench/rows.h"
#include "bench/table.h"

namespace bench {

namespace {

constexpr int kAllRecords = 65536;

// The two bytes of `number` as the stub tool takes them.
std::string LowHigh(int number) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%02x %02x", number & 0xff, number >> 8 & 0xff);
  return text.data();
}

// A walk over `records` of a repository that claims `count`: the version stands in the last record that is looked at.
Comparison Walk(RequestTurns* turns, int count, int records) {
  const int highest = count == 0 ? kAllRecords : count;
  const int last = highest - records + 1;
  setenv("STUB_SDR_COUNT", LowHigh(count).c_str(), 1);
  setenv("STUB_SDR_VERSION_AT", LowHigh(last).c_str(), 1);
  return Compare([&] {
    return turns->Measure(kRequestsBeforeWalk + records,
                          [] { ReadVersion(STUB_FOLDER "/ipmitool", "BMC:01-23,SDR:1.10"); });
  });
}

// What the walk over all records costs when every record costs as much as those between the two walks.
Comparison Extrapolated(const Comparison& shorter, int shorterRecords, const Comparison& longer, int longerRecords) {
  const double factor = static_cast<double>(kAllRecords - longerRecords) / (longerRecords - shorterRecords);
  const Cost bare = longer.bare + factor * (longer.bare - shorter.bare);
  const Cost hosted = longer.hosted + factor * (longer.hosted - shorter.hosted);
  const Cost ours = longer.ours + factor * (longer.ours - shorter.ours);
  return {
      bare, hosted, ours, ours.wall / bare.wall, ours.cpu / bare.cpu, (ours - hosted).cpu, 1 - hosted.cpu / ours.cpu,
      0};
}

void PrintWalk(const std::string& what, const Comparison& walk, int records) {
  PrintRow("SDR walk, " + what, walk, kRequestsBeforeWalk + records);
}

// A count of zero makes the walk start at the highest ID that there can be.
void RepositoryOfZero(RequestTurns* turns, bool whole) {
  constexpr int kFew = 100;
  constexpr int kMany = 1000;
  const Comparison few = Walk(turns, 0, kFew);
  PrintWalk("count 0, first 100 records", few, kFew);
  const Comparison many = Walk(turns, 0, kMany);
  PrintWalk("count 0, first 1000 records", many, kMany);
  PrintWalk("count 0, 65536 records EXTRAPOLATED from these two", Extrapolated(few, kFew, many, kMany), kAllRecords);
  if (whole) {
    PrintWalk("count 0, 65536 records measured whole", Walk(turns, 0, kAllRecords), kAllRecords);
  }
}

}  // namespace

void SdrWalk(const BenchHost& host, bool whole) {
  RequestTurns turns(host, Trace::kDiscarded);
  std::vector<Sized> walks;
  for (const int records : {10, 100, 1000}) {
    walks.push_back({records, Walk(&turns, records, records)});
    PrintWalk(std::to_string(records) + " records", walks.back().comparison, records);
  }
  PrintGrowth("record", walks);
  RepositoryOfZero(&turns, whole);
  RequestTurns traced(host, Trace::kToFile);
  constexpr int kTraced = 100;
  PrintWalk("100 records, trace to a file", Walk(&traced, kTraced, kTraced), kTraced);
}

}  // namespace bench
