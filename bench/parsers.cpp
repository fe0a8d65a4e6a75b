// The pure parsers of what tools, BMCs and packages wrote, over growing inputs: each is to be linear in its input.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <list>
#include <sstream>
#include <string>

#include "firmware/sdr_record.h"
#include "firmware/update_log.h"
#include "firmware/version_text.h"
#include "ipmi/response_parser.h"
#include "report/dmi_property.h"

namespace {

std::string Repeated(const std::string& text, std::size_t count) {
  std::string repeated;
  for (std::size_t i = 0; i < count; ++i) {
    repeated += text;
  }
  return repeated;
}

// Size of the input: bytes of an answer or a record, otherwise characters.
std::size_t Size(const benchmark::State& state) {
  return static_cast<std::size_t>(state.range(0));
}

template <typename Parse>
void Repeat(benchmark::State* state, Parse parse) {
  while (state->KeepRunning()) {
    benchmark::DoNotOptimize(parse());
  }
  state->SetComplexityN(state->range(0));
  state->SetBytesProcessed(state->iterations() * state->range(0));
}

void IpmitoolOutput(benchmark::State& state) {
  const std::string output = Repeated(" 5a", Size(state));
  Repeat(&state, [&] {
    std::list<std::string> response;
    return kestrel::ParseIpmitoolOutput(output, &response);
  });
}
BENCHMARK(IpmitoolOutput)->RangeMultiplier(4)->Range(16, 1024)->Complexity(benchmark::oN);

void MakersToolOutput(benchmark::State& state) {
  const std::string output = "request sent\nanswer of the BMC: 00" + Repeated(" 5a", Size(state)) + "\n";
  Repeat(&state, [&] {
    std::list<std::string> response;
    return kestrel::ParseMakersToolOutput(output, &response);
  });
}
BENCHMARK(MakersToolOutput)->RangeMultiplier(4)->Range(16, 1024)->Complexity(benchmark::oN);

// For any size: only the place of the marker is looked at.
void SdrRecordWithoutVersion(benchmark::State& state) {
  const std::string record = "FFFF0100510100200001" + Repeated("5A", Size(state));
  Repeat(&state, [&] { return kestrel::FindSdrVersion(record); });
}
BENCHMARK(SdrRecordWithoutVersion)->RangeMultiplier(4)->Range(16, 256)->Complexity(benchmark::o1);

// A length byte of zero gives all that follows the marker as the version.
void SdrRecordWithVersion(benchmark::State& state) {
  const std::string head = "FFFF010051C000000000";
  const std::string marker = "5344522056657273696F6E20";
  const std::string record = head + marker + Repeated("31", Size(state));
  Repeat(&state, [&] { return kestrel::FindSdrVersion(record); });
}
BENCHMARK(SdrRecordWithVersion)->RangeMultiplier(4)->Range(16, 256)->Complexity(benchmark::oN);

void BmcVersion(benchmark::State& state) {
  const std::string version = "01-23";
  while (state.KeepRunning()) {
    benchmark::DoNotOptimize(kestrel::ParseBmcVersion(version));
  }
}
BENCHMARK(BmcVersion);

void CombinedVersion(benchmark::State& state) {
  const std::string version = "BMC:01-23,SDR:" + Repeated("1", Size(state));
  Repeat(&state, [&] { return kestrel::ParseCombinedVersion(version); });
}
BENCHMARK(CombinedVersion)->RangeMultiplier(64)->Range(4, 1 << 20)->Complexity(benchmark::oN);

void DmiLine(benchmark::State& state) {
  const std::string line = "\tSerial Number: " + Repeated("7", Size(state));
  Repeat(&state, [&] { return kestrel::DmiValue(line, "Serial Number:"); });
}
BENCHMARK(DmiLine)->RangeMultiplier(64)->Range(16, 1 << 16)->Complexity(benchmark::oN);

void UpdateLog(benchmark::State& state) {
  const std::string line = "erasing and writing one more block of the flash, please wait...\n";
  std::istringstream log(Repeated(line, Size(state) / line.size()));
  Repeat(&state, [&] {
    log.clear();
    log.seekg(0);
    return kestrel::ScanLog(log, "Update successfully", [](const std::string&) {});
  });
}
BENCHMARK(UpdateLog)->RangeMultiplier(32)->Range(1 << 10, 1 << 20)->Complexity(benchmark::oN);

}  // namespace
