#include "orvhost/journal/unreadable.h"

#include <pwd.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "orvhost/journal/journal_line.h"
#include "posix/last_error.h"

namespace orvhost {

namespace {

// Of a file in a folder that cannot be entered: the folder's owner, and so on upwards.
std::string WhoCanRead(const std::filesystem::path& path) {
  struct stat status {};
  std::filesystem::path seen = path;
  while (stat(seen.c_str(), &status) != 0 && seen.has_relative_path()) {
    seen = seen.parent_path();
  }
  if (status.st_uid == 0) {
    return "its owner, root, can read it";
  }
  return "its owner (" + UserName(status.st_uid) + ") and root can read it";
}

}  // namespace

std::string WhyUnreadable(const std::string& path, int number) {
  const std::string what = path + " cannot be read: ";
  switch (number) {
    case EINVAL:
      return what + "it is no regular file";
    case EFBIG:
      return what + "it has more than " + std::to_string(kLargestJournal / 1024UL / 1024UL) + " MiB";
    case EACCES:
    case EPERM:
      return what + posix::ErrorText(number) + "; " + WhoCanRead(path);
    default:
      return what + posix::ErrorText(number);
  }
}

std::string UserName(uid_t user) {
  const passwd* const entry = getpwuid(user);
  return entry != nullptr ? entry->pw_name : "user " + std::to_string(user);
}

}  // namespace orvhost
