#include "explore/told.h"

#include <array>
#include <cstdio>
#include <map>
#include <sstream>

namespace explore {

namespace {

constexpr const char* kReport = "/srv/reports/Kestrel_BmcConfigInfo.xml";

std::string Hexadecimal(const kv6000::Bytes& bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    std::array<char, 4> digits{};
    std::snprintf(digits.data(), digits.size(), "%02x", byte);
    text += digits.data();
  }
  return text;
}

// Nothing of a record that is not there, or not whole and announced.
std::string Stored(const kv6000::ConfigFiles::File& file) {
  return file.stored && !file.locked && file.announced > 0 ? Hexadecimal(*file.stored) : "nothing";
}

std::map<std::string, std::string, std::less<>>& AllKept() {
  static std::map<std::string, std::string, std::less<>> all;
  return all;
}

}  // namespace

std::string Told(Life& life, const RunEnd& run) {
  std::string told;
  for (const char* name : {"verdict", "before", "after"}) {
    told.append(name).append(": ").append(run.object.value(name, "")).append("\n");
  }
  for (const auto& [key, value] : run.object.at("facts").items()) {
    told += "facts." + key + ": " + value.dump() + "\n";
  }
  told += "report: " + nlohmann::json(life.TheDisk().Read(kReport)).dump() + "\n";
  for (const auto& [number, file] : life.TheWorld().TheBmc().Files().Files()) {
    told += "record " + std::to_string(number) + ": " + Stored(file) + "\n";
  }
  return told;
}

void KeepTold(std::string_view road, const std::string& told) {
  AllKept().insert_or_assign(std::string(road), told);
}

const std::string& KeptTold(std::string_view road) {
  static const std::string nothing;
  const auto found = AllKept().find(road);
  return found == AllKept().end() ? nothing : found->second;
}

std::string Difference(const std::string& told, const std::string& kept) {
  std::istringstream lines(told);
  std::istringstream wanted(kept);
  for (;;) {
    std::string line;
    std::string other;
    const bool isOne = static_cast<bool>(std::getline(lines, line));
    const bool isOther = static_cast<bool>(std::getline(wanted, other));
    if (line != other) {
      return line.append(", and without faults ").append(other);
    }
    if (!isOne && !isOther) {
      return "";
    }
  }
}

}  // namespace explore
