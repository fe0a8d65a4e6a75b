#include "svp/notification.h"

#include "ipmi/trace.h"
#include "svp/config_file_transfer.h"
#include "svp/disk_information.h"
#include "svp/os_information.h"

namespace kestrel {

int SendNotification(const std::string& toolPath, std::string* detail) {
  detail->clear();
  // This operation has no end line; readers of the trace match on it.
  CTraceUtility::WriteDebug(kChannel, kFlow, "CBMC_KESTREL_Firmware::SendInfoToSVP [START]");
  const int os = SendOsInformation(toolPath, detail);
  const int disks = SendDiskInformation(toolPath, detail);
  return os == kSendFailed || disks == kSendFailed ? -1 : 0;
}

}  // namespace kestrel
