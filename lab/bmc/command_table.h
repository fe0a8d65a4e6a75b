// How a unit of the BMC lists the IPMI commands that it carries out, and the one way to find a request in such a list.
#ifndef LAB_BMC_COMMAND_TABLE_H
#define LAB_BMC_COMMAND_TABLE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace kv6000 {

using Bytes = std::vector<std::uint8_t>;

// IPMI completion codes that this BMC answers.
enum Completion : std::uint8_t {
  kOk = 0x00,
  kAlreadyLocked = 0x01,     // of the lock of a config file
  kUnknownParameter = 0x80,  // of Get LAN Configuration Parameters
  kBusy = 0xc0,
  kInvalidCommand = 0xc1,
  kNoSpace = 0xc4,
  kReservationLost = 0xc5,
  kWrongLength = 0xc7,
  kOutOfRange = 0xc9,
  kNoSuchRecord = 0xcb,
  kInvalidData = 0xcc,
  kCannotAnswer = 0xce,
  kWrongState = 0xd5,
};

template <typename Unit>
struct Command {
  std::uint8_t netfn;
  std::uint8_t cmd;
  std::size_t least;  // shortest and longest request data
  std::size_t most;
  Bytes (Unit::*handler)(std::span<const std::uint8_t> data);
};

// Has `unit` carry out a command of its table. The first byte of the answer is the completion code; nullopt when the
// table does not hold the command.
template <typename Unit>
[[nodiscard]] std::optional<Bytes> RunCommand(Unit& unit, std::uint8_t netfn, std::uint8_t cmd,
                                              std::span<const std::uint8_t> data) {
  const std::span<const Command<Unit>> table = Unit::Table();
  const auto found =
      std::ranges::find_if(table, [&](const Command<Unit>& entry) { return entry.netfn == netfn && entry.cmd == cmd; });
  if (found == table.end()) {
    return std::nullopt;
  }
  if (data.size() < found->least || data.size() > found->most) {
    return Bytes{kWrongLength};
  }
  return (unit.*found->handler)(data);
}

}  // namespace kv6000

#endif  // LAB_BMC_COMMAND_TABLE_H
