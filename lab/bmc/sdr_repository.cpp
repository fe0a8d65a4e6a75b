// See sdr_repository.h. The byte table stands in docs/lab.md.
#include "lab/bmc/sdr_repository.h"

#include <array>
#include <string_view>
#include <utility>

namespace kv6000 {

namespace {

constexpr std::uint8_t kSdrFormat = 0x51;
constexpr std::uint8_t kOemRecord = 0xc0;
constexpr std::size_t kRecordHeader = 5;  // number (2), format, type, length of what follows
constexpr std::size_t kOemBody = 8;       // header and manufacturer
constexpr std::uint8_t kModes = 0x42;     // updates in a mode of their own; reservations
constexpr std::uint8_t kToTheEnd = 0xff;
constexpr std::string_view kVersionMark = "SDR Version ";

std::uint16_t Number(std::uint8_t low, std::uint8_t high) {
  return static_cast<std::uint16_t>(low | high << 8U);
}

std::array<std::uint8_t, 2> NumberBytes(std::size_t number) {
  return {static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(number >> 8U)};
}

void SetNumber(Bytes& record, std::size_t number) {
  std::ranges::copy(NumberBytes(number), record.begin());
}

}  // namespace

SdrRepository::SdrRepository(Records records, std::set<unsigned> unreadable)
    : records_(std::move(records)), unreadable_(std::move(unreadable)) {
  for (std::size_t i = 0; i < records_.size(); ++i) {
    SetNumber(records_[i], i + 1);
  }
}

std::span<const Command<SdrRepository>> SdrRepository::Table() {
  static constexpr std::array<Command<SdrRepository>, 5> kTable = {{
      {0x0a, 0x20, 0, 0, &SdrRepository::GetInfo},
      {0x0a, 0x22, 0, 0, &SdrRepository::Reserve},
      {0x0a, 0x23, 6, 6, &SdrRepository::GetRecord},
      {0x0a, 0x24, kRecordHeader, kLongestRecord, &SdrRepository::AddRecord},
      {0x0a, 0x2b, 0, 0, &SdrRepository::ExitUpdate},
  }};
  return kTable;
}

Bytes SdrRepository::GetInfo(std::span<const std::uint8_t> /*data*/) {
  const auto count = NumberBytes(records_.size());
  Bytes answer = {kOk, kSdrFormat, count[0], count[1], 0xfe, 0xff};  // free space: "enough"
  answer.resize(answer.size() + 8);                                  // times of the last addition and erasure
  answer.push_back(kModes);
  return answer;
}

Bytes SdrRepository::Reserve(std::span<const std::uint8_t> /*data*/) {
  reservation_ = reservation_ == 0xffff ? 1 : static_cast<std::uint16_t>(reservation_ + 1);
  const auto bytes = NumberBytes(reservation_);
  return {kOk, bytes[0], bytes[1]};
}

Bytes SdrRepository::GetRecord(std::span<const std::uint8_t> data) {
  constexpr std::uint16_t kFirst = 0x0000;
  constexpr std::uint16_t kLast = 0xffff;
  const std::uint16_t asked = Number(data[2], data[3]);
  const std::size_t number = asked == kFirst ? 1 : asked == kLast ? records_.size() : asked;
  const std::size_t offset = data[4];
  if (number == 0 || number > records_.size()) {
    return {kNoSuchRecord};
  }
  if (unreadable_.contains(static_cast<unsigned>(number))) {
    return {kCannotAnswer};
  }
  if (offset != 0 && Number(data[0], data[1]) != reservation_) {
    return {kReservationLost};
  }
  const Bytes& record = records_[number - 1];
  if (offset > record.size()) {
    return {kOutOfRange};
  }
  const std::size_t rest = record.size() - offset;
  const std::size_t wanted = data[5] == kToTheEnd ? rest : std::min<std::size_t>(data[5], rest);
  const auto next = NumberBytes(number == records_.size() ? kLast : number + 1);
  Bytes answer = {kOk, next[0], next[1]};
  const auto first = record.begin() + static_cast<std::ptrdiff_t>(offset);
  answer.insert(answer.end(), first, first + static_cast<std::ptrdiff_t>(wanted));
  return answer;
}

void SdrRepository::BeginUpdate() {
  updating_ = true;
  incoming_.clear();
  standby_.reset();
}

Bytes SdrRepository::AddRecord(std::span<const std::uint8_t> data) {
  if (!updating_) {
    return {kWrongState};
  }
  if (data[2] != kSdrFormat || data[4] != data.size() - kRecordHeader) {
    return {kInvalidData};
  }
  if (incoming_.size() == kMostRecords) {
    return {kNoSpace};
  }
  incoming_.emplace_back(data.begin(), data.end());
  SetNumber(incoming_.back(), incoming_.size());
  const auto number = NumberBytes(incoming_.size());
  return {kOk, number[0], number[1]};
}

Bytes SdrRepository::ExitUpdate(std::span<const std::uint8_t> /*data*/) {
  if (!updating_ || incoming_.empty()) {
    return {kWrongState};
  }
  standby_ = std::exchange(incoming_, {});
  updating_ = false;
  return {kOk};
}

void SdrRepository::TakeStandby() {
  if (!standby_) {
    return;
  }
  records_ = *std::exchange(standby_, std::nullopt);
  unreadable_.clear();
  reservation_ = 0;
}

void SdrRepository::EndUpdate() {
  updating_ = false;
  incoming_.clear();
}

std::string SdrVersion(const SdrRepository::Records& records) {
  for (const Bytes& record : records) {
    const std::string text(record.begin(), record.end());
    if (record.size() > kOemBody && record[3] == kOemRecord &&
        text.compare(kOemBody, kVersionMark.size(), kVersionMark) == 0) {
      return text.substr(kOemBody + kVersionMark.size());
    }
  }
  return "";
}

}  // namespace kv6000
