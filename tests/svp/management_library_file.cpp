#include "tests/svp/management_library_file.h"

#include <link.h>

#include <filesystem>
#include <fstream>

namespace kestrel {

namespace {

// Its folder is made on the way.
std::filesystem::path Place(const ScriptedHost& host) {
  const std::filesystem::path folder = host.InstallPath() / "kind4";
  std::filesystem::create_directories(folder);
  return folder / "liborv_MngSrv_OrvLib.so";
}

}  // namespace

void InstallManagementLibrary(const ScriptedHost& host, const std::string& kind) {
  const std::filesystem::path built =
      std::filesystem::path(MANAGEMENT_LIBRARIES) / ("libmanagement_library_" + kind + ".so");
  std::filesystem::remove(Place(host));
  std::filesystem::create_symlink(built, Place(host));
}

void InstallNoLibrary(const ScriptedHost& host, const std::string& content) {
  std::ofstream(Place(host)) << content;
}

bool ManagementLibraryIsLoaded(const ScriptedHost& host) {
  struct Search {
    std::string path;
    bool found;
  } search{Place(host), false};
  dl_iterate_phdr(
      [](dl_phdr_info* object, std::size_t /*size*/, void* data) {
        auto* wanted = static_cast<Search*>(data);
        wanted->found = wanted->found || wanted->path == object->dlpi_name;
        return 0;
      },
      &search);
  return search.found;
}

Lines LibraryOpened() {
  return {"4 CBMC_MngLib::CBMC_MngLib [START]",
          "4 CBMC_MngLib::Load [START]",
          std::string("open library ") + kManagementLibrary,
          "4 CBMC_MngLib::Load [END]",
          "library CreateLibIF",
          "4 CBMC_MngLib::CBMC_MngLib [END]"};
}

Lines LibraryClosed() {
  return {"4 CBMC_MngLib::~CBMC_MngLib [START]", "library DeleteLibIF",
          "4 CBMC_MngLib::Unload [START]",       "close library",
          "4 CBMC_MngLib::Unload [END]",         "4 CBMC_MngLib::~CBMC_MngLib [END]"};
}

}  // namespace kestrel
