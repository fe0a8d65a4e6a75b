#include "orvhost/validation/run_path.h"

#include <sys/stat.h>

#include <filesystem>
#include <sstream>
#include <system_error>

namespace orvhost {

namespace {

namespace fs = std::filesystem;

std::string Expanded(std::string folder, const std::string& origin) {
  for (const std::string token : {"$ORIGIN", "${ORIGIN}"}) {
    for (std::size_t at = 0; (at = folder.find(token, at)) != std::string::npos; at += origin.size()) {
      folder.replace(at, token.size(), origin);
    }
  }
  return folder;
}

// Follows the path down from the root. Where everybody may write, everybody may make what is not there; and replace
// what is, unless the folder is one like /tmp, in which only owners may.
bool MayBeMadeByEverybody(const fs::path& folder) {
  fs::path above;
  mode_t modeAbove = S_ISVTX;
  for (const fs::path& part : folder) {
    above /= part;
    struct stat status {};
    const bool isThere = stat(above.c_str(), &status) == 0;
    const bool isOpen = (modeAbove & S_IWOTH) != 0;
    if (isOpen && (!isThere || (modeAbove & S_ISVTX) == 0)) {
      return true;
    }
    if (!isThere) {
      return false;
    }
    modeAbove = status.st_mode;
  }
  return (modeAbove & S_IWOTH) != 0;
}

bool IsOpenToEverybody(const std::string& folder) {
  const fs::path path(folder);
  if (!path.is_absolute()) {
    return true;
  }
  std::error_code failure;
  const fs::path target = fs::weakly_canonical(path, failure);
  return MayBeMadeByEverybody(path.lexically_normal()) || (!failure && MayBeMadeByEverybody(target));
}

}  // namespace

std::vector<std::string> OpenFolders(const std::string& runPath, const std::string& origin) {
  std::vector<std::string> open;
  std::istringstream folders(runPath + ":");
  for (std::string folder; std::getline(folders, folder, ':');) {
    if (IsOpenToEverybody(Expanded(folder, origin))) {
      open.push_back(folder.empty() ? "." : folder);
    }
  }
  return open;
}

}  // namespace orvhost
