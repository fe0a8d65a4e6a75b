#include "refhost/package.h"

#include <algorithm>
#include <cctype>
#include <nlohmann/json.hpp>

#include "host/DllCommon.h"
#include "refhost/archive_member.h"

namespace refhost {

namespace {

using nlohmann::json;

constexpr const char* kManifestName = "module.json";

PackageManifest Parse(const std::string& text) {
  const json document = json::parse(text);
  PackageManifest manifest;
  document.at("name").get_to(manifest.name);
  document.at("version").get_to(manifest.version);
  manifest.model = document.value("model", "");
  for (const auto& type : document.at("server_types").get<std::vector<std::string>>()) {
    manifest.serverTypes.push_back(CStringUtil::StringToLowerCase(type));
  }
  return manifest;
}

// What a manifest that could be parsed still lacks; "" for nothing.
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
  return "";
}

}  // namespace

bool ParsePackageManifest(const std::string& text, PackageManifest* manifest, std::string* error) {
  try {
    *manifest = Parse(text);
    *error = Shortcoming(*manifest);
  } catch (const json::exception& failure) {
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

bool IsMadeFor(const PackageManifest& manifest, const std::string& serverType) {
  return std::ranges::any_of(manifest.serverTypes, [&](const std::string& listed) {
    if (serverType.compare(0, listed.size(), listed) != 0) {
      return false;
    }
    return serverType.size() == listed.size() || isalnum(static_cast<unsigned char>(serverType[listed.size()])) == 0;
  });
}

}  // namespace refhost
