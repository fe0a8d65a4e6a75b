#include "explore/files.h"

#include <cerrno>

namespace explore {

namespace {

constexpr std::int64_t kReachesTheDiskAfter = 30'000'000;
constexpr mode_t kPermissions = 07777;

// The first name of a path, which loses it.
std::string_view TakeName(std::string_view* path) {
  path->remove_prefix(std::min(path->find_first_not_of('/'), path->size()));
  const std::string_view name = path->substr(0, path->find('/'));
  path->remove_prefix(name.size());
  return name;
}

template <typename Result>
Result Failed(int error) {
  errno = error;
  return {};
}

}  // namespace

struct stat File::Status() const {
  struct stat status {};
  status.st_dev = 1;
  status.st_ino = number_;
  status.st_nlink = isFolder_ ? 2 : 1;
  status.st_mode = (isFolder_ ? S_IFDIR : S_IFREG) | (mode_ & kPermissions);
  status.st_size = static_cast<off_t>(content_.size());
  status.st_blksize = 4096;
  status.st_blocks = static_cast<blkcnt_t>((content_.size() + 511) / 512);
  return status;
}

void File::Change(std::int64_t now) {
  ++changes;
  if (!isSynced_ && now - changedAt_ > kReachesTheDiskAfter) {
    Sync();
  }
  if (isSynced_ && isFolder_) {
    syncedEntries_ = entries_;
  }
  isSynced_ = false;
  changedAt_ = now;
}

void File::Write(std::size_t at, std::string_view bytes, std::int64_t now) {
  Change(now);
  if (at < syncedSize_ && !syncedContent_) {
    syncedContent_ = content_.substr(0, syncedSize_);
  }
  content_.resize(std::max(content_.size(), at + bytes.size()));
  content_.replace(at, bytes.size(), bytes);
}

void File::Truncate(std::size_t size, std::int64_t now) {
  Change(now);
  if (size < syncedSize_ && !syncedContent_) {
    syncedContent_ = content_.substr(0, syncedSize_);
  }
  content_.resize(size);
}

void File::Put(std::string_view name, const FilePointer& file, std::int64_t now) {
  Change(now);
  entries_.insert_or_assign(std::string(name), file);
}

void File::Take(std::string_view name, std::int64_t now) {
  Change(now);
  if (const auto entry = entries_.find(name); entry != entries_.end()) {
    entries_.erase(entry);
  }
}

void File::Sync() {
  ++syncs;
  isSynced_ = true;
  syncedSize_ = content_.size();
  syncedContent_.reset();
  syncedEntries_.clear();
}

void File::LosePower(std::int64_t now) {
  lockedBy = nullptr;
  if (!isSynced_ && now - changedAt_ <= kReachesTheDiskAfter) {
    content_ = syncedContent_ ? *syncedContent_ : content_.substr(0, syncedSize_);
    entries_ = isFolder_ ? syncedEntries_ : Entries();
  }
  Sync();
  for (const auto& [name, file] : entries_) {
    file->LosePower(now);
  }
}

void Files::Clear() {
  number_ = 0;
  root_ = std::make_shared<File>(true, 0755, ++number_);
}

FilePointer Files::Find(const FilePointer& from, std::string_view path) const {
  FilePointer found = path.starts_with('/') ? root_ : from;
  for (std::string_view name = TakeName(&path); !name.empty(); name = TakeName(&path)) {
    if (!found->IsFolder()) {
      return Failed<FilePointer>(ENOTDIR);
    }
    if (name == "." || name == "..") {
      const FilePointer parent = name == ".." ? found->parent.lock() : nullptr;
      found = parent ? parent : found;
      continue;
    }
    const auto entry = found->Inside().find(name);
    if (entry == found->Inside().end()) {
      return Failed<FilePointer>(ENOENT);
    }
    found = entry->second;
  }
  return found;
}

std::optional<Files::Place> Files::PlaceOf(const FilePointer& from, std::string_view path) const {
  while (path.ends_with('/')) {
    path.remove_suffix(1);
  }
  const std::size_t slash = path.rfind('/');
  const std::size_t begin = slash == std::string_view::npos ? 0 : slash + 1;
  const FilePointer folder = Find(from, path.substr(0, begin));
  if (!folder || !folder->IsFolder()) {
    return Failed<std::optional<Place>>(folder ? ENOTDIR : errno);
  }
  return Place{folder, path.substr(begin)};
}

FilePointer Files::Make(const FilePointer& from, std::string_view path, bool isFolder, mode_t mode) {
  const auto place = PlaceOf(from, path);
  if (!place) {
    return {};
  }
  if (place->name.empty() || place->name == "." || place->folder->Inside().contains(place->name)) {
    return Failed<FilePointer>(EEXIST);
  }
  auto file = std::make_shared<File>(isFolder, mode, ++number_);
  file->parent = place->folder;
  place->folder->Put(place->name, file, now());
  return file;
}

FilePointer Files::MakeNameless() {
  return std::make_shared<File>(false, 0600, ++number_);
}

bool Files::Remove(const FilePointer& from, std::string_view path, bool isFolder) {
  const auto place = PlaceOf(from, path);
  const FilePointer file = place ? Find(place->folder, place->name) : nullptr;
  if (!file) {
    return false;
  }
  if (file->IsFolder() != isFolder) {
    return Failed<bool>(isFolder ? ENOTDIR : EISDIR);
  }
  if (!file->Inside().empty()) {
    return Failed<bool>(ENOTEMPTY);
  }
  place->folder->Take(place->name, now());
  return true;
}

bool Files::Rename(std::string_view from, std::string_view to) {
  const auto source = PlaceOf(root_, from);
  const FilePointer file = source ? Find(source->folder, source->name) : nullptr;
  const auto target = file ? PlaceOf(root_, to) : std::nullopt;
  if (!target) {
    return false;
  }
  const auto there = target->folder->Inside().find(target->name);
  if (there != target->folder->Inside().end()) {
    if (there->second->IsFolder() != file->IsFolder()) {
      return Failed<bool>(file->IsFolder() ? ENOTDIR : EISDIR);
    }
    if (!there->second->Inside().empty()) {
      return Failed<bool>(ENOTEMPTY);
    }
  }
  source->folder->Take(source->name, now());
  file->parent = target->folder;
  target->folder->Put(target->name, file, now());
  return true;
}

void Files::RemoveAll(std::string_view path) {
  if (const auto place = PlaceOf(root_, path); place && place->folder->Inside().contains(place->name)) {
    place->folder->Take(place->name, now());
  }
}

}  // namespace explore
