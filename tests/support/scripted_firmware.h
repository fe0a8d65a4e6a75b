// A firmware handler that runs the version that the test says, for the tests of units that only ask for it. The
// journal line of the question is "ask operating version".
#ifndef TESTS_SUPPORT_SCRIPTED_FIRMWARE_H
#define TESTS_SUPPORT_SCRIPTED_FIRMWARE_H

#include <gtest/gtest.h>

#include <list>
#include <string>

#include "host/ProviderBase.h"
#include "tests/support/scripted_host.h"

class ScriptedFirmware : public CFirmware {
 public:
  ScriptedFirmware() : CFirmware("provider") {}

  std::string operatingVersion = "01-23";

  std::string GetOperatingVersion() override {
    ScriptedHost::Current()->Note("ask operating version");
    return operatingVersion;
  }
  int CheckVendorVersion(std::string /*first*/, std::string /*second*/) override { return Unexpected(); }
  int PreUpdate(std::string /*moduleId*/, std::string /*packagePath*/, std::list<std::string>* /*fileList*/,
                bool /*useOldModule*/) override {
    return Unexpected();
  }
  int Update(std::string /*moduleId*/, std::string /*packagePath*/, std::list<std::string>* /*fileList*/,
             bool /*useOldModule*/) override {
    return Unexpected();
  }
  int UpdateRestore(std::string /*backupPath*/) override { return Unexpected(); }
  int UpdateApplyCheck(std::string /*moduleId*/) override { return Unexpected(); }
  int UpdateApply() override { return Unexpected(); }

 private:
  static int Unexpected() {
    ADD_FAILURE() << "only the operating version was to be asked for";
    return 1;
  }
};

#endif  // TESTS_SUPPORT_SCRIPTED_FIRMWARE_H
