// Judges the names and link targets in an archive before anything is written. Pure text work, no files.
#ifndef REFHOST_COMMON_MEMBER_PATH_H
#define REFHOST_COMMON_MEMBER_PATH_H

#include <optional>
#include <string>
#include <vector>

namespace refhost {

// The components of a member's name, from the archive's top; none for the top itself.
using MemberPath = std::vector<std::string>;

// The name's components without "." and doubled separators; nothing when the name is empty, absolute or holds "..".
[[nodiscard]] std::optional<MemberPath> ParseMemberName(const std::string& name);

// True when a symbolic link at `link` may point to `target`: the target is relative, ".." stands only at its front, and
// not oftener than the link lies deep. Behind any other component ".." could climb out through a second link.
[[nodiscard]] bool IsContainedLink(const MemberPath& link, const std::string& target);

// True when the name can stand between double quotes in a shell line: it holds no control character, double quote,
// backslash, backquote or dollar sign. Unpacked files are named in command lines.
[[nodiscard]] bool IsShellSafe(const std::string& name);

}  // namespace refhost

#endif  // REFHOST_COMMON_MEMBER_PATH_H
