// The status of an update in the host's records, in words.
#ifndef ORVHOST_COMMANDS_STATUS_WORDS_H
#define ORVHOST_COMMANDS_STATUS_WORDS_H

#include <string>

namespace orvhost {

// `updateStatus` is one of module_state.h.
[[nodiscard]] std::string InWords(int updateStatus);

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_STATUS_WORDS_H
