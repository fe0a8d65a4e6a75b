// The service processor's config files: Get Capability, lock, write, signature, unlock, and the event that announces a
// file. What the files mean is not decided here.
#ifndef LAB_BMC_CONFIG_FILES_H
#define LAB_BMC_CONFIG_FILES_H

#include <cstdint>
#include <map>
#include <optional>
#include <span>

#include "lab/bmc/command_table.h"

namespace kv6000 {

class ConfigFiles {
 public:
  static constexpr std::uint8_t kOsFile = 0x40;
  static constexpr std::uint8_t kDiskFile = 0x41;
  static constexpr std::size_t kLongestFile = 65536;

  // A transfer collects its bytes while the file is locked; with its signature they replace the stored ones at the
  // unlock, without it they are dropped.
  struct File {
    bool locked = false;
    bool hasSignature = false;
    Bytes incoming;
    std::optional<Bytes> stored;
    unsigned announced = 0;  // events since the bytes were stored
  };

  // `support` are the flags that Get Capability ends with: bit 0 for the OS file, bit 1 for the disk file.
  explicit ConfigFiles(std::uint8_t support) : support_(support) {}

  [[nodiscard]] static std::span<const Command<ConfigFiles>> Table();

  // By file number.
  [[nodiscard]] const std::map<std::uint8_t, File>& Files() const { return files_; }

  [[nodiscard]] std::uint8_t Support() const { return support_; }
  void SetSupport(std::uint8_t support) { support_ = support; }

  // The machine went off or was reset: transfers end without an unlock, stored bytes stay.
  void MachineDown();

 private:
  [[nodiscard]] Bytes GetCapability(std::span<const std::uint8_t> data);
  [[nodiscard]] Bytes Lock(std::span<const std::uint8_t> data);
  [[nodiscard]] Bytes Write(std::span<const std::uint8_t> data);
  [[nodiscard]] Bytes Unlock(std::span<const std::uint8_t> data);
  [[nodiscard]] Bytes Notify(std::span<const std::uint8_t> data);

  [[nodiscard]] File* Find(std::span<const std::uint8_t> data);

  std::uint8_t support_;
  std::map<std::uint8_t, File> files_ = {{kOsFile, {}}, {kDiskFile, {}}};
};

}  // namespace kv6000

#endif  // LAB_BMC_CONFIG_FILES_H
