// The vendor object's own operations: its life, the link to the device, the vendor methods and the trivial answers.
#include "provider/kestrel_vendor.h"

#include <gtest/gtest.h>

#include <memory>

#include "firmware/kestrel_firmware.h"
#include "tests/support/scripted_host.h"

namespace {

const std::string kCleanUp = "rm -f \"$I/tmp/KV6KBMC/IPMIResult*\"";
const Lines kLinkStart = {"4 CBMC_KESTREL_Vendor::LinkDevice() [START]",
                          "show CBMC_KESTREL_Vendor::LinkDevice()|CBMC_KESTREL_Vendor::LinkDevice - Debug",
                          "mkdir $I/tmp", "mkdir $I/tmp/KV6KBMC"};
const Lines kLinkEnd = {"show LinkDevice() end|CBMC_KESTREL_Vendor::LinkDevice - Debug",
                        "4 CBMC_KESTREL_Vendor::LinkDevice() [END]"};
const Lines kFirmwareStart = {"4 CBMC_KESTREL_Firmware::CBMC_KESTREL_Firmware() [START]",
                              "probe /opt/kestrel/node_keeper/ipmi_tools/ipmicmd"};
const Lines kFirmwareEnd = {
    "4 CBMC_KESTREL_Firmware::CBMC_KESTREL_Firmware() [END]",
    "show CBMC_KESTREL_Firmware::CBMC_KESTREL_Firmware()|CBMC_KESTREL_Firmware::CBMC_KESTREL_Firmware - Debug"};

Lines MethodLines(const Lines& between) {
  return {"4 CBMC_KESTREL_Vendor::ExecVendorMethod() [START]", between,
          "4 CBMC_KESTREL_Vendor::ExecVendorMethod() [END]"};
}

class KestrelVendor : public testing::Test {
 protected:
  KestrelVendor() {
    host_.System(kCleanUp, 0);
    vendor_ = std::make_unique<CBMC_KESTREL_Vendor>("host text");
    host_.TakeJournal();
  }

  void Link() {
    vendor_->LinkDevice();
    host_.TakeJournal();
  }

  ScriptedHost host_;
  std::unique_ptr<CBMC_KESTREL_Vendor> vendor_;
};

TEST_F(KestrelVendor, AFailedCleanUpIsOnlyNoted) {
  host_.System(kCleanUp, 256);
  CBMC_KESTREL_Vendor vendor("host text");
  EXPECT_EQ(vendor.GetVendorClassName(), "CBMC_KESTREL_Vendor");
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(),
                {"4 CBMC_KESTREL_Vendor::CBMC_KESTREL_Vendor() [START]",
                 "show CBMC_KESTREL_Vendor::CBMC_KESTREL_Vendor()|CBMC_KESTREL_Vendor::CBMC_KESTREL_Vendor - Debug",
                 "system " + kCleanUp, "1 Failed to delete files [$I/tmp/KV6KBMC/IPMIResult*]",
                 "show CBMC_KESTREL_Vendor() end|CBMC_KESTREL_Vendor::CBMC_KESTREL_Vendor - Debug",
                 "4 CBMC_KESTREL_Vendor::CBMCKESTREL_Vendor() [END]"}));
}

TEST_F(KestrelVendor, HardwareVersionsAreTrivial) {
  EXPECT_EQ(vendor_->GetHardwareVersion(), "");
  EXPECT_EQ(vendor_->CheckHardwareVersion("a", "b"), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {"4 CBMC_KESTREL_Vendor::GetHardwareVersion() [START]",
                                              "4 CBMC_KESTREL_Vendor::GetHardwareVersion() [END]",
                                              "4 CBMC_KESTREL_Vendor::CheckHardwareVersion() [START]",
                                              "4 CBMC_KESTREL_Vendor::CheckHardwareVersion() [END]"}));
}

TEST_F(KestrelVendor, TheReportHasNothingToEnd) {
  EXPECT_EQ(vendor_->EndOutputDeviceConfigInfo("anything", nullptr), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {"4 CBMC_KESTREL_Vendor::EndOutputDeviceConfigInfo() [START]",
                                              "4 CBMC_KESTREL_Vendor::EndOutputDeviceConfigInfo() [END]"}));
}

TEST_F(KestrelVendor, LinkingMakesTheScratchDirectoryAndTheFirmwareHandler) {
  host_.readableFiles = {kMakersToolPath};
  vendor_->LinkDevice();
  EXPECT_NE(dynamic_cast<CBMC_KESTREL_Firmware*>(vendor_->GetFirmwareHandler()), nullptr);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kLinkStart, kFirmwareStart, kFirmwareEnd, kLinkEnd}));
}

TEST_F(KestrelVendor, LinkingWithoutAnIpmiToolLeavesARecord) {
  host_.readableFiles = {};
  vendor_->LinkDevice();
  EXPECT_NE(vendor_->GetFirmwareHandler(), nullptr);
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(),
                {kLinkStart, kFirmwareStart, "1 ipmicmd is nothing", "probe /usr/bin/ipmitool", "1 ipmitool is nothing",
                 "2 Failed to get IPMI tool path", "record MSGID_BMC_0001_F 0B23", kFirmwareEnd, kLinkEnd}));
}

TEST_F(KestrelVendor, AFirmwareHandlerThatCannotBeMadeIsRecordedAndTheEndLineWrittenTwice) {
  host_.firmwareCanBeMade = false;
  vendor_->LinkDevice();
  EXPECT_EQ(vendor_->GetFirmwareHandler(), nullptr);
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kLinkStart, "record MSGID_BMC_0002_F 08", "2 Failed to create CBMC_KESTREL_Firmware Instance",
                         "4 CBMC_KESTREL_Vendor::LinkDevice() [END]", kLinkEnd}));
}

TEST_F(KestrelVendor, UnknownMethodsAreRefused) {
  Link();
  for (const char* name : {"reboot", "", "Reboot ", "SendInfoToSvp", "Shutdown"}) {
    EXPECT_EQ(vendor_->ExecVendorMethod(name, 1, "not read"), -1);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), MethodLines("2 Invalid function name")));
  }
}

TEST_F(KestrelVendor, RebootAppliesTheUpdate) {
  Link();
  host_.System("shutdown -r now ", 0);
  EXPECT_EQ(vendor_->ExecVendorMethod("Reboot"), 0);
  EXPECT_TRUE(SameLines(
      host_.TakeJournal(),
      MethodLines({"4 CBMC_KESTREL_Firmware::UpdateApply() [START]", "probe $I/tmp/KV6KBMC/ExistUpdate.txt",
                   "1 shutdown -r now ", "system shutdown -r now ", "4 CBMC_KESTREL_Firmware::UpdateApply() [END]"})));
}

TEST_F(KestrelVendor, ARebootThatFailsIsAFailedMethod) {
  Link();
  host_.System("shutdown -r now ", 256);
  EXPECT_EQ(vendor_->ExecVendorMethod("Reboot"), -1);
  EXPECT_TRUE(SameLines(
      host_.TakeJournal(),
      MethodLines({"4 CBMC_KESTREL_Firmware::UpdateApply() [START]", "probe $I/tmp/KV6KBMC/ExistUpdate.txt",
                   "1 shutdown -r now ", "system shutdown -r now ", "record MSGID_BMC_0004_F 1A", "2 reboot fail",
                   "4 CBMC_KESTREL_Firmware::UpdateApply() [END]", "2 Failed to apply update"})));
}

}  // namespace
