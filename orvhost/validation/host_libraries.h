// The host libraries that this process has loaded, which are those that plug-ins are judged with.
#ifndef ORVHOST_VALIDATION_HOST_LIBRARIES_H
#define ORVHOST_VALIDATION_HOST_LIBRARIES_H

#include <string>
#include <vector>

namespace orvhost {

inline constexpr int kHostStringAbi = _GLIBCXX_USE_CXX11_ABI;  // theirs, and this program's

struct HostLibrary {
  std::string name;  // "liborv_DllCommon.so"
  std::string path;
  std::string sha256;  // "" when the file cannot be read any more
};

// In the order of their names.
[[nodiscard]] std::vector<HostLibrary> LoadedHostLibraries();

}  // namespace orvhost

#endif  // ORVHOST_VALIDATION_HOST_LIBRARIES_H
