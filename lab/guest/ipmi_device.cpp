// See ipmi_device.h.
#include "lab/guest/ipmi_device.h"

#include <fcntl.h>
#include <linux/ipmi.h>
#include <poll.h>
#include <sys/ioctl.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

#include "lab/hex_bytes.h"

namespace kv6000 {

namespace {

constexpr const char* kDevice = "/dev/ipmi0";

[[noreturn]] void Throw(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

IpmiDevice::IpmiDevice() : fd_(open(kDevice, O_RDWR | O_CLOEXEC)) {
  if (!fd_.IsOpen()) {
    Throw(kDevice);
  }
}

std::vector<std::uint8_t> IpmiDevice::Exchange(std::uint8_t netfn, std::uint8_t lun, std::uint8_t cmd,
                                               std::span<const std::uint8_t> data) {
  ipmi_system_interface_addr bmc{};
  bmc.addr_type = IPMI_SYSTEM_INTERFACE_ADDR_TYPE;
  bmc.channel = IPMI_BMC_CHANNEL;
  bmc.lun = lun;
  std::vector<std::uint8_t> payload(data.begin(), data.end());
  ipmi_req request{};
  request.addr = reinterpret_cast<unsigned char*>(&bmc);
  request.addr_len = sizeof(bmc);
  request.msgid = ++lastId_;
  request.msg.netfn = netfn;
  request.msg.cmd = cmd;
  request.msg.data = payload.data();
  request.msg.data_len = static_cast<unsigned short>(payload.size());
  if (ioctl(fd_.Get(), IPMICTL_SEND_COMMAND, &request) != 0) {
    Throw("sending a request");
  }
  while (true) {
    pollfd readable{fd_.Get(), POLLIN, 0};
    if (poll(&readable, 1, -1) < 0) {
      Throw("waiting for an answer");
    }
    std::array<unsigned char, IPMI_MAX_MSG_LENGTH> buffer{};
    ipmi_addr from{};
    ipmi_recv answer{};
    answer.addr = reinterpret_cast<unsigned char*>(&from);
    answer.addr_len = sizeof(from);
    answer.msg.data = buffer.data();
    answer.msg.data_len = buffer.size();
    if (ioctl(fd_.Get(), IPMICTL_RECEIVE_MSG_TRUNC, &answer) != 0) {
      Throw("receiving an answer");
    }
    if (answer.msgid == lastId_) {
      return {buffer.begin(), buffer.begin() + answer.msg.data_len};
    }
  }
}

std::vector<std::uint8_t> IpmiDevice::Demand(const std::string& name, std::uint8_t netfn, std::uint8_t cmd,
                                             std::span<const std::uint8_t> data) {
  const auto answer = Exchange(netfn, 0, cmd, data);
  if (answer.empty() || answer[0] != 0) {
    throw std::runtime_error("the BMC refuses \"" + name + "\", completion code " +
                             FormatHex(answer.empty() ? kNoAnswer : answer[0]));
  }
  return {answer.begin() + 1, answer.end()};
}

}  // namespace kv6000
