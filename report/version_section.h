// The report's section on firmware versions.
#ifndef REPORT_VERSION_SECTION_H
#define REPORT_VERSION_SECTION_H

#include <string>

#include "host/DllCommon.h"
#include "host/ProviderBase.h"

namespace kestrel {

struct FirmwareVersions {
  std::string bmc;
  std::string sdr;  // "" when there is none
};

// The two versions in an operating version: of "BMC:aa-bb,SDR:cc" they are "aa-bb" and "cc". Without a comma both are
// what follows the last colon; without "BMC:" the whole text is the BMC's. Pure.
[[nodiscard]] FirmwareVersions SplitOperatingVersion(const std::string& operatingVersion);

// Adds the versions of BMC, SDR (when there is one) and BIOS to `section`. host::kSuccess; host::kFailure when the
// BMC or the BIOS version cannot be read, and then nothing was added.
[[nodiscard]] int FillVersionSection(CFirmware& firmware, COrvXmlNode* section);

}  // namespace kestrel

#endif  // REPORT_VERSION_SECTION_H
