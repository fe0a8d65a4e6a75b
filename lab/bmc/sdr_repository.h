// The sensor data record repository: what the machine reads, and the standby repository that an update fills. When the
// standby is taken is not decided here.
#ifndef LAB_BMC_SDR_REPOSITORY_H
#define LAB_BMC_SDR_REPOSITORY_H

#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "lab/bmc/command_table.h"

namespace kv6000 {

class SdrRepository {
 public:
  // Whole records, header included; the n-th has the number n, which the repository writes into it.
  using Records = std::vector<Bytes>;

  static constexpr std::size_t kMostRecords = 2000;
  static constexpr std::size_t kLongestRecord = 128;

  // `unreadable` are the numbers of records that cannot be read until the standby is taken.
  SdrRepository(Records records, std::set<unsigned> unreadable);

  [[nodiscard]] static std::span<const Command<SdrRepository>> Table();

  [[nodiscard]] const Records& AllRecords() const { return records_; }
  // Set when an update was ended well.
  [[nodiscard]] const std::optional<Records>& Standby() const { return standby_; }
  [[nodiscard]] bool IsUpdating() const { return updating_; }

  // An update begins, with an empty repository to fill; the standby is dropped. The command for it is the BMC's, which
  // then disarms its reboot flag.
  void BeginUpdate();

  // The standby becomes what the machine reads, if there is one.
  void TakeStandby();

  // An update that is going on is given up.
  void EndUpdate();

 private:
  [[nodiscard]] Bytes GetInfo(std::span<const std::uint8_t> data);
  [[nodiscard]] Bytes Reserve(std::span<const std::uint8_t> data);
  [[nodiscard]] Bytes GetRecord(std::span<const std::uint8_t> data);
  [[nodiscard]] Bytes AddRecord(std::span<const std::uint8_t> data);
  [[nodiscard]] Bytes ExitUpdate(std::span<const std::uint8_t> data);

  Records records_;
  std::set<unsigned> unreadable_;
  std::optional<Records> standby_;
  Records incoming_;
  bool updating_ = false;
  std::uint16_t reservation_ = 0;
};

// The text after "SDR Version " in the OEM record that holds it, "" when no record does.
[[nodiscard]] std::string SdrVersion(const SdrRepository::Records& records);

}  // namespace kv6000

#endif  // LAB_BMC_SDR_REPOSITORY_H
