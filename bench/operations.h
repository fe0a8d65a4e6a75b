// What the rows of the table do through the plug-in, with any tool that answers. Each ends this program when it does
// not get what it must.
#ifndef BENCH_OPERATIONS_H
#define BENCH_OPERATIONS_H

#include <string>

namespace bench {

// One Get Device ID.
void AskForDeviceId(const std::string& tool);

// A rack server's version: Get Device ID, Get SDR Repository Info, and a Get SDR for each record down to the one with
// the version.
inline constexpr int kRequestsBeforeWalk = 2;
void ReadVersion(const std::string& tool, const std::string& expected);

// A disk record of `bytes` bytes for the service processor: lock, pieces, signature, unlock, notification.
void SendRecord(const std::string& tool, int bytes);
[[nodiscard]] int RequestsToSend(int bytes);

}  // namespace bench

#endif  // BENCH_OPERATIONS_H
