// The report's section on the server itself.
#ifndef REPORT_GENERAL_SECTION_H
#define REPORT_GENERAL_SECTION_H

#include "host/DllCommon.h"

namespace kestrel {

// Adds product name, product version and serial number to `section`. host::kSuccess when all three could be
// read; host::kFailure otherwise, and then nothing was added.
[[nodiscard]] int FillGeneralSection(COrvXmlNode* section);

}  // namespace kestrel

#endif  // REPORT_GENERAL_SECTION_H
