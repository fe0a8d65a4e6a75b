// See os_record.h.
#include "lab/server/os_record.h"

#include <algorithm>
#include <optional>

namespace kv6000 {

namespace {

constexpr std::size_t kHeader = 16;

class Reader {
 public:
  explicit Reader(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

  [[nodiscard]] bool AtEnd() const { return rest_.empty(); }

  // A text after its length of `width` bytes, without its zero byte. nullopt when it is cut off or lacks that.
  [[nodiscard]] std::optional<std::string> Text(std::size_t width) {
    const auto length = Number(width);
    if (!length || *length == 0 || *length > rest_.size() || rest_[*length - 1] != 0) {
      return std::nullopt;
    }
    const std::string text(rest_.begin(), rest_.begin() + static_cast<std::ptrdiff_t>(*length) - 1);
    rest_ = rest_.subspan(*length);
    return text;
  }

  // A number of `width` bytes, low byte first.
  [[nodiscard]] std::optional<std::size_t> Number(std::size_t width) {
    if (rest_.size() < width) {
      return std::nullopt;
    }
    std::size_t value = 0;
    for (std::size_t i = 0; i < width; ++i) {
      value |= std::size_t{rest_[i]} << (8 * i);
    }
    rest_ = rest_.subspan(width);
    return value;
  }

 private:
  std::span<const std::uint8_t> rest_;
};

std::string HeaderFault(std::span<const std::uint8_t> bytes) {
  if (bytes.size() < kHeader) {
    return "shorter than its header of 16 bytes";
  }
  const auto length = Reader(bytes.subspan(8)).Number(4);
  if (length != bytes.size()) {
    return "says " + std::to_string(*length) + " bytes and has " + std::to_string(bytes.size());
  }
  const auto isZero = [](std::uint8_t byte) { return byte == 0; };
  if (!std::ranges::all_of(bytes.first(8), isZero) || !std::ranges::all_of(bytes.subspan(12, 4), isZero)) {
    return "has reserved bytes that are not zero";
  }
  return "";
}

}  // namespace

OsRecord ReadOsRecord(std::span<const std::uint8_t> bytes) {
  OsRecord record;
  record.fault = HeaderFault(bytes);
  if (!record.fault.empty()) {
    return record;
  }
  Reader reader(bytes.subspan(kHeader));
  while (!reader.AtEnd()) {
    const auto name = reader.Text(1);
    const auto value = name ? reader.Text(2) : std::nullopt;
    if (!value) {
      record.fault = "item " + std::to_string(record.items.size() + 1) + " is cut off or lacks a zero byte";
      return record;
    }
    record.items.emplace_back(*name, *value);
  }
  return record;
}

}  // namespace kv6000
