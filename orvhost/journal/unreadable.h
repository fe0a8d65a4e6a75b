// Says of a file or folder that this user cannot read why that is, and who can.
#ifndef ORVHOST_JOURNAL_UNREADABLE_H
#define ORVHOST_JOURNAL_UNREADABLE_H

#include <sys/types.h>

#include <string>

namespace orvhost {

// "PATH cannot be read: Permission denied; its owner (operator) and root can read it", for errno `number`; without a
// full stop.
[[nodiscard]] std::string WhyUnreadable(const std::string& path, int number);

// The name of that user, or the number of one without a name.
[[nodiscard]] std::string UserName(uid_t user);

}  // namespace orvhost

#endif  // ORVHOST_JOURNAL_UNREADABLE_H
