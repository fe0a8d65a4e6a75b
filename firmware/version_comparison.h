// Compares version texts as the BMC and update packages give them. A result is 1 when the second version is newer, -1
// when it is older, and 0 when they are equal or cannot be compared.
#ifndef FIRMWARE_VERSION_COMPARISON_H
#define FIRMWARE_VERSION_COMPARISON_H

#include <string>

namespace kestrel {

// By the grammar of this machine's server type: combined versions on "kv6000rt", BMC versions on all others. A version
// of any shape is taken; a malformed one leaves one message for operators and compares as 0.
[[nodiscard]] int CompareVersions(const std::string& first, const std::string& second);

// BMC versions "MM-mm", by their decimal numbers. False, with a message and `*result` 0, when either is malformed.
bool CompareBmcVersions(const std::string& first, const std::string& second, int* result);

// SDR versions, texts of two characters or more: the shorter one is older; of the same length they compare character by
// character from the second one on, where a dot is above every letter and digit. False, with a message and `*result` 0,
// when either is shorter.
bool CompareSdrVersions(const std::string& first, const std::string& second, int* result);

}  // namespace kestrel

#endif  // FIRMWARE_VERSION_COMPARISON_H
