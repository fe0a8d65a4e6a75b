#include "fuzz/unpack_check.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "fuzz/property.h"
#include "host/DllCommon.h"
#include "refhost/archive_member.h"

namespace fuzz {

namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kMostBytes = 1024UL * 1024UL * 1024UL;

// A folder with the package, the folder to unpack into, and nothing else; gone when the process ends in peace.
class Place {
 public:
  Place() {
    std::string name = (fs::temp_directory_path() / "kestrel-fuzz-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
      throw std::runtime_error("cannot make a temporary folder");
    }
    root_ = name;
  }
  ~Place() {
    std::error_code ignored;
    fs::remove_all(root_, ignored);
  }
  Place(const Place&) = delete;
  Place& operator=(const Place&) = delete;

  void Fill(const std::string& archive) const {
    std::ofstream(Package(), std::ios::binary | std::ios::trunc) << archive;
    fs::remove_all(Folder());
    fs::create_directory(Folder());
  }

  fs::path Package() const { return root_ / "package"; }
  fs::path Folder() const { return root_ / "folder"; }
  const fs::path& Root() const { return root_; }

 private:
  fs::path root_;
};

std::string Content(const fs::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

// The lowest free file descriptor, which grows when one is leaked.
int FreeDescriptor() {
  const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
  close(descriptor);
  return descriptor;
}

bool IsInside(const fs::path& path, const fs::path& folder) {
  const fs::path relative = path.lexically_normal().lexically_relative(folder);
  return !relative.empty() && *relative.begin() != "..";
}

void CheckEntry(const fs::directory_entry& entry, const fs::path& folder) {
  const fs::file_status status = entry.symlink_status();
  if (fs::is_symlink(status)) {
    const fs::path target = fs::read_symlink(entry.path());
    Require(target.is_relative() && IsInside(entry.path().parent_path() / target, folder), "no link leaves the folder");
    return;
  }
  Require(fs::is_regular_file(status) || fs::is_directory(status), "only files, folders and links are unpacked");
  const fs::perms risky = fs::perms::set_uid | fs::perms::set_gid | fs::perms::group_write | fs::perms::others_write;
  Require((status.permissions() & risky) == fs::perms::none, "nobody else may write, and nothing is set-id");
  Require(!fs::is_regular_file(status) || entry.file_size() <= kMostBytes, "nothing unpacks to more than 1 GiB");
}

}  // namespace

bool CheckUnpacking(const std::string& archive) {
  static const Place place;
  place.Fill(archive);
  const int descriptor = FreeDescriptor();

  std::string message;
  const bool unpacked =
      CUnzip_Utility::UpdateModuleUnzip(place.Package().string(), nullptr, place.Folder().string(), &message, "bmc");
  Require(unpacked == message.empty(), "an archive is refused with a reason and unpacked without one");
  std::size_t entries = 0;
  for (const fs::directory_entry& entry : fs::directory_iterator(place.Root())) {
    Require(entry.path() == place.Package() || entry.path() == place.Folder(), "nothing is written beside the folder");
    ++entries;
  }
  Require(entries == 2 && Content(place.Package()) == archive, "the package stays as it was");
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(place.Folder())) {
    CheckEntry(entry, place.Folder());
  }

  std::string content;
  std::string error;
  const bool read = refhost::ReadArchiveMember(place.Package().string(), "module.json", &content, &error);
  Require(read == error.empty(), "a member is missed with a reason and read without one");
  Require(!read || content.size() <= 1024UL * 1024UL, "no large member is read into memory");
  Require(FreeDescriptor() == descriptor, "every file is closed again");
  return unpacked;
}

}  // namespace fuzz
