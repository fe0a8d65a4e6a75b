#include "tests/refhost/support/archive_builder.h"

#include <archive.h>
#include <archive_entry.h>

#include <stdexcept>

namespace refhost {

namespace {

la_ssize_t Append(archive* /*writer*/, void* bytes, const void* block, std::size_t size) {
  static_cast<std::string*>(bytes)->append(static_cast<const char*>(block), size);
  return static_cast<la_ssize_t>(size);
}

using Format = ArchiveBuilder::Format;

void SetFormat(archive* writer, Format format) {
  if (format == Format::kZip) {
    archive_write_set_format_zip(writer);
  } else {
    archive_write_set_format_pax_restricted(writer);
  }
  switch (format) {
    case Format::kZip:
    case Format::kTar:
      return;
    case Format::kTarGzip:
      archive_write_add_filter_gzip(writer);
      return;
    case Format::kTarBzip2:
      archive_write_add_filter_bzip2(writer);
      return;
    case Format::kTarXz:
      archive_write_add_filter_xz(writer);
      return;
    case Format::kTarZstd:
      archive_write_add_filter_zstd(writer);
      return;
  }
}

}  // namespace

ArchiveBuilder& ArchiveBuilder::File(const std::string& name, const std::string& content, unsigned permissions) {
  members_.push_back({AE_IFREG, name, content, permissions, false});
  return *this;
}

ArchiveBuilder& ArchiveBuilder::Folder(const std::string& name) {
  members_.push_back({AE_IFDIR, name, "", 0755, false});
  return *this;
}

ArchiveBuilder& ArchiveBuilder::Symlink(const std::string& name, const std::string& target) {
  members_.push_back({AE_IFLNK, name, target, 0777, false});
  return *this;
}

ArchiveBuilder& ArchiveBuilder::HardLink(const std::string& name, const std::string& target) {
  members_.push_back({AE_IFREG, name, target, 0644, true});
  return *this;
}

ArchiveBuilder& ArchiveBuilder::Pipe(const std::string& name) {
  members_.push_back({AE_IFIFO, name, "", 0644, false});
  return *this;
}

ArchiveBuilder& ArchiveBuilder::Device(const std::string& name) {
  members_.push_back({AE_IFCHR, name, "", 0644, false});
  return *this;
}

std::string ArchiveBuilder::Build(Format format) const {
  std::string bytes;
  archive* writer = archive_write_new();
  SetFormat(writer, format);
  archive_write_set_bytes_in_last_block(writer, 1);
  archive_write_open(writer, &bytes, nullptr, Append, nullptr);
  for (const Member& member : members_) {
    archive_entry* entry = archive_entry_new();
    const bool hasData = member.type == AE_IFREG && !member.isHardLink;
    archive_entry_set_pathname(entry, member.name.c_str());
    archive_entry_set_filetype(entry, member.type);
    archive_entry_set_perm(entry, member.permissions);
    archive_entry_set_size(entry, hasData ? static_cast<la_int64_t>(member.text.size()) : 0);
    if (member.isHardLink) {
      archive_entry_set_hardlink(entry, member.text.c_str());
    }
    if (member.type == AE_IFLNK) {
      archive_entry_set_symlink(entry, member.text.c_str());
    }
    bool ok = archive_write_header(writer, entry) >= ARCHIVE_WARN;  // that a name is in no known encoding
    if (hasData) {
      ok = ok && archive_write_data(writer, member.text.data(), member.text.size()) ==
                     static_cast<la_ssize_t>(member.text.size());
    }
    archive_entry_free(entry);
    if (!ok) {
      archive_write_free(writer);
      throw std::runtime_error("cannot build the archive");
    }
  }
  archive_write_close(writer);
  archive_write_free(writer);
  return bytes;
}

std::string Package(const std::string& version, const std::string& model, const std::string& serverTypes) {
  const std::string manifest = R"({"name": "KV6000 BMC firmware", "version": ")" + version + R"(", "model": ")" +
                               model + R"(", "server_types": )" + serverTypes +
                               R"(, "files": {"fw.ima": {"size": 5, "sha256": ")" +
                               "6105d6cc76af400325e94d588ce511be5bfdbb73b437dc51eca43917d7a43e3d" + "\"}}}";
  return ArchiveBuilder().File("module.json", manifest).File("fw.ima", "image").Build(ArchiveBuilder::Format::kZip);
}

}  // namespace refhost
