// The exported functions: who gets a vendor object, and whose object is deleted.
#include <gtest/gtest.h>

#include "host/EntryPoints.h"
#include "provider/kestrel_vendor.h"
#include "tests/support/scripted_host.h"

namespace {

const Lines kMade = {"show new CBMC_KESTREL_Vendor|host text",
                     "4 CBMC_KESTREL_Vendor::CBMC_KESTREL_Vendor() [START]",
                     "show CBMC_KESTREL_Vendor::CBMC_KESTREL_Vendor()|CBMC_KESTREL_Vendor::CBMC_KESTREL_Vendor - Debug",
                     "system rm -f \"$I/tmp/KV6KBMC/IPMIResult*\"",
                     "show CBMC_KESTREL_Vendor() end|CBMC_KESTREL_Vendor::CBMC_KESTREL_Vendor - Debug",
                     "4 CBMC_KESTREL_Vendor::CBMCKESTREL_Vendor() [END]"};

// A vendor of another plug-in, which notes its end.
class OtherVendor : public CVendor {
 public:
  explicit OtherVendor(const std::string& name) : CVendor("other") { vendorClassName = name; }
  ~OtherVendor() override { ScriptedHost::Current()->Note("other vendor deleted"); }

  std::string GetHardwareVersion() override { return ""; }
  int CheckHardwareVersion(std::string, std::string) override { return 0; }
  void LinkDevice() override {}
  long ExecVendorMethod(std::string, ...) override { return 0; }
  void GetExtendedInfo(std::list<std::pair<std::string, std::string>>*) override {}
  int StartOutputDeviceConfigInfo(std::string, void*) override { return 0; }
  int ExecOutputDeviceConfigInfo(std::string, void*) override { return 0; }
  int EndOutputDeviceConfigInfo(std::string, void*) override { return 0; }
  void GetShortageOfNecessaryApplicationInfo(std::list<CNecessaryComponentInfo>&) override {}
  bool CheckUpdateConditionByDevicevendor(std::string, CManageRepositoryInfo*) override { return false; }
};

class EntryPoints : public testing::Test {
 protected:
  ScriptedHost host_;
};

TEST_F(EntryPoints, TheClassNameGivesAVendorObjectThatReleaseDeletes) {
  host_.System("rm -f \"$I/tmp/KV6KBMC/IPMIResult*\"", 0);
  CVendor* vendor = GetVendorFactory("CBMC_KESTREL_Vendor", "host text");
  ASSERT_NE(vendor, nullptr);
  EXPECT_EQ(vendor->GetVendorClassName(), "CBMC_KESTREL_Vendor");
  EXPECT_EQ(vendor->GetFirmwareHandler(), nullptr);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {"show WINAPI GetVendorFactory|CBMC_KESTREL_Vendor", kMade}));
  ReleaseVendor(vendor);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {"4 CBMC_KESTREL_Vendor::~CBMC_KESTREL_Vendor() [START]",
                                              "4 CBMC_KESTREL_Vendor::~CBMC_KESTREL_Vendor() [END]"}));
}

TEST_F(EntryPoints, EveryOtherClassNameIsRefusedInSilence) {
  for (const std::string name : {"cbmc_kestrel_vendor", "CBMC_KESTREL_Vendor ", "CBMC_KESTREL_Vendo", "",
                                 "CBMC_KESTREL_Vendor2", "CBMC_KESTREL_vendor"}) {
    EXPECT_EQ(GetVendorFactory(name.c_str(), "host text"), nullptr);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {"show WINAPI GetVendorFactory|" + name}));
  }
}

TEST_F(EntryPoints, NullTextsAreRefusedWithAMessage) {
  EXPECT_EQ(GetVendorFactory(nullptr, "host text"), nullptr);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {"show WINAPI GetVendorFactory|", "show GetFactory NULL|"}));
  EXPECT_EQ(GetVendorFactory("CBMC_KESTREL_Vendor", nullptr), nullptr);
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(), {"show WINAPI GetVendorFactory|CBMC_KESTREL_Vendor", "show GetFactory NULL|"}));
}

TEST_F(EntryPoints, ReleasingNothingDoesNothing) {
  ReleaseVendor(nullptr);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {}));
}

TEST_F(EntryPoints, AVendorOfAnotherClassIsLeftAlone) {
  for (const char* name : {"CBMC_OTHER_Vendor", "cbmc_kestrel_vendor", ""}) {
    OtherVendor other(name);
    host_.TakeJournal();
    ReleaseVendor(&other);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {}));
  }
}

}  // namespace
