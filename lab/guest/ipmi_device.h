// Requests to the BMC through the kernel's own IPMI device, as the maker's tools make them.
#ifndef LAB_GUEST_IPMI_DEVICE_H
#define LAB_GUEST_IPMI_DEVICE_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "posix/file_descriptor.h"

namespace kv6000 {

// Stands for the completion code of an answer that has none.
inline constexpr std::uint8_t kNoAnswer = 0xff;

class IpmiDevice {
 public:
  // Opens the first IPMI device of the machine. Throws std::system_error.
  IpmiDevice();

  // Sends a request and waits for its answer, completion code first. A request that the BMC leaves unanswered is
  // answered by the kernel's driver (0xc3 or 0xff). Throws std::system_error.
  [[nodiscard]] std::vector<std::uint8_t> Exchange(std::uint8_t netfn, std::uint8_t lun, std::uint8_t cmd,
                                                   std::span<const std::uint8_t> data);

  // The data of the answer to a request that must succeed. Throws std::runtime_error, with `name` and the completion
  // code, when the BMC refuses it. Who only needs that it succeeded may drop the data.
  std::vector<std::uint8_t> Demand(const std::string& name, std::uint8_t netfn, std::uint8_t cmd,
                                   std::span<const std::uint8_t> data);

 private:
  posix::FileDescriptor fd_;
  long lastId_ = 0;
};

}  // namespace kv6000

#endif  // LAB_GUEST_IPMI_DEVICE_H
