#include "firmware/apply.h"

#include <cstdlib>

#include "firmware/operating_version.h"
#include "firmware/requests.h"
#include "firmware/update_marker.h"
#include "host/Results.h"
#include "ipmi/file_probe.h"
#include "ipmi/retried_exchange.h"
#include "ipmi/trace.h"

namespace kestrel {

namespace {

bool ArmRebootFlag(const std::string& toolPath) {
  const auto report = [](Level level, const IpmiReply& set, const IpmiReply& check) {
    if (level == kError) {
      CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0003_F", "18");
    }
    if (!set.Succeeded()) {
      CTraceUtility::WriteDebug(kChannel, level, "Failed to execute IPMI command (Set Reboot flag) CompletionCode %s",
                                set.CompletionCode().c_str());
    } else {
      CTraceUtility::WriteDebug(kChannel, level,
                                "Failed to execute IPMI command(Set Reboot flag) ResponseData1:%s  ResponseData2:%s",
                                check.Element(0).c_str(), check.Element(1).c_str());
    }
  };
  return RetrySetting(kBmcRetry, toolPath, ArmedRebootFlag(), report);
}

bool DeleteMarker() {
  const std::string marker = UpdateMarker();
  CTraceUtility::WriteDebug(kChannel, kInfo, "Delete %s", marker.c_str());
  if (CCommon_Information::RetryDeleteFile(marker)) {
    return true;
  }
  CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0004_F", "1D");
  CTraceUtility::WriteDebug(kChannel, kError, "Failed to delete ExistUpdate.txt");
  return false;
}

int Halt() {
  CTraceUtility::WriteDebug(kChannel, kInfo, "shutdown -h now");
  if (std::system("shutdown -h now") == 0) {
    return host::kGoingDown;
  }
  CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0004_F", "19");
  CTraceUtility::WriteDebug(kChannel, kError, "shutdown fail");
  return host::kNotApplied;
}

int Reboot() {
  CTraceUtility::WriteDebug(kChannel, kInfo, "shutdown -r now ");
  if (std::system("shutdown -r now ") == 0) {
    return host::kGoingDown;
  }
  CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0004_F", "1A");
  CTraceUtility::WriteDebug(kChannel, kError, "reboot fail");
  return host::kNotApplied;
}

}  // namespace

int CheckApplied(CFirmware& firmware) {
  const OperationTrace trace("CBMC_KESTREL_Firmware::UpdateApplyCheck() [START]",
                             "CBMC_KESTREL_Firmware::UpdateApplyCheck() [END]");
  const std::string running = firmware.GetOperatingVersion();
  if (running == host::kAbnormalVersion) {
    CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0014_F", "1C");
    CTraceUtility::WriteDebug(kChannel, kError, "Failed to get Operating Version");
    return host::kFailure;
  }
  const std::string installed = firmware.GetOperatingModuleInfo().moduleVersion;
  CTraceUtility::WriteDebug(kChannel, kInfo, "UpdateApplyCheck [%s] [%s]", running.c_str(), installed.c_str());
  if (running == installed) {
    return host::kSuccess;
  }
  // The catalogue's sentence takes the two versions where others take a detail code.
  CTraceUtility::WriteTrace(kChannel, "MSGID_BMC_0015_F", running.c_str(), installed.c_str());
  CTraceUtility::WriteDebug(kChannel, kError, "Operating Version(%s) and Update Version(%s) are mismatched",
                            running.c_str(), installed.c_str());
  return host::kFailure;
}

int ApplyUpdate(const std::string& toolPath) {
  OperationTrace trace("CBMC_KESTREL_Firmware::UpdateApply() [START]", "CBMC_KESTREL_Firmware::UpdateApply() [END]");
  if (!CanBeRead(UpdateMarker())) {
    return Reboot();
  }
  if (!ArmRebootFlag(toolPath)) {
    return host::kNotApplied;
  }
  if (!DeleteMarker()) {
    // The other operation's end line and the result of success, though nothing goes down: readers of the trace and
    // callers match on both.
    trace.EndAs("CBMC_KESTREL_Firmware::UpdateApplyCheck() [END]");
    return host::kGoingDown;
  }
  return Halt();
}

}  // namespace kestrel
