// What the fuzz targets share: how a property is asserted, and how one input becomes two texts.
#ifndef FUZZ_PROPERTY_H
#define FUZZ_PROPERTY_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

namespace fuzz {

// Ends the process, which the fuzzer reports as a find, unless `property` holds.
inline void Require(bool property, const char* what) {
  if (!property) {
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
  }
}

inline std::string Text(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// What stands before the first line end, and what behind it; seeds stay readable that way.
inline std::pair<std::string, std::string> FirstLineAndRest(const std::string& text) {
  const std::size_t end = text.find('\n');
  return end == std::string::npos ? std::pair(text, std::string())
                                  : std::pair(text.substr(0, end), text.substr(end + 1));
}

}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

#endif  // FUZZ_PROPERTY_H
