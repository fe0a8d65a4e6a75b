// The grammars of the version texts that are compared: the BMC's own and the combined one of rack servers. Pure.
#ifndef FIRMWARE_VERSION_TEXT_H
#define FIRMWARE_VERSION_TEXT_H

#include <optional>
#include <string>

namespace kestrel {

[[nodiscard]] inline bool Contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

// Major and minor version of exactly "MM-mm", in decimal digits, as one number of four digits; nothing for any other
// text.
[[nodiscard]] std::optional<int> ParseBmcVersion(const std::string& text);

// "BMC:MM-mm,SDR:TEXT", where "*" in the place of either version stands for any.
struct CombinedVersion {
  bool complete;    // both "BMC:" and "SDR:" are there, wherever
  bool anyBmc;      // "BMC:*" is there
  bool anySdr;      // "SDR:*" is there
  std::string bmc;  // last ":"-separated piece of the first ","-separated piece
  std::string sdr;  // last ":"-separated piece of the last ","-separated piece
};

// Takes any text, also one without "," or ":".
[[nodiscard]] CombinedVersion ParseCombinedVersion(const std::string& text);

}  // namespace kestrel

#endif  // FIRMWARE_VERSION_TEXT_H
