#include "posix/replace_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "posix/file_descriptor.h"
#include "posix/last_error.h"
#include "posix/sync.h"

namespace posix {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kUnique = ".XXXXXX";  // replaced by letters and digits

fs::path FolderOf(const std::string& path) {
  const fs::path folder = fs::path(path).parent_path();
  return folder.empty() ? "." : folder;
}

bool IsTemporaryOf(const std::string& file, const std::string& name) {
  return file.starts_with(name) && file.size() == name.size() + kUnique.size() && file[name.size()] == '.' &&
         std::all_of(file.begin() + static_cast<std::ptrdiff_t>(name.size()) + 1, file.end(),
                     [](unsigned char c) { return std::isalnum(c) != 0; });
}

}  // namespace

bool ReplaceFile(const std::string& path, std::string_view content, mode_t mode, std::string* error) {
  std::string temporary = path;
  temporary += kUnique;
  FileDescriptor descriptor(mkostemp(temporary.data(), O_CLOEXEC));
  if (!descriptor.IsOpen()) {
    *error = "cannot create a file beside " + path + ": " + LastError();
    return false;
  }
  const bool complete = fchmod(descriptor.Get(), mode) == 0 &&
                        WriteAll(descriptor.Get(), content.data(), content.size()) && fsync(descriptor.Get()) == 0 &&
                        rename(temporary.c_str(), path.c_str()) == 0;
  if (!complete) {
    *error = "cannot write " + path + ": " + LastError();
    unlink(temporary.c_str());
    return false;
  }
  if (!SyncFolder(FolderOf(path))) {
    *error = "cannot bring " + path + " to the disk: " + LastError();
    return false;
  }
  return true;
}

void RemoveUnfinished(const std::string& path) {
  const std::string name = fs::path(path).filename();
  std::error_code ignored;
  for (fs::directory_iterator entry(FolderOf(path), ignored); entry != fs::directory_iterator();
       entry.increment(ignored)) {
    if (IsTemporaryOf(entry->path().filename(), name) && fs::is_regular_file(entry->symlink_status(ignored))) {
      fs::remove(entry->path(), ignored);
    }
  }
}

}  // namespace posix
