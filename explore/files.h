// A tree of files in memory, with what of it has reached the disk: nothing of the simulated machine's is a real file.
#ifndef EXPLORE_FILES_H
#define EXPLORE_FILES_H

#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace explore {

class File;
using FilePointer = std::shared_ptr<File>;
using Entries = std::map<std::string, FilePointer, std::less<>>;

// A file or a folder. What is changed reaches the disk by Sync(), or by itself after half a minute.
class File {
 public:
  File(bool isFolder, mode_t mode, ino_t number) : isFolder_(isFolder), mode_(mode), number_(number) {}

  [[nodiscard]] bool IsFolder() const { return isFolder_; }
  [[nodiscard]] mode_t Mode() const { return mode_; }
  void SetMode(mode_t mode) {
    mode_ = mode;
    ++changes;
  }
  [[nodiscard]] struct stat Status() const;

  // Of a file.
  [[nodiscard]] const std::string& Content() const { return content_; }
  void Write(std::size_t at, std::string_view bytes, std::int64_t now);
  void Truncate(std::size_t size, std::int64_t now);

  // Of a folder.
  [[nodiscard]] const Entries& Inside() const { return entries_; }
  void Put(std::string_view name, const FilePointer& file, std::int64_t now);
  void Take(std::string_view name, std::int64_t now);

  void Sync();
  void LosePower(std::int64_t now);  // what has not reached the disk is gone, here and in all that is inside

  std::weak_ptr<File> parent;  // the folder that it stands in

  // How often any file was changed, and brought to the disk: while neither grows, the files stay as they are.
  static inline std::uint64_t changes = 0;
  static inline std::uint64_t syncs = 0;

  // Who has locked it: anything that is the holder's own. Null for nobody.
  const void* lockedBy = nullptr;

 private:
  void Change(std::int64_t now);

  const bool isFolder_;
  mode_t mode_;
  const ino_t number_;
  std::string content_;
  Entries entries_;
  std::int64_t changedAt_ = 0;
  bool isSynced_ = true;
  std::size_t syncedSize_ = 0;                // of the content, as long as that was only added to
  std::optional<std::string> syncedContent_;  // otherwise
  Entries syncedEntries_;                     // of a folder that is not synced
};

// Absolute paths begin at the root. There are no links. What cannot be done leaves its reason in errno.
class Files {
 public:
  Files() { Clear(); }

  void Clear();

  [[nodiscard]] const FilePointer& Root() const { return root_; }
  [[nodiscard]] FilePointer Find(std::string_view path) const { return Find(root_, path); }
  [[nodiscard]] FilePointer Find(const FilePointer& from, std::string_view path) const;

  // The file that was made; null when its folder is not there, or it is there already.
  FilePointer Make(const FilePointer& from, std::string_view path, bool isFolder, mode_t mode);
  [[nodiscard]] FilePointer MakeNameless();  // an empty file that stands in no folder

  bool Remove(const FilePointer& from, std::string_view path, bool isFolder);
  bool Rename(std::string_view from, std::string_view to);
  void RemoveAll(std::string_view path);
  void LosePower() { root_->LosePower(now()); }

  std::function<std::int64_t()> now = [] { return 0; };  // in microseconds

 private:
  struct Place {
    FilePointer folder;
    std::string_view name;
  };
  [[nodiscard]] std::optional<Place> PlaceOf(const FilePointer& from, std::string_view path) const;

  FilePointer root_;
  ino_t number_ = 0;
};

}  // namespace explore

#endif  // EXPLORE_FILES_H
