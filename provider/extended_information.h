// What the host shows of a device beyond its versions.
#ifndef PROVIDER_EXTENDED_INFORMATION_H
#define PROVIDER_EXTENDED_INFORMATION_H

#include <list>
#include <string>
#include <utility>

namespace kestrel {

// Replaces the contents of `*info` by the one pair ("Serial Number", the machine's serial number), the latter "" when
// it cannot be read.
void ReadExtendedInformation(std::list<std::pair<std::string, std::string>>* info);

}  // namespace kestrel

#endif  // PROVIDER_EXTENDED_INFORMATION_H
