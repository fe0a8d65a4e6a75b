// Gives a target every file of one folder, without a fuzzer: what was found once is looked at in every build. The
// target ends the process at the input whose name was printed last.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <system_error>
#include <vector>

#include "fuzz/property.h"

namespace {

namespace fs = std::filesystem;

// In the order of their names; none of a folder that cannot be read.
std::vector<fs::path> FilesOf(const fs::path& folder) {
  std::vector<fs::path> files;
  std::error_code unreadable;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, unreadable)) {
    if (entry.is_regular_file()) {
      files.push_back(entry.path());
    }
  }
  std::ranges::sort(files);
  return files;
}

bool Replay(const fs::path& file) {
  std::cout << file.filename().string() << std::endl;  // at once, because the target may end the process
  std::ifstream stream(file, std::ios::binary);
  if (!stream) {
    std::cerr << "cannot be read\n";
    return false;
  }
  const std::vector<char> content{std::istreambuf_iterator<char>(stream), {}};
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
  return true;
}

}  // namespace

int main(int count, char** words) {
  const std::vector<fs::path> files = count == 2 ? FilesOf(words[1]) : std::vector<fs::path>();
  if (files.empty()) {
    std::cerr << "Usage: " << words[0] << " FOLDER, which must hold inputs\n";
    return 2;
  }
  if (!std::ranges::all_of(files, Replay)) {
    return 1;
  }
  std::cout << files.size() << " inputs\n";
  return 0;
}
