// CUnzip_Utility::UpdateModuleUnzip and the reading of a single member. An archive is read twice: first as a whole, so
// that one that is damaged or wants to leave its folder is refused before anything is written, then for unpacking.
#include <set>

#include "posix/last_error.h"
#include "refhost/archive_member.h"
#include "refhost/common/archive_reader.h"
#include "refhost/common/member_path.h"
#include "refhost/common/trace.h"
#include "refhost/common/unpack_folder.h"
#include "refhost/contract.h"

namespace refhost {

namespace {

using Kind = ArchiveMember::Kind;

constexpr std::size_t kLargestSingleMember = 1024UL * 1024UL;

[[noreturn]] void Refuse(const ArchiveMember& member, const std::string& reason) {
  throw ArchiveError("member [" + member.name + "]: " + reason);
}

MemberPath CheckedPath(const ArchiveMember& member) {
  auto path = ParseMemberName(member.name);
  if (!path) {
    Refuse(member, "the name leaves the folder");
  }
  return *path;
}

void CheckMember(const ArchiveMember& member) {
  const MemberPath path = CheckedPath(member);
  if (!IsShellSafe(member.name)) {
    Refuse(member, "the name holds a character that is unsafe in a command line (control character, \", \\, ` or $)");
  }
  if (member.kind == Kind::kSpecial) {
    Refuse(member, "devices and pipes are not unpacked");
  }
  if (member.kind == Kind::kSymlink && !IsContainedLink(path, member.linkTarget)) {
    Refuse(member, "the link to [" + member.linkTarget + "] leaves the folder");
  }
  if (member.kind == Kind::kHardLink && !ParseMemberName(member.linkTarget)) {
    Refuse(member, "the link to [" + member.linkTarget + "] leaves the folder");
  }
}

// The names in `wanted` that the archive does not hold.
std::set<std::string> CheckArchive(const std::string& package, std::set<std::string> wanted) {
  ArchiveReader reader(package);
  ArchiveMember member;
  bool empty = true;
  while (reader.Next(&member)) {
    empty = false;
    CheckMember(member);
    reader.ReadData([](const char*, std::size_t) {});
    wanted.erase(member.name);
  }
  if (empty) {
    throw ArchiveError("the archive holds nothing");
  }
  return wanted;
}

void WriteFile(ArchiveReader* reader, const posix::FileDescriptor& file) {
  reader->ReadData([&file](const char* bytes, std::size_t size) {
    if (!posix::WriteAll(file.Get(), bytes, size)) {
      throw ArchiveError(posix::LastError());
    }
  });
}

void UnpackMember(ArchiveReader* reader, const ArchiveMember& member, UnpackFolder* folder) {
  const MemberPath path = CheckedPath(member);
  try {
    switch (member.kind) {
      case Kind::kFolder:
        return folder->MakeFolder(path);
      case Kind::kFile:
        return WriteFile(reader, folder->CreateFile(path, member.permissions));
      case Kind::kSymlink:
        return folder->MakeSymlink(path, member.linkTarget);
      case Kind::kHardLink:
        return folder->MakeHardLink(path, *ParseMemberName(member.linkTarget));
      case Kind::kSpecial:
        return;  // refused by CheckMember
    }
  } catch (const ArchiveError& error) {
    Refuse(member, error.what());
  }
}

void Unpack(const std::string& package, const std::set<std::string>& wanted, const std::string& folderPath) {
  const std::set<std::string> missing = CheckArchive(package, wanted);
  if (!missing.empty()) {
    throw ArchiveError("it holds no member [" + *missing.begin() + "]");
  }
  UnpackFolder folder(folderPath);
  ArchiveReader reader(package);
  ArchiveMember member;
  while (reader.Next(&member)) {
    CheckMember(member);
    if (wanted.empty() || wanted.count(member.name) != 0) {
      UnpackMember(&reader, member, &folder);
    }
  }
}

}  // namespace

bool ReadArchiveMember(const std::string& path, const std::string& name, std::string* content, std::string* error) {
  try {
    ArchiveReader reader(path);
    ArchiveMember member;
    bool found = false;
    while (reader.Next(&member)) {
      const auto memberPath = ParseMemberName(member.name);
      const bool wanted = member.kind == Kind::kFile && memberPath && *memberPath == MemberPath{name};
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
          Refuse(member, "it is larger than 1 MiB");
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
    refhost::Unpack(package, wanted, folder);
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
