#include "orvhost/maker/zip_archive.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <memory>
#include <stdexcept>

#include "posix/file_descriptor.h"
#include "posix/last_error.h"

namespace orvhost {

namespace {

constexpr mode_t kPlain = 0644;
constexpr mode_t kExecutable = 0755;

class ZipArchive {
 public:
  explicit ZipArchive(const std::string& path) : archive_(archive_write_new(), archive_write_free) {
    file_ = posix::FileDescriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kPlain));
    if (!file_.IsOpen()) {
      throw std::runtime_error(path + " cannot be made: " + posix::LastError());
    }
    Check(archive_write_set_format_zip(archive_.get()));
    Check(archive_write_set_options(archive_.get(), "zip:compression=store"));
    Check(archive_write_open_fd(archive_.get(), file_.Get()));
  }

  void Begin(const std::string& name, la_int64_t size, mode_t permissions) {
    const std::unique_ptr<archive_entry, void (*)(archive_entry*)> entry(archive_entry_new(), archive_entry_free);
    archive_entry_set_pathname(entry.get(), name.c_str());
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_perm(entry.get(), permissions);
    archive_entry_set_size(entry.get(), size);
    Check(archive_write_header(archive_.get(), entry.get()));
  }

  void Write(const char* bytes, std::size_t size) {
    if (archive_write_data(archive_.get(), bytes, size) != static_cast<la_ssize_t>(size)) {
      throw std::runtime_error(archive_error_string(archive_.get()));
    }
  }

  void End() {
    Check(archive_write_close(archive_.get()));
    if (fsync(file_.Get()) != 0) {
      throw std::runtime_error("it does not reach the disk: " + posix::LastError());
    }
  }

 private:
  void Check(int result) {
    if (result < ARCHIVE_WARN) {
      throw std::runtime_error(archive_error_string(archive_.get()));
    }
  }

  posix::FileDescriptor file_;
  std::unique_ptr<archive, int (*)(archive*)> archive_;
};

void AddFile(ZipArchive* archive, const std::string& name, const std::string& path) {
  const posix::FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat status {};
  if (!file.IsOpen() || fstat(file.Get(), &status) != 0) {
    throw std::runtime_error(path + " cannot be read: " + posix::LastError());
  }
  archive->Begin(name, status.st_size, (status.st_mode & S_IXUSR) != 0 ? kExecutable : kPlain);
  std::array<char, 65536> block{};
  for (off_t left = status.st_size; left > 0;) {
    const ssize_t size = read(file.Get(), block.data(), block.size());
    if (size <= 0 || size > left) {
      throw std::runtime_error(path + (size < 0 ? " cannot be read: " + posix::LastError() : " changes meanwhile"));
    }
    archive->Write(block.data(), static_cast<std::size_t>(size));
    left -= size;
  }
}

}  // namespace

bool WriteZipArchive(const std::string& path, const std::string& firstName, const std::string& firstContent,
                     const std::map<std::string, std::string>& files, std::string* error) {
  try {
    ZipArchive archive(path);
    archive.Begin(firstName, static_cast<la_int64_t>(firstContent.size()), kPlain);
    archive.Write(firstContent.data(), firstContent.size());
    for (const auto& [name, where] : files) {
      AddFile(&archive, name, where);
    }
    archive.End();
    return true;
  } catch (const std::runtime_error& failure) {
    *error = failure.what();
    return false;
  }
}

}  // namespace orvhost
