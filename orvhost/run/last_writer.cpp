#include "orvhost/run/last_writer.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "orvhost/journal/unreadable.h"
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
  posix::RemoveUnfinished(Path());  // the machine's lock is held
  return posix::ReplaceFile(Path(), Canonical(installPath), kMode, error);
}

OtherWriter OtherLastWriter(const std::string& installPath) {
  const auto last = posix::ReadRegularFile(Path(), kLongestPath);
  if (!last) {
    return {.installPath = "", .unseen = errno == ENOENT ? "" : WhyUnreadable(Path(), errno)};
  }
  return {.installPath = *last == Canonical(installPath) ? "" : *last, .unseen = ""};
}

}  // namespace orvhost
