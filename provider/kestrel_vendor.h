// The vendor object: the host's one handle on the device. It makes the firmware handler and hands each operation on to
// the unit that does it.
#ifndef PROVIDER_KESTREL_VENDOR_H
#define PROVIDER_KESTREL_VENDOR_H

#include <list>
#include <string>
#include <utility>

#include "host/DllCommon.h"
#include "host/ProviderBase.h"

class CBMC_KESTREL_Vendor : public CVendor {
 public:
  // The one key by which the host and the plug-in recognise this class.
  static const std::string className;

  explicit CBMC_KESTREL_Vendor(std::string provider);
  ~CBMC_KESTREL_Vendor() override;

  // This device has no hardware version: "" and 0.
  std::string GetHardwareVersion() override;
  int CheckHardwareVersion(std::string, std::string) override;

  // Makes the scratch folder and the firmware handler; every other operation that asks the BMC needs both.
  void LinkDevice() override;

  // "Reboot" applies a finished update and halts or reboots the machine; "SendInfoToSVP" sends the operating system's
  // and the disks' records to the service processor. Further arguments are not read.
  long ExecVendorMethod(std::string name, ...) override;

  void GetExtendedInfo(std::list<std::pair<std::string, std::string>>* info) override;
  void GetShortageOfNecessaryApplicationInfo(std::list<CNecessaryComponentInfo>& missing) override;
  bool CheckUpdateConditionByDevicevendor(std::string, CManageRepositoryInfo* repository) override;

  int StartOutputDeviceConfigInfo(std::string, void*) override;
  int ExecOutputDeviceConfigInfo(std::string savePath, void*) override;
  int EndOutputDeviceConfigInfo(std::string, void*) override;

  // --- The same units as above use, under their own names.
  bool GetDmiDecodeInfo(std::string command, std::string property, std::string* value);
  int CreateGeneralInfoNode(COrvXmlNode* section);
  int CreateVersionInfoNode(COrvXmlNode* section);
  int CreateWebConsoleSettingNode(COrvXmlNode* section);
};

#endif  // PROVIDER_KESTREL_VENDOR_H
