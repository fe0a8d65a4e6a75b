#include "posix/last_error.h"

#include <cerrno>
#include <system_error>

namespace posix {

std::string ErrorText(int number) {
  return std::generic_category().message(number);
}

std::string LastError() {
  return ErrorText(errno);
}

}  // namespace posix
