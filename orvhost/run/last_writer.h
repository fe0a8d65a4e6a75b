// Which install path's update was begun last on this machine. Each install path has records of its own, and the BMC is
// one: what these records call written may be there no longer when another one was begun since.
#ifndef ORVHOST_RUN_LAST_WRITER_H
#define ORVHOST_RUN_LAST_WRITER_H

#include <string>

namespace orvhost {

// To be called before anything is written. False with the reason in `*error` when it cannot be kept.
[[nodiscard]] bool BecomeLastWriter(const std::string& installPath, std::string* error);

struct OtherWriter {
  // "" when it is the asked one, when nothing was begun since the machine is up, or is unknown.
  std::string installPath;
  std::string unseen;  // why it is unknown, a clause; "" when it is known
};

[[nodiscard]] OtherWriter OtherLastWriter(const std::string& installPath);

}  // namespace orvhost

#endif  // ORVHOST_RUN_LAST_WRITER_H
