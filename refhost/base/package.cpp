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
#include "refhost/staged_package.h"

namespace refhost {

namespace {

using nlohmann::json;

constexpr std::size_t kLargestManifest = 1024UL * 1024UL;
constexpr std::size_t kLongestText = 255;
constexpr std::size_t kMostServerTypes = 64;
constexpr int kDeepest = 8;
constexpr std::size_t kDigestLength = 64;

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

// The member of that name and kind.
const json& Member(const json& document, const std::string& name, bool (json::*isOfKind)() const noexcept,
                   const std::string& kind) {
  if (!document.is_object()) {
    throw Ambiguous("it is no JSON object");
  }
  const auto member = document.find(name);
  if (member == document.end()) {
    throw Ambiguous("\"" + name + "\" is missing");
  }
  if (!((*member).*isOfKind)()) {
    throw Ambiguous("\"" + name + "\" is no " + kind);
  }
  return *member;
}

std::string TextIn(const json& document, const std::string& name) {
  return Member(document, name, &json::is_string, "text").get<std::string>();
}

StatedFile StatedIn(const std::string& name, const json& entry) {
  const std::string of = "\"files\", " + name + ": ";
  try {
    const json& size = Member(entry, "size", &json::is_number_unsigned, "number of bytes");
    const std::string digest = CStringUtil::StringToLowerCase(TextIn(entry, "sha256"));
    if (digest.size() != kDigestLength || digest.find_first_not_of("0123456789abcdef") != std::string::npos) {
      throw Ambiguous("\"sha256\" is not 64 hexadecimal digits");
    }
    return {digest, size.get<std::uintmax_t>()};
  } catch (const Ambiguous& failure) {
    throw Ambiguous(of + failure.what());
  }
}

PackageManifest Parse(const std::string& text) {
  if (text.find('\0') != std::string::npos) {
    throw Ambiguous("it holds a NUL character");  // at which the parser would stop
  }
  StructureCheck check;
  const json document = json::parse(text, std::ref(check));
  PackageManifest manifest;
  manifest.name = TextIn(document, "name");
  manifest.version = TextIn(document, "version");
  manifest.model = document.contains("model") ? TextIn(document, "model") : "";
  for (const json& type : Member(document, "server_types", &json::is_array, "list")) {
    if (!type.is_string()) {
      throw Ambiguous("\"server_types\" holds what is no text");
    }
    manifest.serverTypes.push_back(CStringUtil::StringToLowerCase(type.get<std::string>()));
  }
  manifest.listsFiles = document.contains("files");
  if (manifest.listsFiles) {
    for (const auto& [name, entry] : Member(document, "files", &json::is_object, "object").items()) {
      manifest.files[name] = StatedIn(name, entry);
    }
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
  if (manifest.files.contains(kManifestName)) {
    return "\"files\" lists the description itself";
  }
  if (IsTooLong(manifest.name) || IsTooLong(manifest.version) || IsTooLong(manifest.model) ||
      std::ranges::any_of(manifest.serverTypes, IsTooLong)) {
    return "a text is longer than " + std::to_string(kLongestText) + " bytes";
  }
  return "";
}

// The paths of everything below the folder that is no folder itself; without the description.
std::set<std::string> FilesBelow(const std::string& folder) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (entry.is_symlink() || !entry.is_directory()) {
      names.insert(entry.path().lexically_relative(folder).string());
    }
  }
  names.erase(kManifestName);
  return names;
}

// How a file differs from what is stated of it; "" when it does not.
std::string Difference(const std::string& path, const StatedFile& stated) {
  std::error_code failure;
  const std::uintmax_t size = std::filesystem::file_size(path, failure);
  if (failure) {
    return "cannot be read: " + failure.message();
  }
  if (size != stated.size) {
    return "has " + std::to_string(size) + " bytes, and its description states " + std::to_string(stated.size);
  }
  std::string error;
  const std::string digest = Sha256OfFile(path, &error);
  if (digest.empty()) {
    return "cannot be read: " + error;
  }
  return digest == stated.sha256 ? "" : "is not the one that its description states, as its SHA-256 shows";
}

// The folder below `top` in which a description lies, as in an archive that was packed with its folder; "" for none.
std::string FolderOfManifest(const std::string& top) {
  std::error_code failure;
  for (std::filesystem::recursive_directory_iterator entry(top, failure), end; !failure && entry != end;
       entry.increment(failure)) {
    if (entry.depth() > 0 && entry->path().filename() == kManifestName && entry->is_regular_file(failure)) {
      return entry->path().parent_path().lexically_relative(top).string();
    }
  }
  return "";
}

}  // namespace

bool ParsePackageManifest(const std::string& text, PackageManifest* manifest, std::string* error) {
  try {
    *manifest = Parse(text);
    *error = Shortcoming(*manifest);
  } catch (const json::parse_error& failure) {
    *error = "it is no JSON text, as its byte " + std::to_string(failure.byte) + " shows";
  } catch (const json::exception&) {
    *error = "it holds a number that is too large";
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

bool ReadUnpackedManifest(const std::string& folder, PackageManifest* manifest, std::string* error) {
  const std::string path = folder + "/" + kManifestName;
  std::error_code failure;
  if (!std::filesystem::is_regular_file(std::filesystem::symlink_status(path, failure))) {
    const std::string lower = FolderOfManifest(folder);
    *error = lower.empty() ? std::string("the archive holds no ") + kManifestName
                           : std::string(kManifestName) + " lies in folder " + lower +
                                 " of the archive and not at its top, where only the content of that folder belongs";
    return false;
  }
  const auto text = posix::ReadRegularFile(path, kLargestManifest);
  if (!text) {
    *error = std::string(kManifestName) +
             (errno == EFBIG ? " is larger than 1 MiB" : " cannot be read: " + posix::LastError());
    return false;
  }
  return ParsePackageManifest(*text, manifest, error);
}

std::string DifferenceFromList(const PackageManifest& manifest, const std::string& folder) {
  if (!manifest.listsFiles) {
    return "";
  }
  try {
    const std::set<std::string> found = FilesBelow(folder);
    const auto unlisted =
        std::ranges::find_if_not(found, [&](const auto& name) { return manifest.files.contains(name); });
    if (unlisted != found.end()) {
      return "it holds " + *unlisted + ", which its description does not list";
    }
    std::string difference;
    const auto differs = [&](const auto& listed) {
      const std::string path = (std::filesystem::path(folder) / listed.first).string();
      difference = found.contains(listed.first) ? Difference(path, listed.second) : "is listed and not in it";
      return !difference.empty();
    };
    if (const auto file = std::ranges::find_if(manifest.files, differs); file != manifest.files.end()) {
      return "its file " + file->first + " " + difference;
    }
  } catch (const std::filesystem::filesystem_error& failure) {
    return "its files cannot be read: " + failure.code().message();
  }
  return "";
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
