// Tells the service processor all that it wants to know of the host: its operating system and its disks.
#ifndef SVP_NOTIFICATION_H
#define SVP_NOTIFICATION_H

#include <string>

namespace kestrel {

// Runs both senders, the second one however the first ended: 0, or -1 when at least one failed. A file that the BMC
// does not support is no failure. Each sender empties `*detail` first, so what it holds afterwards is the second one's:
// it is empty when only the first failed.
[[nodiscard]] int SendNotification(const std::string& toolPath, std::string* detail);

}  // namespace kestrel

#endif  // SVP_NOTIFICATION_H
