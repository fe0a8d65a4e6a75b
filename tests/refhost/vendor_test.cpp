#include <gtest/gtest.h>

#include <memory>

#include "refhost/live_objects.h"
#include "refhost/module_state.h"
#include "tests/refhost/support/archive_builder.h"
#include "tests/refhost/support/host_test.h"
#include "tests/refhost/support/scripted_module.h"

namespace refhost {

namespace {

class Vendor : public HostTest {
 protected:
  Vendor() : firmware_(new ScriptedFirmware) { vendor_.Link(firmware_); }

  ScriptedVendor vendor_;
  ScriptedFirmware* firmware_;  // the vendor's
};

TEST(VendorOwnership, TheVendorDeletesItsFirmwareHandler) {
  bool deleted = false;
  auto vendor = std::make_unique<ScriptedVendor>();
  vendor->Link(new ScriptedFirmware(&deleted));
  vendor.reset();
  EXPECT_TRUE(deleted);
}

TEST(VendorOwnership, ObjectsAreCountedAsLongAsTheyLive) {
  const LiveObjects before = CountLiveObjects();
  {
    ScriptedVendor vendor;
    EXPECT_EQ(CountLiveObjects().vendors, before.vendors + 1);
    EXPECT_EQ(CountLiveObjects().modules, before.modules);
    vendor.Link(new ScriptedFirmware);
    EXPECT_EQ(CountLiveObjects().vendors, before.vendors + 1);
    EXPECT_EQ(CountLiveObjects().modules, before.modules + 1);
  }
  EXPECT_EQ(CountLiveObjects().vendors, before.vendors);
  EXPECT_EQ(CountLiveObjects().modules, before.modules);
}

TEST_F(Vendor, StagesGoToTheFirmwareHandler) {
  const std::string path = folder_.Write("p.zip", Package("01-24"));
  EXPECT_EQ(vendor_.ConfirmUpdateModuleRegistration("firmware", "id", path), 0);
  EXPECT_EQ(vendor_.CheckUpdateModuleRegistration({"", "firmware", {}, firmware_->GetUpdateModuleInfo()}), 0);
  EXPECT_EQ(vendor_.ExecutePreUpdate("firmware", false), 0);
  EXPECT_EQ(vendor_.ExecuteUpdate("firmware", false), 0);
  EXPECT_EQ(vendor_.ExecuteUpdateRestore("firmware", "/b"), 0);
  EXPECT_EQ(vendor_.ExecuteUpdateApplyCheck("firmware"), 0);
  EXPECT_EQ(vendor_.ExecuteUpdateBackup("firmware", folder_ / "b", false), 0);
  EXPECT_EQ(firmware_->calls, (Lines{"PreUpdate id " + path + " all new", "Update id " + path + " all new",
                                     "UpdateRestore /b", "UpdateApplyCheck "}));
}

TEST_F(Vendor, AnotherKindOfModuleOrAMissingHandlerFails) {
  EXPECT_EQ(vendor_.ExecuteUpdate("bios", false), 1);
  EXPECT_EQ(vendor_.GetPrevVendorVersion("bios"), "");
  EXPECT_EQ(vendor_.CheckUpdateCondition("bios", true, true), 1);
  ScriptedVendor unlinked;
  EXPECT_EQ(unlinked.GetFirmwareHandler(), nullptr);
  EXPECT_EQ(unlinked.ExecutePreUpdate("firmware", false), 1);
  EXPECT_EQ(unlinked.ConfirmUpdateModuleRegistration("firmware", "id", "/p"), 1);
  EXPECT_EQ(unlinked.CheckDependentInfo({}, true, true), 1);
  EXPECT_FALSE(unlinked.IsUpdateFailure());
  EXPECT_EQ(unlinked.GetDeviceInfo().vendorClassName, "Scripted");
  EXPECT_EQ(firmware_->calls, Lines{});
}

TEST_F(Vendor, TellsAFailedUpdateUntilItIsCleared) {
  firmware_->SetUpdateStatus(kUpdateFailed);
  EXPECT_TRUE(vendor_.IsUpdateFailure());
  vendor_.ClearUpdateStatus("firmware", true);
  EXPECT_TRUE(vendor_.IsUpdateFailure());
  vendor_.ClearUpdateStatus("firmware", false);
  EXPECT_FALSE(vendor_.IsUpdateFailure());
}

TEST_F(Vendor, DescribesTheDevice) {
  firmware_->InitializeOperatingModuleInfo("01-23");
  const CManageModuleInfo info = vendor_.GetDeviceInfo();
  EXPECT_EQ(info.vendorClassName, "Scripted");
  EXPECT_EQ(info.moduleKind, "firmware");
  EXPECT_EQ(info.operating.moduleVersion, "01-23");
  EXPECT_EQ(info.operating.deviceName, "device");
  EXPECT_EQ(vendor_.GetUpdateOrderModuleKind(CVendor::UPDATE_ORDER_NORMAL, false), std::list<std::string>{"firmware"});
}

TEST_F(Vendor, KeepsTheValuesOfItsModule) {
  vendor_.SetLatestUpdateDate("firmware", "today");
  vendor_.SetPrevVendorVersion("firmware", "01-22");
  vendor_.SetUpdatePriority(4, "firmware");
  EXPECT_EQ(vendor_.GetLatestUpdateDate("firmware"), "today");
  EXPECT_EQ(vendor_.GetPrevVendorVersion("firmware"), "01-22");
  EXPECT_EQ(firmware_->GetUpdatePriority(), 4);
}

TEST_F(Vendor, AsksForTheHardwareVersionOnce) {
  EXPECT_EQ(vendor_.GetHardwareVersionCache(), "rev-2");
  EXPECT_EQ(vendor_.GetHardwareVersionCache(), "rev-2");
  EXPECT_EQ(vendor_.hardwareQuestions, 1);
}

TEST_F(Vendor, AModuleFitsWhenItsVersionIsNotOlder) {
  firmware_->InitializeOperatingModuleInfo("01-23");
  EXPECT_FALSE(vendor_.CheckUpdateConditionByModule("firmware", firmware_, "01-23", false, true));
  EXPECT_TRUE(vendor_.CheckUpdateConditionByModule("firmware", firmware_, "01-24", false, true));
  EXPECT_TRUE(vendor_.CheckUpdateConditionByModule("firmware", nullptr, "01-23", false, true));
  EXPECT_EQ(vendor_.CheckUpdateCondition("firmware", true, true), 0);
}

}  // namespace
}  // namespace refhost
