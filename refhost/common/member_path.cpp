#include "refhost/common/member_path.h"

#include <algorithm>
#include <sstream>
#include <string_view>

namespace refhost {

namespace {

std::vector<std::string> Components(const std::string& path) {
  std::vector<std::string> components;
  std::istringstream stream(path);
  for (std::string component; std::getline(stream, component, '/');) {
    if (!component.empty() && component != ".") {
      components.push_back(component);
    }
  }
  return components;
}

bool IsRelative(const std::string& path) {
  return !path.empty() && path.front() != '/';
}

}  // namespace

std::optional<MemberPath> ParseMemberName(const std::string& name) {
  if (!IsRelative(name)) {
    return {};
  }
  MemberPath path = Components(name);
  for (const std::string& component : path) {
    if (component == "..") {
      return {};
    }
  }
  return path;
}

bool IsContainedLink(const MemberPath& link, const std::string& target) {
  if (!IsRelative(target) || link.empty()) {
    return false;
  }
  std::size_t climbs = 0;
  bool descending = false;
  for (const std::string& component : Components(target)) {
    if (component != "..") {
      descending = true;
    } else if (descending) {
      return false;
    } else {
      ++climbs;
    }
  }
  return climbs < link.size();
}

bool IsShellSafe(const std::string& name) {
  constexpr std::string_view kSpecial = "\"\\`$";
  return std::ranges::none_of(name, [kSpecial](char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7f || kSpecial.find(character) != std::string_view::npos;
  });
}

}  // namespace refhost
