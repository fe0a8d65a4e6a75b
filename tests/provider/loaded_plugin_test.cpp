// The built library in the hands of the reference host, from being loaded to being unloaded; nothing is scripted.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "host/ProviderBase.h"
#include "tests/refhost/support/host_test.h"

namespace refhost {

namespace {

using Factory = CVendor* (*)(const char* className, const char* provider);
using Release = void (*)(CVendor* vendor);

const Lines kMade = {"4 CBMC_KESTREL_Vendor::CBMC_KESTREL_Vendor() [START]",
                     "4 CBMC_KESTREL_Vendor::CBMCKESTREL_Vendor() [END]"};
const Lines kVendorReleased = {"4 CBMC_KESTREL_Vendor::~CBMC_KESTREL_Vendor() [START]",
                               "4 CBMC_KESTREL_Vendor::~CBMC_KESTREL_Vendor() [END]"};
const Lines kFirmwareReleased = {"4 CBMC_KESTREL_Firmware::~CBMC_KESTREL_Firmware() [START]",
                                 "4 CBMC_KESTREL_Firmware::~CBMC_KESTREL_Firmware() [END]"};

// Which lines the link has depends on the IPMI tools of the machine that runs the test.
Lines Linked() {
  Lines lines = {"4 CBMC_KESTREL_Vendor::LinkDevice() [START]",
                 "4 CBMC_KESTREL_Firmware::CBMC_KESTREL_Firmware() [START]"};
  if (access("/opt/kestrel/node_keeper/ipmi_tools/ipmicmd", R_OK) != 0) {
    lines.emplace_back("1 ipmicmd is nothing");
    if (access("/usr/bin/ipmitool", R_OK) != 0) {
      lines.insert(lines.end(), {"1 ipmitool is nothing", "2 Failed to get IPMI tool path"});
      lines.emplace_back("R MSGID_BMC_0001_F");
    }
  }
  lines.insert(lines.end(),
               {"4 CBMC_KESTREL_Firmware::CBMC_KESTREL_Firmware() [END]", "4 CBMC_KESTREL_Vendor::LinkDevice() [END]"});
  return lines;
}

class LoadedPlugin : public HostTest {
 protected:
  void SetUp() override {
    library_ = dlopen(PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library_, nullptr) << dlerror();
    factory_ = reinterpret_cast<Factory>(dlsym(library_, "GetVendorFactory"));
    release_ = reinterpret_cast<Release>(dlsym(library_, "ReleaseVendor"));
    ASSERT_NE(factory_, nullptr);
    ASSERT_NE(release_, nullptr);
  }
  void TearDown() override {
    if (library_ != nullptr) {
      EXPECT_EQ(dlclose(library_), 0);
      EXPECT_EQ(dlopen(PLUGIN_PATH, RTLD_NOW | RTLD_NOLOAD), nullptr) << "something keeps the library loaded";
    }
    EXPECT_EQ(TakeLines(), Lines{}) << "lines while it was unloaded";
  }

  void* library_ = nullptr;
  Factory factory_ = nullptr;
  Release release_ = nullptr;
};

TEST_F(LoadedPlugin, GoesFromItsFactoryToItsRelease) {
  const std::string stale = folder_.Write("tmp/KV6KBMC/IPMIResult00000001", "00");
  CVendor* vendor = factory_("CBMC_KESTREL_Vendor", "host text");
  ASSERT_NE(vendor, nullptr);
  EXPECT_EQ(vendor->GetVendorClassName(), "CBMC_KESTREL_Vendor");
  EXPECT_EQ(vendor->GetFirmwareHandler(), nullptr);
  EXPECT_EQ(vendor->GetHardwareVersion(), "");
  Lines made = kMade;
  made.insert(made.end(), {"4 CBMC_KESTREL_Vendor::GetHardwareVersion() [START]",
                           "4 CBMC_KESTREL_Vendor::GetHardwareVersion() [END]"});
  EXPECT_EQ(TakeLines(), made);
  EXPECT_TRUE(std::filesystem::exists(stale));

  vendor->LinkDevice();
  ASSERT_NE(vendor->GetFirmwareHandler(), nullptr);
  EXPECT_EQ(vendor->GetFirmwareHandler()->UpdateRestore(""), 0);
  Lines linked = Linked();
  linked.insert(linked.end(),
                {"4 CBMC_KESTREL_Firmware::UpdateRestore() [START]", "4 CBMC_KESTREL_Firmware::UpdateRestore() [END]"});
  EXPECT_EQ(TakeLines(), linked);

  release_(vendor);
  Lines released = kVendorReleased;
  released.insert(released.end(), kFirmwareReleased.begin(), kFirmwareReleased.end());
  EXPECT_EQ(TakeLines(), released);
}

TEST_F(LoadedPlugin, MakesItsScratchDirectory) {
  CVendor* vendor = factory_("CBMC_KESTREL_Vendor", "");
  ASSERT_NE(vendor, nullptr);
  EXPECT_EQ(TakeLines(), kMade);
  EXPECT_FALSE(folder_.Has("tmp"));
  vendor->LinkDevice();
  EXPECT_TRUE(std::filesystem::is_directory(folder_ / "tmp/KV6KBMC"));
  EXPECT_EQ(TakeLines(), Linked());
  release_(vendor);
  TakeLines();
}

TEST_F(LoadedPlugin, MakesNothingForAnyOtherClassName) {
  for (const char* name : {"CBMC_KESTREL_Vendor2", "cbmc_kestrel_vendor", ""}) {
    EXPECT_EQ(factory_(name, "host text"), nullptr);
  }
  EXPECT_EQ(factory_(nullptr, "host text"), nullptr);
  EXPECT_EQ(factory_("CBMC_KESTREL_Vendor", nullptr), nullptr);
  release_(nullptr);
  EXPECT_EQ(TakeLines(), Lines{});
}

// Without a link there is no firmware handler to delete.
TEST_F(LoadedPlugin, CanBeReleasedBeforeItIsLinked) {
  release_(factory_("CBMC_KESTREL_Vendor", "host text"));
  Lines lines = kMade;
  lines.insert(lines.end(), kVendorReleased.begin(), kVendorReleased.end());
  EXPECT_EQ(TakeLines(), lines);
}

}  // namespace
}  // namespace refhost
