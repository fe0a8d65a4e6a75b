// See virtual_media.h.
#include "lab/guest/virtual_media.h"

#include <fcntl.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace kv6000 {

namespace {

constexpr unsigned kTimeLimitMs = 20000;
constexpr std::uint8_t kInquiry = 0x12;
constexpr std::uint8_t kReadCapacity = 0x25;
constexpr std::uint8_t kWrite10 = 0x2a;
constexpr std::uint8_t kSynchronizeCache = 0x35;
// Vendor and product as INQUIRY answers them from byte 8 on.
constexpr std::string_view kName = "KESTREL VirtualMedia    ";

template <std::size_t N>
void RunScsi(int fd, std::array<std::uint8_t, N> command, int direction, std::span<std::uint8_t> buffer) {
  std::array<std::uint8_t, 32> sense{};
  sg_io_hdr io{};
  io.interface_id = 'S';
  io.dxfer_direction = direction;
  io.cmd_len = N;
  io.cmdp = command.data();
  io.dxferp = buffer.data();
  io.dxfer_len = static_cast<unsigned>(buffer.size());
  io.sbp = sense.data();
  io.mx_sb_len = sense.size();
  io.timeout = kTimeLimitMs;
  if (ioctl(fd, SG_IO, &io) != 0) {
    throw std::system_error(errno, std::generic_category(), "virtual media");
  }
  if ((io.info & SG_INFO_OK_MASK) != SG_INFO_OK) {
    throw std::runtime_error("the virtual media refuses SCSI command " + std::to_string(command[0]) + ", status " +
                             std::to_string(io.status) + ", host status " + std::to_string(io.host_status));
  }
}

bool IsVirtualMedia(int fd) {
  std::array<std::uint8_t, 36> answer{};
  try {
    RunScsi<6>(fd, {kInquiry, 0, 0, 0, answer.size(), 0}, SG_DXFER_FROM_DEV, answer);
  } catch (const std::exception&) {
    return false;
  }
  return std::memcmp(answer.data() + 8, kName.data(), kName.size()) == 0;
}

}  // namespace

bool VirtualMedia::HasDriver() {
  return std::filesystem::exists("/sys/class/scsi_generic");
}

std::optional<VirtualMedia> VirtualMedia::Find() {
  for (const auto& entry : std::filesystem::directory_iterator("/dev")) {
    if (!entry.path().filename().string().starts_with("sg")) {
      continue;
    }
    posix::FileDescriptor fd(open(entry.path().c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    if (fd.IsOpen() && IsVirtualMedia(fd.Get())) {
      return VirtualMedia(std::move(fd));
    }
  }
  return std::nullopt;
}

void VirtualMedia::CheckCapacity(std::size_t wanted) {
  std::array<std::uint8_t, 8> answer{};
  RunScsi<10>(fd_.Get(), {kReadCapacity}, SG_DXFER_FROM_DEV, answer);
  const std::size_t lastBlock = static_cast<std::size_t>(answer[0]) << 24U |
                                static_cast<std::size_t>(answer[1]) << 16U | static_cast<std::size_t>(answer[2]) << 8U |
                                answer[3];
  if ((lastBlock + 1) * kBlock < wanted) {
    throw std::runtime_error("the image is larger than the virtual media");
  }
}

void VirtualMedia::WriteChunk(std::size_t offset, std::span<const std::uint8_t> chunk) {
  std::vector<std::uint8_t> blocks(chunk.begin(), chunk.end());
  blocks.resize((blocks.size() + kBlock - 1) / kBlock * kBlock);
  const auto first = offset / kBlock;
  const auto count = blocks.size() / kBlock;
  RunScsi<10>(fd_.Get(),
              {kWrite10, 0, static_cast<std::uint8_t>(first >> 24U), static_cast<std::uint8_t>(first >> 16U),
               static_cast<std::uint8_t>(first >> 8U), static_cast<std::uint8_t>(first), 0,
               static_cast<std::uint8_t>(count >> 8U), static_cast<std::uint8_t>(count), 0},
              SG_DXFER_TO_DEV, blocks);
}

void VirtualMedia::Flush() {
  RunScsi<10>(fd_.Get(), {kSynchronizeCache}, SG_DXFER_NONE, {});
}

}  // namespace kv6000
