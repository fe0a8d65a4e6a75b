// A firmware handler and a vendor object whose answers a test sets.
#ifndef TESTS_REFHOST_SUPPORT_SCRIPTED_MODULE_H
#define TESTS_REFHOST_SUPPORT_SCRIPTED_MODULE_H

#include <string>
#include <vector>

#include "host/ProviderBase.h"

namespace refhost {

class ScriptedFirmware : public CFirmware {
 public:
  explicit ScriptedFirmware(bool* deleted = nullptr) : CFirmware("provider"), deleted_(deleted) {}
  ~ScriptedFirmware() override {
    if (deleted_ != nullptr) {
      *deleted_ = true;
    }
  }

  std::string GetOperatingVersion() override {
    calls.emplace_back("GetOperatingVersion");
    return version;
  }
  int CheckVendorVersion(std::string first, std::string second) override {
    return first == second ? 0 : first < second ? 1 : -1;
  }
  int PreUpdate(std::string moduleId, std::string packagePath, std::list<std::string>* fileList, bool old) override {
    return Record("PreUpdate", moduleId, packagePath, fileList, old);
  }
  int Update(std::string moduleId, std::string packagePath, std::list<std::string>* fileList, bool old) override {
    statusDuringUpdate = GetUpdateStatus();
    return Record("Update", moduleId, packagePath, fileList, old);
  }
  int UpdateRestore(std::string backupPath) override {
    calls.push_back("UpdateRestore " + backupPath);
    return result;
  }
  int UpdateApplyCheck(std::string moduleId) override {
    calls.push_back("UpdateApplyCheck " + moduleId);
    return result;
  }
  int UpdateApply() override { return 1; }

  std::string version = "01-23";
  int result = 0;
  int statusDuringUpdate = -1;
  std::vector<std::string> calls;

 private:
  int Record(const std::string& name, const std::string& moduleId, const std::string& packagePath,
             const std::list<std::string>* fileList, bool old) {
    calls.push_back(name + " " + moduleId + " " + packagePath + (fileList->empty() ? " all" : " some") +
                    (old ? " old" : " new"));
    return result;
  }

  bool* deleted_;
};

class ScriptedVendor : public CVendor {
 public:
  ScriptedVendor() : CVendor("provider") {
    vendorClassName = "Scripted";
    deviceName = "device";
  }

  void Link(CFirmware* handler) { firmwareHandler = handler; }

  std::string GetHardwareVersion() override {
    ++hardwareQuestions;
    return "rev-2";
  }
  int CheckHardwareVersion(std::string /*first*/, std::string /*second*/) override { return 0; }
  void LinkDevice() override {}
  long ExecVendorMethod(std::string /*name*/, ...) override { return -1; }
  void GetExtendedInfo(std::list<std::pair<std::string, std::string>>* info) override { info->clear(); }
  int StartOutputDeviceConfigInfo(std::string /*savePath*/, void* /*context*/) override { return 0; }
  int ExecOutputDeviceConfigInfo(std::string /*savePath*/, void* /*context*/) override { return 0; }
  int EndOutputDeviceConfigInfo(std::string /*savePath*/, void* /*context*/) override { return 0; }
  void GetShortageOfNecessaryApplicationInfo(std::list<CNecessaryComponentInfo>& /*missing*/) override {}
  bool CheckUpdateConditionByDevicevendor(std::string /*kind*/, CManageRepositoryInfo* /*repository*/) override {
    return false;
  }

  int hardwareQuestions = 0;
};

}  // namespace refhost

#endif  // TESTS_REFHOST_SUPPORT_SCRIPTED_MODULE_H
