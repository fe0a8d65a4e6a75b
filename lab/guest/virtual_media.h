// The BMC's virtual media drive as the machine sees it: a disk that is found and written through the SCSI generic
// driver.
#ifndef LAB_GUEST_VIRTUAL_MEDIA_H
#define LAB_GUEST_VIRTUAL_MEDIA_H

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>

#include "posix/file_descriptor.h"

namespace kv6000 {

class VirtualMedia {
 public:
  // True when the SCSI generic driver is loaded.
  [[nodiscard]] static bool HasDriver();

  // The drive, or nullopt when no /dev/sg* is it.
  [[nodiscard]] static std::optional<VirtualMedia> Find();

  // Writes `data` from the first block on; the last block is filled with zeros. `onWritten` gets the bytes written so
  // far. Throws std::runtime_error when the drive refuses or is too small, std::system_error when it is gone.
  template <typename OnWritten>
  void Write(std::span<const std::uint8_t> data, OnWritten onWritten) {
    CheckCapacity(data.size());
    for (std::size_t offset = 0; offset < data.size(); offset += kChunk) {
      const auto chunk = data.subspan(offset, std::min(kChunk, data.size() - offset));
      WriteChunk(offset, chunk);
      onWritten(offset + chunk.size());
    }
    Flush();
  }

 private:
  static constexpr std::size_t kBlock = 512;
  static constexpr std::size_t kChunk = 128 * kBlock;

  explicit VirtualMedia(posix::FileDescriptor fd) : fd_(std::move(fd)) {}

  void CheckCapacity(std::size_t wanted);
  void WriteChunk(std::size_t offset, std::span<const std::uint8_t> chunk);
  void Flush();

  posix::FileDescriptor fd_;
};

}  // namespace kv6000

#endif  // LAB_GUEST_VIRTUAL_MEDIA_H
