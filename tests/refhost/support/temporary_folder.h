// A folder of a test's own, removed with all that is in it.
#ifndef TESTS_REFHOST_SUPPORT_TEMPORARY_FOLDER_H
#define TESTS_REFHOST_SUPPORT_TEMPORARY_FOLDER_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace refhost {

class TemporaryFolder {
 public:
  TemporaryFolder() {
    // The blank is there on purpose: an install path may hold one.
    std::string name = (std::filesystem::temp_directory_path() / "refhost test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
      throw std::runtime_error("no temporary folder");
    }
    path_ = name;
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  std::string Path() const { return path_.string(); }
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }

  // Writes a file below the folder, making the folders above it, and returns its path.
  std::string Write(const std::string& name, const std::string& content) const {
    std::filesystem::create_directories((path_ / name).parent_path());
    std::ofstream(path_ / name, std::ios::binary) << content;
    return *this / name;
  }

  std::string Read(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(path_ / name, std::ios::binary).rdbuf();
    return text.str();
  }

  bool Has(const std::string& name) const {
    return std::filesystem::symlink_status(path_ / name).type() != std::filesystem::file_type::not_found;
  }

 private:
  std::filesystem::path path_;
};

}  // namespace refhost

#endif  // TESTS_REFHOST_SUPPORT_TEMPORARY_FOLDER_H
