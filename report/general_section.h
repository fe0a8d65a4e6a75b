// The report's section on the server itself.
#ifndef REPORT_GENERAL_SECTION_H
#define REPORT_GENERAL_SECTION_H

#include "host/DllCommon.h"

namespace kestrel {

// Adds product name, product version and serial number to `section`. 0 when all three could be read; 1 otherwise, and
// then nothing was added.
[[nodiscard]] int FillGeneralSection(COrvXmlNode* section);

}  // namespace kestrel

#endif  // REPORT_GENERAL_SECTION_H
