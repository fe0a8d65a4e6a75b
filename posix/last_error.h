// What errno means, in words.
#ifndef POSIX_LAST_ERROR_H
#define POSIX_LAST_ERROR_H

#include <string>

namespace posix {

// The system's text for `number`, such as "No such file or directory"; without a full stop.
[[nodiscard]] std::string ErrorText(int number);

// The same for errno.
[[nodiscard]] std::string LastError();

}  // namespace posix

#endif  // POSIX_LAST_ERROR_H
