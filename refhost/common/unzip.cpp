// CUnzip_Utility::UpdateModuleUnzip and the reading of a single member.
#include "refhost/archive_member.h"
#include "refhost/common/archive_reader.h"
#include "refhost/common/member_path.h"
#include "refhost/common/trace.h"
#include "refhost/common/unpack.h"
#include "refhost/contract.h"
#include "refhost/staged_package.h"

namespace refhost {

namespace {

constexpr std::size_t kLargestSingleMember = 1024UL * 1024UL;

// What a staged package holds was judged and lies there unpacked. Where it cannot be moved to (another file system) it
// is unpacked from the copy.
bool MoveStagedFiles(const std::string& package, const std::string& folder) {
  StagedPackage* const staged = StagedPackage::Current();
  return staged != nullptr && staged->CopyPath() == package && staged->MoveFilesTo(folder);
}

}  // namespace

bool ReadArchiveMember(const std::string& path, const std::string& name, std::string* content, std::string* error) {
  try {
    ArchiveReader reader(path);
    ArchiveMember member;
    bool found = false;
    while (reader.Next(&member)) {
      const auto memberPath = ParseMemberName(member.name);
      const bool wanted = member.kind == ArchiveMember::Kind::kFile && memberPath && *memberPath == MemberPath{name};
      if (wanted) {
        content->clear();
      }
      found = found || wanted;
      reader.ReadData([&](const char* bytes, std::size_t size) {
        if (!wanted) {
          return;
        }
        content->append(bytes, size);
        if (content->size() > kLargestSingleMember) {
          throw ArchiveError("member [" + name + "]: it is larger than 1 MiB");
        }
      });
    }
    if (!found) {
      *error = "the archive holds no " + name;
    }
    return found;
  } catch (const ArchiveError& failure) {
    *error = failure.what();
    return false;
  }
}

}  // namespace refhost

bool CUnzip_Utility::UpdateModuleUnzip(std::string package, std::list<std::string>* fileList, std::string folder,
                                       std::string* message, std::string module) {
  try {
    std::set<std::string> wanted;
    if (fileList != nullptr) {
      wanted.insert(fileList->begin(), fileList->end());
    }
    if (!wanted.empty() || !refhost::MoveStagedFiles(package, folder)) {
      refhost::UnpackChecked(package, wanted, folder);
    }
    return true;
  } catch (const refhost::ArchiveError& error) {
    const std::string reason = "Cannot unpack [" + package + "]: " + error.what();
    refhost::TraceError(module, reason);
    if (message != nullptr) {
      *message = reason;
    }
    return false;
  }
}
