#include "refhost/common/unpack.h"

#include "refhost/common/member_path.h"
#include "refhost/common/unpack_folder.h"

namespace refhost {

namespace {

using Kind = ArchiveMember::Kind;

// Of a name in a sentence.
constexpr std::size_t kLongestShown = 100;

constexpr std::size_t kLongestName = 1024;
constexpr std::size_t kDeepest = 16;

std::string Shown(const std::string& name) {
  return name.size() <= kLongestShown ? name : name.substr(0, kLongestShown) + "...";
}

[[noreturn]] void Refuse(const ArchiveMember& member, const std::string& reason) {
  throw ArchiveError("member [" + Shown(member.name) + "]: " + reason);
}

void CheckLink(const ArchiveMember& member, const MemberPath& path) {
  if (member.linkTarget.size() > kLongestName) {
    Refuse(member, "the link's target is longer than " + std::to_string(kLongestName) + " bytes");
  }
  const bool contained = member.kind == Kind::kSymlink ? IsContainedLink(path, member.linkTarget)
                                                       : ParseMemberName(member.linkTarget).has_value();
  if (!contained) {
    Refuse(member, "the link to [" + Shown(member.linkTarget) + "] leaves the folder");
  }
}

MemberPath CheckedPath(const ArchiveMember& member) {
  if (member.name.size() > kLongestName) {
    Refuse(member, "the name is longer than " + std::to_string(kLongestName) + " bytes");
  }
  const auto path = ParseMemberName(member.name);
  if (!path) {
    Refuse(member, "the name leaves the folder");
  }
  if (path->size() > kDeepest) {
    Refuse(member, "it lies more than " + std::to_string(kDeepest) + " folders deep");
  }
  if (!IsShellSafe(member.name)) {
    Refuse(member, "the name holds a character that is unsafe in a command line (control character, \", \\, ` or $)");
  }
  if (member.kind == Kind::kSpecial) {
    Refuse(member, "devices and pipes are not unpacked");
  }
  if (member.kind == Kind::kSymlink || member.kind == Kind::kHardLink) {
    CheckLink(member, *path);
  }
  return *path;
}

const auto kDiscard = [](const char* /*bytes*/, std::size_t /*size*/) {};

// The names in `wanted` that the archive does not hold.
std::set<std::string> CheckArchive(const std::string& archive, std::set<std::string> wanted) {
  ArchiveReader reader(archive);
  ArchiveMember member;
  bool empty = true;
  while (reader.Next(&member)) {
    empty = false;
    (void)CheckedPath(member);
    reader.ReadData(kDiscard);
    wanted.erase(member.name);
  }
  if (empty) {
    throw ArchiveError("the archive is empty");
  }
  return wanted;
}

// Writes the members of an archive, and counts their bytes against the room that there is.
class Unpacking {
 public:
  Unpacking(const std::string& folder, std::uintmax_t room) : folder_(folder), room_(room) {}

  void Take(ArchiveReader& reader, const ArchiveMember& member) {
    const MemberPath path = CheckedPath(member);
    try {
      Write(reader, member, path);
    } catch (const PlaceError&) {
      throw;
    } catch (const ArchiveError& error) {
      Refuse(member, error.what());
    }
    if (member.kind != Kind::kFile) {
      reader.ReadData(kDiscard);  // data that it should not have; unread, it would be passed over without a limit
    }
  }

 private:
  void Write(ArchiveReader& reader, const ArchiveMember& member, const MemberPath& path) {
    switch (member.kind) {
      case Kind::kFolder:
        return folder_.MakeFolder(path);
      case Kind::kFile:
        return WriteFile(reader, member, path);
      case Kind::kSymlink:
        return folder_.MakeSymlink(path, member.linkTarget);
      case Kind::kHardLink:
        return folder_.MakeHardLink(path, *ParseMemberName(member.linkTarget));
      case Kind::kSpecial:
        return;  // refused by CheckedPath
    }
  }

  void WriteFile(ArchiveReader& reader, const ArchiveMember& member, const MemberPath& path) {
    LimitTo(member.size);
    const posix::FileDescriptor file = folder_.CreateFile(path, member.permissions);
    reader.ReadData([&](const char* bytes, std::size_t size) {
      LimitTo(size);
      if (!posix::WriteAll(file.Get(), bytes, size)) {
        ThrowLastError("cannot write the file");
      }
      room_ -= size;
    });
  }

  void LimitTo(std::uintmax_t bytes) const {
    if (bytes > room_) {
      throw PlaceError("there is no room for what it unpacks to");
    }
  }

  UnpackFolder folder_;
  std::uintmax_t room_;
};

}  // namespace

void UnpackChecked(const std::string& archive, const std::set<std::string>& wanted, const std::string& folder) {
  const std::set<std::string> missing = CheckArchive(archive, wanted);
  if (!missing.empty()) {
    throw ArchiveError("it holds no member [" + *missing.begin() + "]");
  }
  Unpacking unpacking(folder, kMostUnpackedBytes);
  ArchiveReader reader(archive);
  ArchiveMember member;
  while (reader.Next(&member)) {
    if (wanted.empty() || wanted.count(member.name) != 0) {
      unpacking.Take(reader, member);
    }
  }
}

void UnpackAtOnce(const std::string& archive, const std::string& folder, std::uintmax_t room) {
  Unpacking unpacking(folder, room);
  ArchiveReader reader(archive);
  ArchiveMember member;
  bool empty = true;
  while (reader.Next(&member)) {
    empty = false;
    unpacking.Take(reader, member);
  }
  if (empty) {
    throw ArchiveError("the archive is empty");
  }
}

}  // namespace refhost
