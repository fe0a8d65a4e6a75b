#include "firmware/sdr_record.h"

#include <cstddef>
#include <string_view>

#include "ipmi/byte_text.h"

namespace kestrel {

namespace {

// Positions in characters, two for each byte.
constexpr std::size_t kLengthAt = 12;
constexpr std::size_t kMarkerAt = 20;
constexpr std::string_view kMarker = "5344522056657273696F6E20";  // "SDR Version "
constexpr std::size_t kVersionAt = kMarkerAt + kMarker.size();

// What the length byte counts besides the version: three bytes of manufacturer ID and the marker.
constexpr int kBytesBeforeVersion = 15;

std::string Decoded(std::string_view digits) {
  std::string text;
  for (std::size_t at = 0; at < digits.size(); at += 2) {
    text += static_cast<char>(ByteValue(std::string(digits.substr(at, 2))));
  }
  return text;
}

}  // namespace

SdrVersionField FindSdrVersion(const std::string& record) {
  const std::string_view text = record;
  if (text.size() < kVersionAt || text.substr(kMarkerAt, kMarker.size()) != kMarker) {
    return {SdrVersionField::State::kNoMarker, ""};
  }
  const std::string_view rest = text.substr(kVersionAt);
  const int bytes = ByteValue(record.substr(kLengthAt, 2)) - kBytesBeforeVersion;
  if (bytes < 0) {
    // A length that does not even cover the marker says nothing about the version.
    return {SdrVersionField::State::kFound, Decoded(rest)};
  }
  const std::size_t digits = 2 * static_cast<std::size_t>(bytes);
  if (digits > rest.size()) {
    return {SdrVersionField::State::kTruncated, ""};
  }
  return {SdrVersionField::State::kFound, Decoded(rest.substr(0, digits))};
}

}  // namespace kestrel
