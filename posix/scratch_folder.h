// A folder that only this process' user reaches, for as long as the object lives.
#ifndef POSIX_SCRATCH_FOLDER_H
#define POSIX_SCRATCH_FOLDER_H

#include <string>

namespace posix {

class ScratchFolder {
 public:
  // Makes it as `parent`/`name`.XXXXXX. Throws std::system_error when that cannot be.
  ScratchFolder(const std::string& parent, const std::string& name);
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder();  // removes it with what it holds

  [[nodiscard]] const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace posix

#endif  // POSIX_SCRATCH_FOLDER_H
