// Reads a file that should be a small one, no matter what stands in its place.
#ifndef POSIX_REGULAR_FILE_H
#define POSIX_REGULAR_FILE_H

#include <cstddef>
#include <optional>
#include <string>

namespace posix {

// The content of the file `path`. Nothing, with errno set, when it cannot be read, is no regular file (a pipe is not
// waited for, a device is not opened; a link is followed) or holds more than `limit` bytes.
[[nodiscard]] std::optional<std::string> ReadRegularFile(const std::string& path, std::size_t limit);

// The same, but of a file that holds more its first `limit` bytes.
[[nodiscard]] std::optional<std::string> ReadStartOfRegularFile(const std::string& path, std::size_t limit);

}  // namespace posix

#endif  // POSIX_REGULAR_FILE_H
