#include "posix/scratch_folder.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace posix {

ScratchFolder::ScratchFolder(const std::string& parent, const std::string& name)
    : path_((std::filesystem::absolute(parent) / (name + ".XXXXXX")).string()) {
  if (mkdtemp(path_.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(), "none can be made in " + parent);
  }
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace posix
