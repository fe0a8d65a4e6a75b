// What it costs to hand one record over to the service processor.
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <list>
#include <string>
#include <utility>
#include <vector>

#include "bench/request_turns.h"
#include "bench/rows.h"
#include "bench/table.h"
#include "svp/config_file_transfer.h"

namespace bench {

namespace {

constexpr int kPiece = 32;              // bytes of one write request
constexpr int kRequestsAroundData = 4;  // lock, signature, unlock, notify

void Send(std::list<std::string> record) {
  kestrel::OperationTrace trace("transfer [START]", "transfer [END]");
  std::string detail;
  kestrel::ConfigFileTransfer transfer(STUB_FOLDER "/ipmitool", kestrel::kDiskInformationFile,
                                       kestrel::FinalFailure::kRecordOnly, &trace, &detail);
  if (transfer.Run(std::move(record)) != kestrel::kSent) {
    std::fprintf(stderr, "a transfer failed: %s\n", detail.c_str());
    std::exit(1);
  }
}

}  // namespace

void Transfer(const BenchHost& host) {
  RequestTurns turns(host);
  std::vector<Sized> transfers;
  for (const int bytes : {32, 1024, 65536}) {
    const std::list<std::string> record(static_cast<std::size_t>(bytes), "41");
    const int requests = bytes / kPiece + kRequestsAroundData;
    transfers.push_back({bytes, Compare([&] { return turns.Measure(requests, [&] { Send(record); }); })});
    PrintRow("transfer of " + std::to_string(bytes) + " bytes", transfers.back().comparison, requests);
  }
  PrintGrowth("byte", transfers);
}

}  // namespace bench
