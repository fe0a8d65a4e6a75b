#include "provider/extended_information.h"

#include "ipmi/trace.h"
#include "report/dmi_property.h"

namespace kestrel {

void ReadExtendedInformation(std::list<std::pair<std::string, std::string>>* info) {
  const OperationTrace trace("CBMC_KESTREL_Vendor::GetExtendedInfo() [START]",
                             "CBMC_KESTREL_Vendor::GetExtendedInfo() [END]");
  std::string serialNumber;
  ReadDmiProperty(kSerialNumberCommand, kSerialNumberLabel, &serialNumber);
  info->clear();
  info->emplace_back("Serial Number", serialNumber);
}

}  // namespace kestrel
