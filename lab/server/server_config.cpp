// See server_config.h.
#include "lab/server/server_config.h"

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "lab/hex_bytes.h"

namespace kv6000 {

namespace {

using Json = nlohmann::json;

// A text of hexadecimal bytes, as many as the array has.
template <std::size_t N>
void ReadBytes(const Json& text, std::array<std::uint8_t, N>& bytes) {
  const auto parsed = ParseHex(text.get<std::string>());
  if (!parsed || parsed->size() != N) {
    throw std::runtime_error("expected " + std::to_string(N) + " hexadecimal bytes, not " + text.dump());
  }
  std::ranges::copy(*parsed, bytes.begin());
}

LanConfig ReadLan(const Json& json) {
  LanConfig lan;
  ReadBytes(json.at("mac"), lan.mac);
  ReadBytes(json.at("address"), lan.address);
  ReadBytes(json.at("netmask"), lan.netmask);
  ReadBytes(json.at("gateway"), lan.gateway);
  lan.dhcp = json.at("dhcp").get<bool>() ? 0x01 : 0x00;
  return lan;
}

Version ReadVersion(const Json& text) {
  const auto version = ParseVersion(text.get<std::string>());
  if (!version) {
    throw std::runtime_error("expected a version such as 01-23, not " + text.dump());
  }
  return *version;
}

SdrRepository::Records ReadRecords(const Json& texts) {
  SdrRepository::Records records;
  for (const Json& text : texts) {
    const auto record = ParseHex(text.get<std::string>());
    if (!record || record->size() < 2 || record->size() > SdrRepository::kLongestRecord) {
      throw std::runtime_error("expected a sensor data record, not " + text.dump());
    }
    records.push_back(*record);
  }
  return records;
}

ServerConfig Read(const Json& json) {
  return {{ReadVersion(json.at("running")), json.at("writeModePhrase").get<std::string>(), ReadLan(json.at("lan")),
           json.at("capability").get<std::uint8_t>(), ReadRecords(json.at("sdr")),
           json.at("sdrUnreadable").get<std::set<unsigned>>()},
          json.at("orders").get<std::string>(),
          {json.at("machine").get<std::vector<std::string>>(), json.at("machineLog").get<std::string>(),
           json.at("media").get<std::string>(), json.at("ready").get<std::string>()}};
}

}  // namespace

ServerConfig ReadServerConfig(const std::string& path) {
  std::ifstream file(path);
  if (!file) {
    throw std::runtime_error("cannot read " + path);
  }
  try {
    return Read(Json::parse(file));
  } catch (const std::exception& error) {
    throw std::runtime_error(path + ": " + error.what());
  }
}

}  // namespace kv6000
