// CFileUtility, the file services of CCommon_Information, and CUnzip_Utility::DeleteFolder.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "host/Results.h"
#include "refhost/common/trace.h"
#include "refhost/contract.h"
#include "refhost/settings.h"

namespace {

constexpr int kDeleteAttempts = 3;
constexpr unsigned long kDeletePauseMs = 100;

}  // namespace

std::string CFileUtility::GetInstallPath(int kind) {
  const std::string& installPath = refhost::CurrentSettings().installPath;
  switch (kind) {
    case host::kInstallation:
      return installPath;
    case host::kManagementLibraries:
      return installPath + "/MngSrv";
    default:
      return "";
  }
}

bool CFileUtility::IsFileExist(std::string path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && !S_ISDIR(status.st_mode);
}

bool CCommon_Information::MyPathFileExists(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0;
}

bool CCommon_Information::RetryDeleteFile(const std::string& path) {
  for (int attempt = 1;; ++attempt) {
    if (unlink(path.c_str()) == 0 || errno == ENOENT || errno == ENOTDIR) {
      return true;
    }
    if (attempt == kDeleteAttempts) {
      return false;
    }
    Sleep(kDeletePauseMs);
  }
}

bool CUnzip_Utility::DeleteFolder(std::string folder, std::string module) {
  std::error_code error;
  const auto status = std::filesystem::symlink_status(folder, error);
  if (status.type() == std::filesystem::file_type::not_found) {
    return true;
  }
  if (status.type() != std::filesystem::file_type::directory) {
    refhost::TraceError(module, "Not a folder, so it is not deleted: [" + folder + "]");
    return false;
  }
  std::filesystem::remove_all(folder, error);
  if (error) {
    refhost::TraceError(module, "Cannot delete folder [" + folder + "]: " + error.message());
  }
  return !error;
}
