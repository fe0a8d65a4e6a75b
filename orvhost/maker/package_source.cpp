#include "orvhost/maker/package_source.h"

#include <filesystem>
#include <nlohmann/json.hpp>
#include <system_error>

#include "refhost/staged_package.h"

namespace orvhost {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostFiles = refhost::kMostMembers - 1;  // and the description

void FindBelow(const fs::path& folder, PackageSource* source, std::string* error) {
  std::uintmax_t bytes = 0;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
    const std::string name = entry.path().lexically_relative(folder).string();
    if (entry.is_symlink() || (!entry.is_directory() && !entry.is_regular_file())) {
      *error = "its " + name + " is " + (entry.is_symlink() ? "a link" : "no file");
      return;
    }
    if (entry.is_directory()) {
      continue;
    }
    bytes += entry.file_size();
    if (name == refhost::kManifestName) {
      source->description = entry.path().string();
    } else {
      source->files[name] = entry.path().string();
    }
    if (bytes > refhost::kMostUnpackedBytes) {
      *error = "it holds more than 1 GiB";
      return;
    }
    if (source->files.size() > kMostFiles) {
      *error = "it holds more than " + std::to_string(kMostFiles) + " files";
      return;
    }
  }
  *error = source->files.empty() ? "it holds no file" : "";
}

}  // namespace

bool FindSource(const std::string& path, PackageSource* source, std::string* error) {
  try {
    const fs::file_status status = fs::status(path);
    if (fs::is_directory(status)) {
      FindBelow(path, source, error);
    } else if (!fs::exists(status)) {
      *error = "there is no such file or folder";
    } else if (!fs::is_regular_file(status)) {
      *error = "it is neither a file nor a folder";
    } else if (fs::file_size(path) > refhost::kMostUnpackedBytes) {
      *error = "it has more than 1 GiB";
    } else {
      source->files[fs::path(path).filename().string()] = path;
    }
  } catch (const fs::filesystem_error& failure) {
    *error = "it cannot be read: " + failure.code().message();
  }
  return error->empty();
}

bool ListFiles(const PackageSource& source, refhost::PackageManifest* manifest, std::string* error) {
  manifest->listsFiles = true;
  manifest->files.clear();
  for (const auto& [name, path] : source.files) {
    std::error_code failure;
    refhost::StatedFile file{refhost::Sha256OfFile(path, error), fs::file_size(path, failure)};
    if (file.sha256.empty() || failure) {
      *error = path + " cannot be read: " + (failure ? failure.message() : *error);
      return false;
    }
    manifest->files[name] = file;
  }
  return true;
}

std::string DescriptionText(const refhost::PackageManifest& manifest) {
  using nlohmann::ordered_json;
  ordered_json files = ordered_json::object();
  for (const auto& [name, file] : manifest.files) {
    files[name] = {{"size", file.size}, {"sha256", file.sha256}};
  }
  const ordered_json description = {{"name", manifest.name},
                                    {"version", manifest.version},
                                    {"model", manifest.model},
                                    {"server_types", manifest.serverTypes},
                                    {"files", files}};
  return description.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace orvhost
