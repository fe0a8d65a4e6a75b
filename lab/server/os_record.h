// Reads the OS information record that a host puts into config file 40, so that people and tests see what it says.
// Pure; stores nothing.
#ifndef LAB_SERVER_OS_RECORD_H
#define LAB_SERVER_OS_RECORD_H

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace kv6000 {

struct OsRecord {
  std::vector<std::pair<std::string, std::string>> items;  // name and value, in the record's order
  std::string fault;                                       // what is wrong with the record, "" for nothing
};

// The items up to the first fault.
//
//   0  8  00
//   8  4  length of the whole record, low byte first
//  12  4  00
//  16     items: length of the name (1), name, length of the value (2, low byte first), value; both texts end in a
//         zero byte that their length counts
[[nodiscard]] OsRecord ReadOsRecord(std::span<const std::uint8_t> bytes);

}  // namespace kv6000

#endif  // LAB_SERVER_OS_RECORD_H
