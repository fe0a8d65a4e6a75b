// What one IPMI request costs through the plug-in and the reference host.
#include <cstddef>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "bench/operations.h"
#include "bench/request_turns.h"
#include "bench/rows.h"
#include "bench/shell.h"
#include "bench/table.h"
#include "ipmi/file_probe.h"
#include "ipmi/scratch_directory.h"
#include "ipmi/tool_selection.h"
#include "ipmi/trace.h"

namespace bench {

namespace {

constexpr std::size_t kGiB = std::size_t{1} << 30;

// The host's own services in the plug-in's place: two equal sides, so the row tells how exact the table is.
void Control(RequestTurns* turns) {
  const std::string answer = kestrel::ScratchDirectory() + "/IPMIResult";
  const std::string command = "\"" STUB_FOLDER "/ipmitool\" raw 0x06 0x01 > \"" + answer + "\"";
  const auto request = [&] {
    CTraceUtility::WriteDebug(kestrel::kChannel, kestrel::kInfo, "Execute command [%s]", command.c_str());
    RunByHost(command);
    CCommon_Information::RetryDeleteFile(answer);
  };
  PrintRow("control: one request by the host in place of the plug-in",
           Compare([&] { return turns->Measure(1, request); }), 1);
}

void BothTools(RequestTurns* turns) {
  char host[64];
  std::snprintf(host, sizeof(host), ", host of %.0f MiB", ResidentKiB() / 1024);
  const std::string ipmitool = STUB_FOLDER "/ipmitool";
  PrintRow(std::string("one request through ipmitool") + host,
           Compare([&] { return turns->Measure(1, [&] { AskForDeviceId(ipmitool); }); }), 1);
  const std::string makers = STUB_FOLDER "/ipmicmd";
  PrintRow(std::string("one request through the maker's tool") + host,
           Compare([&] { return turns->Measure(1, [&] { AskForDeviceId(makers); }); }), 1);
}

// The stub tool costs next to nothing. So that the table can be read for a real one: what starting it costs at least.
void PrintRealTool() {
  if (!kestrel::CanBeRead(kestrel::kIpmitool)) {
    return;
  }
  constexpr int kStarts = 50;
  std::vector<double> elapsed;
  for (int i = 0; i < kStarts; ++i) {
    const Cost start = Now();
    RunByShell(std::string(kestrel::kIpmitool) + " -V > /dev/null");
    elapsed.push_back((Now() - start).wall);
  }
  std::printf("  for scale: only to start the real ipmitool takes %.2f ms\n", Median(std::move(elapsed)) / 1000);
}

}  // namespace

void RequestCost(const BenchHost& host) {
  RequestTurns turns(host, Trace::kDiscarded);
  Control(&turns);
  BothTools(&turns);
  const std::vector<char> ballast(kGiB, 1);
  BothTools(&turns);
  PrintRealTool();
}

}  // namespace bench
