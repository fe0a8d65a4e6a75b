#include "explore/descriptors.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace explore {

namespace {

constexpr mode_t kUsualMask = 07755;

}  // namespace

bool OpenFile::Lock() {
  if (file->lockedBy != nullptr && file->lockedBy != this) {
    return false;
  }
  file->lockedBy = this;
  return true;
}

void OpenFile::Unlock() {
  if (file->lockedBy == this) {
    file->lockedBy = nullptr;
  }
}

int Descriptors::Add(const std::shared_ptr<OpenFile>& open) {
  const auto free = std::ranges::find(open_, nullptr);
  if (free == open_.end()) {
    errno = EMFILE;
    return -1;
  }
  *free = open;
  return kFirst + static_cast<int>(free - open_.begin());
}

const std::shared_ptr<OpenFile>& Descriptors::Get(int descriptor) const {
  static const std::shared_ptr<OpenFile> kNone;
  const bool isOne = descriptor >= kFirst && descriptor < kFirst + static_cast<int>(open_.size());
  return isOne ? open_[static_cast<std::size_t>(descriptor - kFirst)] : kNone;
}

bool Descriptors::Close(int descriptor) {
  if (!Get(descriptor)) {
    return false;
  }
  open_[static_cast<std::size_t>(descriptor - kFirst)].reset();
  return true;
}

int Descriptors::CloseAll() {
  const auto open = std::ranges::count_if(open_, [](const auto& one) { return one != nullptr; });
  std::ranges::fill(open_, nullptr);
  return static_cast<int>(open);
}

std::shared_ptr<OpenFile> OpenIn(Files& files, const FilePointer& from, const char* path, int flags, mode_t mode) {
  const auto failed = [](int error) {
    errno = error;
    return std::shared_ptr<OpenFile>();
  };
  const bool writes = (flags & O_ACCMODE) != O_RDONLY;
  FilePointer file = files.Find(from, path);
  if (file && (flags & O_CREAT) != 0 && (flags & O_EXCL) != 0) {
    return failed(EEXIST);
  }
  if (!file && errno == ENOENT && (flags & O_CREAT) != 0) {
    file = files.Make(from, path, false, mode & kUsualMask);
  }
  if (!file) {
    return {};
  }
  if (file->IsFolder() ? writes : (flags & O_DIRECTORY) != 0) {
    return failed(file->IsFolder() ? EISDIR : ENOTDIR);
  }
  if (writes && (flags & O_TRUNC) != 0) {
    file->Truncate(0, files.now());
  }
  return std::make_shared<OpenFile>(file, flags, path);
}

ssize_t ReadFrom(OpenFile& open, void* buffer, std::size_t size) {
  if (open.file->IsFolder()) {
    errno = EISDIR;
    return -1;
  }
  const std::string& content = open.file->Content();
  const std::size_t count = open.at < content.size() ? std::min(size, content.size() - open.at) : 0;
  std::memcpy(buffer, content.data() + std::min(open.at, content.size()), count);
  open.at += count;
  return static_cast<ssize_t>(count);
}

ssize_t WriteTo(OpenFile& open, const void* bytes, std::size_t size, std::int64_t now) {
  if ((open.flags & O_ACCMODE) == O_RDONLY) {
    errno = EBADF;
    return -1;
  }
  open.at = (open.flags & O_APPEND) != 0 ? open.file->Content().size() : open.at;
  open.file->Write(open.at, {static_cast<const char*>(bytes), size}, now);
  open.at += size;
  return static_cast<ssize_t>(size);
}

off_t Seek(OpenFile& open, off_t offset, int whence) {
  const auto from = whence == SEEK_SET   ? off_t{0}
                    : whence == SEEK_CUR ? static_cast<off_t>(open.at)
                                         : static_cast<off_t>(open.file->Content().size());
  if (whence > SEEK_END || from + offset < 0) {
    errno = EINVAL;
    return -1;
  }
  open.at = static_cast<std::size_t>(from + offset);
  return from + offset;
}

}  // namespace explore
