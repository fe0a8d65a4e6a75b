#include "orvhost/interface/configuration.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <vector>

#include "orvhost/interface/nearest.h"
#include "posix/last_error.h"
#include "posix/regular_file.h"

namespace orvhost {

namespace {

constexpr std::size_t kLargest = 64UL * 1024UL;

enum class Kind { kPath, kWord, kYesOrNo, kPolicy };

struct Key {
  const char* name;
  Kind kind;
};
constexpr auto kKeys = std::to_array<Key>({{"install_path", Kind::kPath},
                                           {"plugin", Kind::kPath},
                                           {"server_type", Kind::kWord},
                                           {"log_file", Kind::kPath},
                                           {"signatures", Kind::kPolicy},
                                           {"key_folder", Kind::kPath},
                                           {"quiet", Kind::kYesOrNo}});

std::string_view Trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t\r");
  return begin == std::string_view::npos ? "" : text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

// What is wrong with a value; "" for nothing.
std::string Complaint(const Key& key, std::string_view value) {
  const std::string name = key.name;
  if (value.empty()) {
    return name + " has no value";
  }
  if (std::ranges::any_of(value, [](unsigned char character) { return std::iscntrl(character) != 0; })) {
    return name + " holds a control character";
  }
  if (value.find(" #") != std::string_view::npos) {
    return name + " goes on with \"#\", and a comment needs a line of its own";
  }
  if (key.kind == Kind::kPath && value.front() != '/') {
    return name + " must be a path that begins with /";
  }
  if (key.kind == Kind::kWord && value.find_first_of(" \t") != std::string_view::npos) {
    return name + " must be one word";
  }
  if (key.kind == Kind::kYesOrNo && value != "yes" && value != "no") {
    return name + " must be yes or no";
  }
  if (key.kind == Kind::kPolicy && value != "required" && value != "warn" && value != "off") {
    return name + " must be required, warn or off";
  }
  return "";
}

std::string UnknownKey(const std::string& name) {
  std::vector<std::string> names;
  names.reserve(kKeys.size());
  for (const Key& key : kKeys) {
    names.emplace_back(key.name);
  }
  const std::string nearest = Nearest(name, names);
  return "there is no key \"" + name + "\"" + (nearest.empty() ? "" : "; did you mean \"" + nearest + "\"?");
}

// Takes one line; what is wrong with it, "" for nothing.
std::string TakeLine(std::string_view line, Configuration* configuration) {
  const std::string_view text = Trimmed(line);
  if (text.empty() || text.front() == '#') {
    return "";
  }
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) {
    return "it has not the form \"key = value\"";
  }
  const std::string name(Trimmed(text.substr(0, equals)));
  const std::string value(Trimmed(text.substr(equals + 1)));
  for (const Key& key : kKeys) {
    if (name == key.name) {
      const std::string complaint = Complaint(key, value);
      return complaint.empty() && !configuration->emplace(name, value).second ? name + " stands there twice"
                                                                              : complaint;
    }
  }
  return UnknownKey(name);
}

}  // namespace

bool ParseConfiguration(std::string_view text, Configuration* configuration, std::string* error) {
  for (int number = 1; !text.empty(); ++number) {
    const std::size_t end = text.find('\n');
    const std::string complaint = TakeLine(text.substr(0, end), configuration);
    if (!complaint.empty()) {
      *error = "line " + std::to_string(number) + ": " + complaint;
      return false;
    }
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return true;
}

bool ReadConfiguration(const std::string& path, Configuration* configuration, std::string* error) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    *error = posix::LastError();
    struct stat link {};
    const bool leadsNowhere = errno == ENOENT && lstat(path.c_str(), &link) == 0;
    if (leadsNowhere) {
      *error = "it is a symbolic link to what is not there";
    }
    return errno == ENOENT && !leadsNowhere;
  }
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    *error = "others than its owner may write it; take that away with \"chmod go-w " + path + "\"";
    return false;
  }
  if (status.st_uid != 0 && status.st_uid != geteuid()) {
    *error = "it belongs to user " + std::to_string(status.st_uid) + " and not to root";
    return false;
  }
  const auto text = posix::ReadRegularFile(path, kLargest);
  if (!text) {
    *error = "it cannot be read: " + posix::LastError();
    return false;
  }
  return ParseConfiguration(*text, configuration, error);
}

}  // namespace orvhost
