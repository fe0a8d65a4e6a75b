// A well-formed archive whose members the input describes, one on each line: "f NAME" a file, "d NAME" a folder,
// "s NAME TARGET" a symbolic link, "h NAME TARGET" a hard link, "p NAME" a pipe. So the fuzzer plays with names and
// links instead of with checksums.
#include <sstream>
#include <stdexcept>

#include "fuzz/property.h"
#include "fuzz/unpack_check.h"
#include "tests/refhost/support/archive_builder.h"

namespace {

constexpr int kMostMembers = 16;

refhost::ArchiveBuilder Described(const std::string& description) {
  refhost::ArchiveBuilder archive;
  std::istringstream lines(description);
  std::string line;
  for (int i = 0; i < kMostMembers && std::getline(lines, line); ++i) {
    std::istringstream words(line);
    char kind = 0;
    std::string name;
    std::string target;
    words >> kind >> name >> target;
    switch (kind) {
      case 'f':
        archive.File(name, "content", 07777);
        break;
      case 'd':
        archive.Folder(name);
        break;
      case 's':
        archive.Symlink(name, target);
        break;
      case 'h':
        archive.HardLink(name, target);
        break;
      case 'p':
        archive.Pipe(name);
        break;
      default:
        break;
    }
  }
  return archive;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string archive;
  try {
    archive = Described(fuzz::Text(data, size)).Build(refhost::ArchiveBuilder::Format::kTar);
  } catch (const std::runtime_error&) {
    return -1;  // a member that no archive can hold
  }
  fuzz::CheckUnpacking(archive);
  return 0;
}
