#include "explore/packages.h"

#include <zlib.h>

#include <array>
#include <cstdio>
#include <numeric>

namespace explore {

namespace {

constexpr std::size_t kPayload = 40000;  // three steps of the BMC's flash operation
constexpr std::size_t kBlock = 512;

void PutNumber(std::size_t value, kv6000::Bytes* bytes) {
  for (int shift = 0; shift < 32; shift += 8) {
    bytes->push_back(static_cast<std::uint8_t>(value >> static_cast<unsigned>(shift)));
  }
}

void Put(std::string* header, std::size_t at, const std::string& text) {
  header->replace(at, text.size(), text);
}

std::string Octal(std::size_t number, int digits) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%0*zo", digits, number);
  return text.data();
}

// One member of a tar archive in the form "ustar".
std::string Member(const std::string& name, const std::string& content, int mode) {
  std::string header(kBlock, '\0');
  Put(&header, 0, name);
  Put(&header, 100, Octal(static_cast<std::size_t>(mode), 7));
  Put(&header, 108, Octal(0, 7));
  Put(&header, 116, Octal(0, 7));
  Put(&header, 124, Octal(content.size(), 11));
  Put(&header, 136, Octal(0, 11));
  Put(&header, 148, "        ");
  Put(&header, 156, "0");
  Put(&header, 257, "ustar");
  Put(&header, 263, "00");
  const unsigned sum = std::accumulate(header.begin(), header.end(), 0U,
                                       [](unsigned all, char c) { return all + static_cast<unsigned char>(c); });
  Put(&header, 148, Octal(sum, 6));
  header[154] = '\0';
  std::string padded = content;
  padded.resize((content.size() + kBlock - 1) / kBlock * kBlock, '\0');
  return header + padded;
}

std::string AsText(const kv6000::Bytes& bytes) {
  return {bytes.begin(), bytes.end()};
}

std::string Description(const MachineKind& machine) {
  return R"({"name": "KV6000 BMC firmware", "version": ")" + machine.NewVersion() +
         R"(", "model": "", "server_types": [")" + (machine.isRack ? "kv6000rt" : "kv6000") + "\"]}\n";
}

}  // namespace

kv6000::Bytes MakeImage(const std::string& version) {
  const kv6000::Bytes payload(kPayload, 0x5a);
  const kv6000::Version number = *kv6000::ParseVersion(version);
  kv6000::Bytes image = {'K', 'V', '6', 'K', 'I', 'M', 'A', '1', number.major, number.minor, 0, 0};
  PutNumber(payload.size(), &image);
  PutNumber(crc32_z(0, payload.data(), payload.size()), &image);
  image.resize(kv6000::ImageHeader::kSize);
  image.insert(image.end(), payload.begin(), payload.end());
  return image;
}

kv6000::SdrRepository::Records SensorRecords(const std::string& version, unsigned count) {
  kv6000::SdrRepository::Records records;
  const std::string text = "SDR Version " + version;
  kv6000::Bytes first = {0, 0, 0x51, 0xc0, static_cast<std::uint8_t>(3 + text.size()), 0x91, 0x12, 0x00};
  first.insert(first.end(), text.begin(), text.end());
  records.push_back(first);
  while (records.size() < count) {
    records.push_back({0, 0, 0x51, 0x03, 4, 0x20, 0x00, 0x01, static_cast<std::uint8_t>(records.size())});
  }
  return records;
}

std::string MakePackage(const MachineKind& machine) {
  std::string archive = Member("module.json", Description(machine), 0644);
  if (machine.isRack) {
    std::string records;
    for (const kv6000::Bytes& record : SensorRecords("A2", machine.records)) {
      records += AsText(record);
    }
    archive += Member("bmcup.sh", "#!/bin/sh\n", 0644) + Member("Yes", "Yes\n", 0644) +
               Member("kv6000rt.ima", AsText(MakeImage("01-24")), 0644) + Member("kv6000rt.sdr", records, 0644) +
               Member("x64/BmcFlash", "tool\n", 0644) + Member("x64sdr/sdronup", "tool\n", 0644);
  } else {
    archive += Member("kv6000.ima", AsText(MakeImage(machine.NewVersion())), 0644);
  }
  return archive + std::string(2 * kBlock, '\0');
}

}  // namespace explore
