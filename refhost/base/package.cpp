#include "refhost/package.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>

#include "host/DllCommon.h"
#include "posix/last_error.h"
#include "posix/regular_file.h"
#include "refhost/archive_member.h"

namespace refhost {

namespace {

using nlohmann::json;

constexpr const char* kManifestName = "module.json";
constexpr std::size_t kLargestManifest = 64UL * 1024UL;
constexpr std::size_t kLongestText = 255;
constexpr std::size_t kMostServerTypes = 64;
constexpr int kDeepest = 8;

// What is valid JSON and still no description that two readers would understand alike.
class Ambiguous : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Refuses names that stand twice in an object, and nesting, while the text is parsed.
class StructureCheck {
 public:
  bool operator()(int depth, json::parse_event_t event, const json& parsed) {
    if (depth > kDeepest) {
      throw Ambiguous("it is nested more than " + std::to_string(kDeepest) + " levels deep");
    }
    if (event == json::parse_event_t::object_start) {
      names_.emplace_back();
    } else if (event == json::parse_event_t::object_end) {
      names_.pop_back();
    } else if (event == json::parse_event_t::key && !names_.back().insert(parsed.get<std::string>()).second) {
      throw Ambiguous("\"" + parsed.get<std::string>().substr(0, kLongestText) + "\" stands twice in an object");
    }
    return true;
  }

 private:
  std::vector<std::set<std::string>> names_;  // of the objects that are open
};

PackageManifest Parse(const std::string& text) {
  if (text.find('\0') != std::string::npos) {
    throw Ambiguous("it holds a NUL character");  // at which the parser would stop
  }
  StructureCheck check;
  const json document = json::parse(text, std::ref(check));
  PackageManifest manifest;
  document.at("name").get_to(manifest.name);
  document.at("version").get_to(manifest.version);
  manifest.model = document.value("model", "");
  for (const auto& type : document.at("server_types").get<std::vector<std::string>>()) {
    manifest.serverTypes.push_back(CStringUtil::StringToLowerCase(type));
  }
  return manifest;
}

bool IsTooLong(const std::string& text) {
  return text.size() > kLongestText;
}

// What is wrong with a manifest that could be parsed; "" for nothing.
std::string Shortcoming(const PackageManifest& manifest) {
  if (manifest.name.empty()) {
    return "\"name\" is empty";
  }
  if (manifest.version.empty()) {
    return "\"version\" is empty";
  }
  if (manifest.serverTypes.empty()) {
    return "\"server_types\" names no server type";
  }
  if (std::ranges::any_of(manifest.serverTypes, &std::string::empty)) {
    return "\"server_types\" names an empty server type";
  }
  if (manifest.serverTypes.size() > kMostServerTypes) {
    return "\"server_types\" names more than " + std::to_string(kMostServerTypes) + " server types";
  }
  if (IsTooLong(manifest.name) || IsTooLong(manifest.version) || IsTooLong(manifest.model) ||
      std::ranges::any_of(manifest.serverTypes, IsTooLong)) {
    return "a text is longer than " + std::to_string(kLongestText) + " bytes";
  }
  return "";
}

}  // namespace

bool ParsePackageManifest(const std::string& text, PackageManifest* manifest, std::string* error) {
  try {
    *manifest = Parse(text);
    *error = Shortcoming(*manifest);
  } catch (const json::exception& failure) {
    *error = failure.what();
  } catch (const Ambiguous& failure) {
    *error = failure.what();
  }
  if (error->empty()) {
    return true;
  }
  *error = std::string(kManifestName) + " is not valid: " + *error;
  return false;
}

bool ReadPackageManifest(const std::string& packagePath, PackageManifest* manifest, std::string* error) {
  std::string text;
  return ReadArchiveMember(packagePath, kManifestName, &text, error) && ParsePackageManifest(text, manifest, error);
}

bool ReadPackageManifest(const StagedPackage& package, PackageManifest* manifest, std::string* error) {
  const std::string path = package.FilesFolder() + "/" + kManifestName;
  std::error_code failure;
  if (!std::filesystem::is_regular_file(std::filesystem::symlink_status(path, failure))) {
    *error = std::string("the archive holds no ") + kManifestName;
    return false;
  }
  const auto text = posix::ReadRegularFile(path, kLargestManifest);
  if (!text) {
    *error = std::string(kManifestName) +
             (errno == EFBIG ? " is larger than 64 KiB" : " cannot be read: " + posix::LastError());
    return false;
  }
  return ParsePackageManifest(*text, manifest, error);
}

bool IsMadeFor(const PackageManifest& manifest, const std::string& serverType) {
  return std::ranges::any_of(manifest.serverTypes, [&](const std::string& listed) {
    if (serverType.compare(0, listed.size(), listed) != 0) {
      return false;
    }
    return serverType.size() == listed.size() || isalnum(static_cast<unsigned char>(serverType[listed.size()])) == 0;
  });
}

}  // namespace refhost
