// Which install path's update began to write last on this machine. Each install path has records of its own, and the
// BMC is one: what these records call written is there no longer when another one has written since.
#ifndef ORVHOST_RUN_LAST_WRITER_H
#define ORVHOST_RUN_LAST_WRITER_H

#include <string>

namespace orvhost {

// To be called before anything is written. False with the reason in `*error` when it cannot be kept.
[[nodiscard]] bool BecomeLastWriter(const std::string& installPath, std::string* error);

// Another install path than this one; "" when it is this one, or when nothing was written since the machine is up.
[[nodiscard]] std::string OtherLastWriter(const std::string& installPath);

}  // namespace orvhost

#endif  // ORVHOST_RUN_LAST_WRITER_H
