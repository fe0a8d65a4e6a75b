// A member's name on the first line and a link's target behind it, as the reference host judges them before it unpacks.
#include "refhost/common/member_path.h"

#include <filesystem>

#include "fuzz/property.h"

namespace {

bool StaysInside(const std::filesystem::path& path) {
  const std::filesystem::path normal = path.lexically_normal();
  return normal.is_relative() && (normal.empty() || *normal.begin() != "..");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto [name, target] = fuzz::FirstLineAndRest(fuzz::Text(data, size));
  const std::optional<refhost::MemberPath> path = refhost::ParseMemberName(name);
  if (!path) {
    return 0;
  }
  std::filesystem::path joined;
  for (const std::string& component : *path) {
    fuzz::Require(!component.empty() && component != "." && component != "..", "a component is a plain name");
    fuzz::Require(component.find('/') == std::string::npos, "a component holds no separator");
    joined /= component;
  }
  fuzz::Require(StaysInside(name), "an accepted name stays inside");
  fuzz::Require(path->empty() ||
                    joined.lexically_normal() == (std::filesystem::path(name) / "x").lexically_normal().parent_path(),
                "an accepted name keeps its place");
  if (refhost::IsContainedLink(*path, target)) {
    fuzz::Require(!path->empty(), "the top itself is no link");
    fuzz::Require(StaysInside(joined.parent_path() / target), "an accepted link stays inside");
  }
  return 0;
}
