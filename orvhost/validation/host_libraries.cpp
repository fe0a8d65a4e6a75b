#include "orvhost/validation/host_libraries.h"

#include <link.h>

#include <algorithm>
#include <filesystem>

#include "refhost/staged_package.h"

namespace orvhost {

namespace {

namespace fs = std::filesystem;

int AddHostLibrary(dl_phdr_info* info, std::size_t /*size*/, void* libraries) {
  std::error_code ignored;
  const fs::path path = fs::weakly_canonical(info->dlpi_name, ignored);
  const std::string name = path.filename().string();
  if (name == "liborv_DllCommon.so" || name == "liborv_ProviderBase.so") {
    std::string error;
    static_cast<std::vector<HostLibrary>*>(libraries)->push_back(
        {name, path.string(), refhost::Sha256OfFile(path.string(), &error)});
  }
  return 0;
}

}  // namespace

std::vector<HostLibrary> LoadedHostLibraries() {
  std::vector<HostLibrary> libraries;
  dl_iterate_phdr(AddHostLibrary, &libraries);
  std::ranges::sort(libraries, {}, &HostLibrary::name);
  return libraries;
}

}  // namespace orvhost
