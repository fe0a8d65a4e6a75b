// Reads the logs that a package's update script leaves. Opening them, and what a missing one means, is the caller's.
#ifndef FIRMWARE_UPDATE_LOG_H
#define FIRMWARE_UPDATE_LOG_H

#include <cstddef>
#include <functional>
#include <istream>
#include <locale>
#include <string>
#include <string_view>

namespace kestrel {

// As much of a line as is handed on, in characters.
inline constexpr std::size_t kLongestLogLine = 65536;

// Reads `log` to its end and calls `onLine` with every line, without its line end. True when a line contains `wanted`,
// which must not be empty. A line is searched whole but handed on only up to kLongestLogLine: a log need not consist of
// lines at all, and it is never held in memory whole.
[[nodiscard]] bool ScanLog(std::istream& log, std::string_view wanted,
                           const std::function<void(const std::string&)>& onLine);

// The locale `name`, or the classic one on a machine that has no locale of that name.
[[nodiscard]] std::locale LocaleOrClassic(const char* name);

}  // namespace kestrel

#endif  // FIRMWARE_UPDATE_LOG_H
