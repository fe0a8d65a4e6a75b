// A plug-in in a page. Its device is a folder, INSTALL/tmp/EXAMPLE, with a file "version" that holds what "runs" there,
// such as 1.4; an update package is an archive with a new one.
#include <cstdio>
#include <fstream>

#include "host/DllCommon.h"
#include "host/EntryPoints.h"
#include "host/Results.h"

namespace {

constexpr const char* kClass = "EXAMPLE_Vendor";
constexpr const char* kChannel = "example";  // of the trace

std::string Folder() {
  return CFileUtility::GetInstallPath(host::kInstallation) + "/tmp/EXAMPLE";
}

class ExampleFirmware : public CFirmware {
 public:
  using CFirmware::CFirmware;

  std::string GetOperatingVersion() override {
    std::ifstream file(Folder() + "/version");
    std::string version;
    return std::getline(file, version) && !version.empty() ? version : host::kAbnormalVersion;
  }

  int CheckVendorVersion(std::string first, std::string second) override {
    int major[2];
    int minor[2];
    if (std::sscanf(first.c_str(), "%d.%d", &major[0], &minor[0]) != 2 ||
        std::sscanf(second.c_str(), "%d.%d", &major[1], &minor[1]) != 2) {
      return 0;
    }
    const int newer = major[0] != major[1] ? major[1] - major[0] : minor[1] - minor[0];
    return (newer > 0) - (newer < 0);
  }

  int PreUpdate(std::string, std::string, std::list<std::string>*, bool) override {
    return CCommon_Information::MyPathFileExists(Folder()) ? host::kSuccess : host::kFailure;
  }

  int Update(std::string, std::string packagePath, std::list<std::string>* fileList, bool) override {
    std::string message;
    if (CUnzip_Utility::UpdateModuleUnzip(packagePath, fileList, Folder(), &message, kChannel)) {
      return host::kSuccess;
    }
    CTraceUtility::WriteDebug(kChannel, CTraceUtility::TRACE_DBG_ERROR, "Cannot unpack [%s]", message.c_str());
    return host::kFailure;
  }

  int UpdateRestore(std::string) override { return host::kSuccess; }

  int UpdateApplyCheck(std::string) override {
    return GetOperatingVersion() == GetOperatingModuleInfo().moduleVersion ? host::kSuccess : host::kFailure;
  }

  int UpdateApply() override { return host::kNotApplied; }  // what is written runs at once
};

class ExampleVendor : public CVendor {
 public:
  explicit ExampleVendor(const std::string& provider) : CVendor(provider) {
    vendorId = "example";
    deviceName = "Example";
    vendorClassName = kClass;
  }

  std::string GetHardwareVersion() override { return ""; }
  int CheckHardwareVersion(std::string, std::string) override { return host::kSuccess; }

  void LinkDevice() override {
    _mkdir((CFileUtility::GetInstallPath(host::kInstallation) + "/tmp").c_str());
    _mkdir(Folder().c_str());
    firmwareHandler = new ExampleFirmware(provider);  // from here on the base class's to delete
  }

  long ExecVendorMethod(std::string, ...) override { return host::kMethodFailed; }  // it has none
  void GetExtendedInfo(std::list<std::pair<std::string, std::string>>* info) override { info->clear(); }
  int StartOutputDeviceConfigInfo(std::string, void*) override { return host::kSuccess; }
  int ExecOutputDeviceConfigInfo(std::string, void*) override { return host::kNoReport; }
  int EndOutputDeviceConfigInfo(std::string, void*) override { return host::kSuccess; }
  void GetShortageOfNecessaryApplicationInfo(std::list<CNecessaryComponentInfo>&) override {}

  bool CheckUpdateConditionByDevicevendor(std::string, CManageRepositoryInfo* repository) override {
    const bool fits = firmwareHandler->GetOperatingVersion() != host::kAbnormalVersion && repository->model.empty();
    return !fits;
  }
};

}  // namespace

extern "C" CVendor* GetVendorFactory(const char* className, const char* provider) {
  const bool isMine = className != nullptr && provider != nullptr && std::string(className) == kClass;
  return isMine ? new ExampleVendor(provider) : nullptr;
}

extern "C" void ReleaseVendor(CVendor* vendor) {
  if (vendor != nullptr && vendor->GetVendorClassName() == kClass) {
    delete vendor;
  }
}
