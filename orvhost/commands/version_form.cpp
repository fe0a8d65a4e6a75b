#include "orvhost/commands/version_form.h"

#include <algorithm>

#include "orvhost/commands/plugin_demands.h"

namespace orvhost {

namespace {

using namespace plugin_demands;

constexpr std::string_view kAnyVersion = "*";

bool IsDigit(char character) {
  return character >= '0' && character <= '9';
}

bool IsBmcVersion(std::string_view text) {
  return text.size() == 5 && IsDigit(text[0]) && IsDigit(text[1]) && text[2] == '-' && IsDigit(text[3]) &&
         IsDigit(text[4]);
}

// What separates the parts of a combined version cannot be of one.
bool IsSdrVersion(std::string_view text) {
  return text.size() >= 2 && std::ranges::all_of(text, [](char character) {
           return character > ' ' && character <= '~' && character != ',' && character != ':' && character != '*';
         });
}

bool IsCombinedVersion(std::string_view text) {
  const std::size_t comma = text.find(',');
  if (comma == std::string_view::npos) {
    return false;
  }
  std::string_view bmc = text.substr(0, comma);
  std::string_view sdr = text.substr(comma + 1);
  if (!bmc.starts_with(kBmcVersion) || !sdr.starts_with(kSdrVersion)) {
    return false;
  }
  bmc.remove_prefix(kBmcVersion.size());
  sdr.remove_prefix(kSdrVersion.size());
  const bool anyBmc = bmc == kAnyVersion;
  const bool anySdr = sdr == kAnyVersion;
  return (anyBmc || IsBmcVersion(bmc)) && (anySdr || IsSdrVersion(sdr)) && !(anyBmc && anySdr);
}

}  // namespace

std::string VersionComplaint(std::string_view version, std::string_view serverType) {
  if (serverType.find(kScriptServers) != std::string_view::npos) {
    return IsCombinedVersion(version) ? "" : "it does not have the form BMC:01-24,SDR:A2";
  }
  return IsBmcVersion(version) ? "" : "it does not have the form 01-24 (four decimal digits)";
}

bool IsOfServerType(std::string_view running, std::string_view serverType) {
  return running.starts_with(kBmcVersion) == (serverType.find(kScriptServers) != std::string_view::npos);
}

std::string VersionDoubt(std::string_view running, std::string_view serverType) {
  if (serverType.empty()) {
    return "This machine did not report its server type, from which follows what belongs to its version.";
  }
  return running.starts_with(kBmcVersion) && running.ends_with(kSdrVersion)
             ? "The version of the sensor data records is missing: the BMC did not give it."
             : "";
}

}  // namespace orvhost
