// Unpacks one archive with the reference host's service and checks what must hold for every archive, above all that
// nothing is written outside the folder. Works in a temporary folder of its own.
#ifndef FUZZ_UNPACK_CHECK_H
#define FUZZ_UNPACK_CHECK_H

#include <string>

namespace fuzz {

// True when the archive was unpacked. Ends the process when a property does not hold.
bool CheckUnpacking(const std::string& archive);

}  // namespace fuzz

#endif  // FUZZ_UNPACK_CHECK_H
