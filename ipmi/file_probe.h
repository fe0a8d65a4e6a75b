// Tells whether a file is there by opening it.
#ifndef IPMI_FILE_PROBE_H
#define IPMI_FILE_PROBE_H

#include <string>

namespace kestrel {

// True when `path` can be opened for reading, which is all that is asked: whether a program runs is seen when it is
// used.
[[nodiscard]] bool CanBeRead(const std::string& path);

}  // namespace kestrel

#endif  // IPMI_FILE_PROBE_H
