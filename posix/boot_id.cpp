#include "posix/boot_id.h"

#include <fstream>

namespace posix {

std::string BootId() {
  std::string id;
  std::getline(std::ifstream("/proc/sys/kernel/random/boot_id"), id);
  return id;
}

}  // namespace posix
