#include "ipmi/file_probe.h"

#include <cstdio>

namespace kestrel {

bool CanBeRead(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "r");
  if (file == nullptr) {
    return false;
  }
  std::fclose(file);
  return true;
}

}  // namespace kestrel
