// The device configuration report: whether there can be one, its document and its file. What stands in the sections is
// theirs.
#ifndef REPORT_DEVICE_REPORT_H
#define REPORT_DEVICE_REPORT_H

#include <string>

#include "host/ProviderBase.h"

namespace kestrel {

// Both need a firmware handler only where they ask for the operating version; what fails before that fails without one.

// host::kSuccess when the BMC can be read, host::kFailure when not. Prepares nothing.
[[nodiscard]] int CheckReportPossible(CFirmware* firmware);

// Writes the report to the file "Kestrel_BmcConfigInfo.xml" in the folder `savePath`, which ends with a separator.
// host::kSuccess; host::kFailure, and then no file was written; or host::kNoReport. Throws what FillWebConsoleSection
// throws.
[[nodiscard]] int WriteDeviceReport(CFirmware* firmware, const std::string& savePath);

}  // namespace kestrel

#endif  // REPORT_DEVICE_REPORT_H
