// The bytes of an update package, as the reference host's unpacking service takes them.
#include "fuzz/property.h"
#include "fuzz/unpack_check.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::CheckUnpacking(fuzz::Text(data, size));
  return 0;
}
