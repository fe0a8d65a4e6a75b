// The status of an update in the host's records, in words.
#ifndef REFHOST_DRIVER_STATUS_WORDS_H
#define REFHOST_DRIVER_STATUS_WORDS_H

#include <string>

namespace refhost {

// `updateStatus` is one of module_state.h.
std::string InWords(int updateStatus);

}  // namespace refhost

#endif  // REFHOST_DRIVER_STATUS_WORDS_H
