#include "orvhost/validation/holdings.h"

#include <filesystem>
#include <string>

namespace orvhost {

namespace {

long Entries(const char* folder) {
  namespace fs = std::filesystem;
  return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

}  // namespace

Holdings::Holdings() : descriptors(Entries("/proc/self/fd")), threads(Entries("/proc/self/task")) {}

CheckResult NothingIsLeftSince(const Holdings& before) {
  const Holdings now;
  if (now.descriptors > before.descriptors) {
    return CheckResult::Fail("it leaves " + std::to_string(now.descriptors - before.descriptors) +
                             " file descriptors open");
  }
  return now.threads > before.threads ? CheckResult::Fail("it leaves a thread running")
                                      : CheckResult::Pass(std::to_string(now.descriptors) + " file descriptors and " +
                                                          std::to_string(now.threads) + " thread in use as before");
}

}  // namespace orvhost
