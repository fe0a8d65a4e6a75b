// Makes archives for tests, also such that no honest tool would make.
#ifndef TESTS_REFHOST_SUPPORT_ARCHIVE_BUILDER_H
#define TESTS_REFHOST_SUPPORT_ARCHIVE_BUILDER_H

#include <string>
#include <vector>

namespace refhost {

class ArchiveBuilder {
 public:
  enum class Format { kZip, kTar, kTarGzip, kTarBzip2, kTarXz, kTarZstd };

  ArchiveBuilder& File(const std::string& name, const std::string& content, unsigned permissions = 0644);
  ArchiveBuilder& Folder(const std::string& name);
  ArchiveBuilder& Symlink(const std::string& name, const std::string& target);
  ArchiveBuilder& HardLink(const std::string& name, const std::string& target);
  ArchiveBuilder& Pipe(const std::string& name);
  ArchiveBuilder& Device(const std::string& name);

  // The archive's bytes.
  std::string Build(Format format) const;

 private:
  struct Member {
    unsigned type;
    std::string name;
    std::string text;
    unsigned permissions;
    bool isHardLink;
  };

  std::vector<Member> members_;
};

// The bytes of a good update package with that version.
std::string Package(const std::string& version, const std::string& model = "",
                    const std::string& serverTypes = R"(["kv6000"])");

}  // namespace refhost

#endif  // TESTS_REFHOST_SUPPORT_ARCHIVE_BUILDER_H
