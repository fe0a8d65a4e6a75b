// Reads one property of the machine's DMI tables, as dmidecode prints them. It does not know which properties there
// are: who needs one brings the command and the label.
#ifndef REPORT_DMI_PROPERTY_H
#define REPORT_DMI_PROPERTY_H

#include <optional>
#include <string>

namespace kestrel {

// The one property that more than one room reads.
inline constexpr const char* kSerialNumberCommand = "/usr/sbin/dmidecode --type system | grep \"Serial Number\"";
inline constexpr const char* kSerialNumberLabel = "Serial Number:";

// What follows the first occurrence of `property` in `line`, without the blanks around it; other white space stays, and
// the value may be empty. Nothing when `property` does not occur. Pure.
[[nodiscard]] std::optional<std::string> DmiValue(const std::string& line, const std::string& property);

// Runs the shell command `command`, up to three times until it prints something, and stores the value behind the label
// `property` in `*value`. False, with `*value` untouched, when either argument is empty, nothing was printed or the
// label is not in what was printed. Blocks for up to three runs and two seconds.
bool ReadDmiProperty(const std::string& command, const std::string& property, std::string* value);

}  // namespace kestrel

#endif  // REPORT_DMI_PROPERTY_H
