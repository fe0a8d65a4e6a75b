#include "orvhost/run/last_writer.h"

#include <sys/stat.h>

#include <filesystem>
#include <system_error>

#include "orvhost/run/machine.h"
#include "posix/regular_file.h"
#include "posix/replace_file.h"

namespace orvhost {

namespace {

constexpr mode_t kMode = 0600;
constexpr std::size_t kLongestPath = 4096;

// One name for a folder, however it is reached.
std::string Canonical(const std::string& folder) {
  std::error_code failure;
  const std::filesystem::path path = std::filesystem::weakly_canonical(folder, failure);
  return failure ? folder : path.string();
}

std::string Path() {
  return MachineFolder() + "/orvhost.writer";
}

}  // namespace

bool BecomeLastWriter(const std::string& installPath, std::string* error) {
  return posix::ReplaceFile(Path(), Canonical(installPath), kMode, error);
}

std::string OtherLastWriter(const std::string& installPath) {
  const std::string last = posix::ReadRegularFile(Path(), kLongestPath).value_or("");
  return last == Canonical(installPath) ? "" : last;
}

}  // namespace orvhost
