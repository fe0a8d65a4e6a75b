// The SDR utility that an update package of the rack model brings: fills the BMC's standby repository with the records
// of a file, which stand in it one after the other.
#include <cstdio>
#include <exception>
#include <span>
#include <stdexcept>
#include <string>

#include "lab/guest/flash.h"
#include "lab/guest/ipmi_device.h"

namespace {

constexpr std::uint8_t kStorage = 0x0a;
constexpr std::uint8_t kAdd = 0x24;
constexpr std::uint8_t kEnterUpdate = 0x2a;
constexpr std::uint8_t kExitUpdate = 0x2b;
constexpr std::size_t kHeader = 5;
constexpr std::size_t kLengthAt = 4;

void WriteRecords(std::span<const std::uint8_t> records) {
  kv6000::IpmiDevice bmc;
  bmc.Demand("enter SDR update mode", kStorage, kEnterUpdate, {});
  std::size_t count = 0;
  while (!records.empty()) {
    if (records.size() < kHeader || records.size() < kHeader + records[kLengthAt]) {
      throw std::runtime_error("the file ends in the middle of record " + std::to_string(count + 1));
    }
    const std::size_t length = kHeader + records[kLengthAt];
    bmc.Demand("add SDR", kStorage, kAdd, records.first(length));
    records = records.subspan(length);
    ++count;
  }
  bmc.Demand("exit SDR update mode", kStorage, kExitUpdate, {});
  std::printf("%zu records\nSDR data was successfully written!\n", count);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::printf("usage: sdronup FILE\n");
    return 2;
  }
  try {
    const auto records = kv6000::ReadFile(argv[1]);
    if (!records) {
      throw std::runtime_error(std::string("cannot read ") + argv[1]);
    }
    WriteRecords(*records);
  } catch (const std::exception& error) {
    std::printf("SDR data was not written: %s.\n", error.what());
    return 1;
  }
  return 0;
}
