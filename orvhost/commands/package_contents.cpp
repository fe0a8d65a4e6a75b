#include "orvhost/commands/package_contents.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

#include "orvhost/commands/plugin_demands.h"

namespace orvhost {

namespace {

namespace fs = std::filesystem;
using namespace plugin_demands;

bool IsNamedLikeAnImage(const fs::path& path) {
  return path.filename().native().find(kImage) != std::string::npos;
}

std::vector<fs::path> ImagesAtTheTop(const std::string& folder) {
  std::vector<fs::path> images;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    if (IsNamedLikeAnImage(entry.path())) {
      images.push_back(entry.path());
    }
  }
  std::ranges::sort(images);
  return images;
}

std::string WhyThereIsNoImage(const std::string& folder) {
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
    if (IsNamedLikeAnImage(entry.path())) {
      return "its image " + entry.path().lexically_relative(folder).string() + " lies in a folder and not at its top";
    }
  }
  return "it holds no image (a file whose name holds " + std::string(kImage) + ")";
}

std::string ImageComplaint(const std::string& folder) {
  const std::vector<fs::path> images = ImagesAtTheTop(folder);
  if (images.empty()) {
    return WhyThereIsNoImage(folder);
  }
  if (images.size() > 1) {
    return "it holds " + std::to_string(images.size()) + " images, " + images[0].filename().string() + " and " +
           images[1].filename().string() + (images.size() > 2 ? " among them" : "") + ", and only one can be written";
  }
  const std::string name = images[0].filename().string();
  if (!fs::is_regular_file(fs::symlink_status(images[0]))) {
    return "its image " + name + " is not a file";
  }
  return fs::file_size(images[0]) == 0 ? "its image " + name + " is empty" : "";
}

// The plug-in makes everything executable first, which fails at a link to nothing.
std::string LinkComplaint(const std::string& folder) {
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
    std::error_code ignored;
    if (entry.is_symlink() && !fs::exists(entry.path(), ignored)) {
      return "its link " + entry.path().lexically_relative(folder).string() + " points to nothing";
    }
  }
  return "";
}

std::string ScriptComplaint(const std::string& folder) {
  for (const std::string_view name : {kScript, kScriptAnswers}) {
    std::error_code ignored;
    if (!fs::is_regular_file(fs::path(folder) / name, ignored)) {
      return "it holds no file " + std::string(name) + " at its top";
    }
  }
  return LinkComplaint(folder);
}

}  // namespace

UpdateMethod MethodFor(const std::string& serverType) {
  return serverType.find(kScriptServers) != std::string::npos ? UpdateMethod::kScript : UpdateMethod::kFlashTool;
}

std::string ContentsComplaint(UpdateMethod method, const std::string& folder) {
  return method == UpdateMethod::kScript ? ScriptComplaint(folder) : ImageComplaint(folder);
}

std::uintmax_t UnpackedBytes(const std::string& folder) {
  std::uintmax_t bytes = 0;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
    if (fs::is_regular_file(entry.symlink_status())) {
      bytes += entry.file_size();
    }
  }
  return bytes;
}

}  // namespace orvhost
