#include "bench/operations.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <list>
#include <utility>

#include "firmware/operating_version.h"
#include "firmware/requests.h"
#include "svp/config_file_transfer.h"

namespace bench {

namespace {

constexpr int kPiece = 32;              // bytes of one write request
constexpr int kRequestsAroundData = 4;  // lock, signature, unlock, notify

}  // namespace

void AskForDeviceId(const std::string& tool) {
  if (!kestrel::Exchange(tool, kestrel::GetDeviceIdRequest()).Succeeded()) {
    std::fprintf(stderr, "a request through %s failed\n", tool.c_str());
    std::exit(1);
  }
}

void ReadVersion(const std::string& tool, const std::string& expected) {
  const std::string version = kestrel::ReadOperatingVersion(tool);
  if (version != expected) {
    std::fprintf(stderr, "the version read is %s\n", version.c_str());
    std::exit(1);
  }
}

void SendRecord(const std::string& tool, int bytes) {
  kestrel::OperationTrace trace("transfer [START]", "transfer [END]");
  std::string detail;
  kestrel::ConfigFileTransfer transfer(tool, kestrel::kDiskInformationFile, kestrel::FinalFailure::kRecordOnly, &trace,
                                       &detail);
  if (transfer.Run(std::list<std::string>(static_cast<std::size_t>(bytes), "41")) != kestrel::kSent) {
    std::fprintf(stderr, "a transfer failed: %s\n", detail.c_str());
    std::exit(1);
  }
}

int RequestsToSend(int bytes) {
  return (bytes + kPiece - 1) / kPiece + kRequestsAroundData;
}

}  // namespace bench
