#include "report/general_section.h"

#include <string>

#include "host/Results.h"
#include "ipmi/trace.h"
#include "report/dmi_property.h"
#include "report/report_item.h"

namespace kestrel {

int FillGeneralSection(COrvXmlNode* section) {
  OperationTrace trace("CBMC_KESTREL_Vendor::CreateGeneralInfoNode() [START]",
                       "CBMC_KESTREL_Vendor::CreateGeneralInfoNode() [END]");
  std::string productName;
  std::string productVersion;
  std::string serialNumber;
  if (!ReadDmiProperty("/usr/sbin/dmidecode --type system | grep \"Product Name\"", "Product Name:", &productName) ||
      !ReadDmiProperty("/usr/sbin/dmidecode --type system | grep \"Version\"", "Version:", &productVersion) ||
      !ReadDmiProperty(kSerialNumberCommand, kSerialNumberLabel, &serialNumber)) {
    // A section without its DMI values is left by this line; readers of the trace match on it.
    trace.EndAs("[LEAVE] int CBMC_KESTREL_Vendor::CreateGeneralInfoNode(COrvXmlNode*)");
    return host::kFailure;
  }
  CTraceUtility::WriteDebug(kChannel, kInfo, "Product Name [%s]", productName.c_str());
  CTraceUtility::WriteDebug(kChannel, kInfo, "Product Version [%s]", productVersion.c_str());
  CTraceUtility::WriteDebug(kChannel, kInfo, "Serial Number [%s]", serialNumber.c_str());
  AddItem("Product Name", productName, section);
  AddItem("Product Version", productVersion, section);
  AddItem("Serial Number", serialNumber, section);
  return host::kSuccess;
}

}  // namespace kestrel
