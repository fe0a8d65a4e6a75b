// Tells one boot of this machine from another.
#ifndef POSIX_BOOT_ID_H
#define POSIX_BOOT_ID_H

#include <string>

namespace posix {

// The kernel's id of this boot, another one after each start of the machine; "" when the kernel does not give it.
[[nodiscard]] std::string BootId();

}  // namespace posix

#endif  // POSIX_BOOT_ID_H
