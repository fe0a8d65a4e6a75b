// The vendor object's own operations: its life, the link to the device, the vendor methods and the trivial answers; and
// that each of the others reaches its unit with the arguments it was given. What the units do with them is tested with
// the units.
#include "provider/kestrel_vendor.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>

#include "provider/kestrel_firmware.h"
#include "tests/report/report_lines.h"
#include "tests/support/scripted_host.h"
#include "tests/svp/transfer_lines.h"

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

// Shows what the host's base class keeps.
class OpenVendor : public CBMC_KESTREL_Vendor {
 public:
  using CBMC_KESTREL_Vendor::CBMC_KESTREL_Vendor;

  const std::string& VendorId() const { return vendorId; }
  const std::string& DeviceName() const { return deviceName; }
  const std::string& Provider() const { return provider; }
};

// Shows the provider text that a firmware handler was made with.
class OpenFirmware : public CFirmware {
 public:
  static const std::string& Provider(const CFirmware& firmware) { return firmware.*(&OpenFirmware::provider); }
};

// A reading of the version 01-23.
const Lines kVersionRead = {"4 CBMC_KESTREL_Firmware::GetOperatingVersion() [START]", Request("06 01"),
                            "ask server type", "4 [01-23][kv6000]",
                            "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [01-23] [END]"};
const Lines kVersionAbnormal = {"4 CBMC_KESTREL_Firmware::GetOperatingVersion() [START]", "16 No IPMI tool",
                                "4 CBMC_KESTREL_Firmware::GetOperatingVersion() [END]"};

class KestrelVendor : public testing::Test {
 protected:
  KestrelVendor() {
    host_.System(kCleanUp, 0);
    vendor_ = std::make_unique<OpenVendor>("host text");
    host_.TakeJournal();
  }

  // The host's view of the object.
  CVendor& Vendor() { return *vendor_; }
  void ExpectJournal(const Lines& expected) { EXPECT_TRUE(SameLines(host_.TakeJournal(), expected)); }
  void AnswerVersion() { host_.Answer("06 01", "00 20 01 01 23"); }

  void Link() {
    vendor_->LinkDevice();
    host_.TakeJournal();
  }

  ScriptedHost host_;
  std::unique_ptr<OpenVendor> vendor_;
};

// --- Life.

TEST_F(KestrelVendor, NamesItselfAndKeepsTheHostsText) {
  EXPECT_EQ(vendor_->VendorId(), "kestrel");
  EXPECT_EQ(vendor_->DeviceName(), "KV6KBmc");
  EXPECT_EQ(vendor_->GetVendorClassName(), "CBMC_KESTREL_Vendor");
  EXPECT_EQ(vendor_->Provider(), "host text");
}

// What the quotes of the command line come down to.
TEST_F(KestrelVendor, TheCleanUpRemovesNoFileButOneThatIsNamedWithTheAsterisk) {
  const std::filesystem::path folder = host_.InstallPath() / "tmp/KV6KBMC";
  for (const char* name : {"IPMIResult*", "IPMIResult00000001", "IPMIResult", "ExistUpdate.txt"}) {
    std::ofstream(folder / name) << "kept";
  }
  host_.systemIsReal = true;
  for (int run = 0; run < 2; ++run) {  // the second time there is none
    host_.TakeJournal();
    const CBMC_KESTREL_Vendor vendor("host text");
    ExpectJournal({"4 CBMC_KESTREL_Vendor::CBMC_KESTREL_Vendor() [START]",
                   "show CBMC_KESTREL_Vendor::CBMC_KESTREL_Vendor()|CBMC_KESTREL_Vendor::CBMC_KESTREL_Vendor - Debug",
                   "system " + kCleanUp,
                   "show CBMC_KESTREL_Vendor() end|CBMC_KESTREL_Vendor::CBMC_KESTREL_Vendor - Debug",
                   "4 CBMC_KESTREL_Vendor::CBMCKESTREL_Vendor() [END]"});
    std::set<std::string> left;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      left.insert(entry.path().filename().string());
    }
    EXPECT_EQ(left, (std::set<std::string>{"ExistUpdate.txt", "IPMIResult", "IPMIResult00000001"}));
  }
}

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
  ASSERT_NE(dynamic_cast<CBMC_KESTREL_Firmware*>(vendor_->GetFirmwareHandler()), nullptr);
  EXPECT_EQ(OpenFirmware::Provider(*vendor_->GetFirmwareHandler()), "host text");
  EXPECT_EQ(vendor_->Provider(), "host text");  // still
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kLinkStart, kFirmwareStart, kFirmwareEnd, kLinkEnd}));
}

TEST_F(KestrelVendor, LinkingGoesOnWhenTheScratchDirectoryCannotBeMade) {
  host_.readableFiles = {kMakersToolPath};
  host_.foldersCanBeMade = false;
  vendor_->LinkDevice();
  EXPECT_NE(vendor_->GetFirmwareHandler(), nullptr);
  ExpectJournal({kLinkStart, kFirmwareStart, kFirmwareEnd, kLinkEnd});
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

TEST_F(KestrelVendor, WithoutAFirmwareHandlerAReportFailsAsWithOneBeforeTheBmcIsAsked) {
  host_.serverType = "mx4000";
  EXPECT_EQ(vendor_->ExecOutputDeviceConfigInfo("/out/", nullptr), 2048);
  ExpectJournal({"4 CBMC_KESTREL_Vendor::ExecOutputDeviceConfigInfo() [START]", "ask server type",
                 "4 ServerType:[mx4000]", "1 Unsupported ServerType",
                 "4 CBMC_KESTREL_Vendor::ExecOutputDeviceConfigInfo() [END]"});
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

// The senders' journals through ipmitool when the BMC supports neither record.
const Lines kUnsupportedOs = {"4 CBMC_KESTREL_Firmware::ExecSendOSInfo [START]",
                              kestrel::CapabilityLines(kestrel::kThroughIpmitool, "00"),
                              "1 Send OS Information not supported", "4 CBMC_KESTREL_Firmware::ExecSendOSInfo [END]"};

Lines UnsupportedDisks(const std::string& flags) {
  return {"4 CBMC_KESTREL_Firmware::ExecSendHddInfo [START]",
          kestrel::CapabilityLines(kestrel::kThroughIpmitool, flags), "1 Send HDD Information not supported",
          "4 CBMC_KESTREL_Firmware::ExecSendHDDInfo [END]"};
}

const Lines kNotificationStart = "4 CBMC_KESTREL_Firmware::SendInfoToSVP [START]";

TEST_F(KestrelVendor, SendInfoToSvpSucceedsWhenNothingIsSupported) {
  Link();
  host_.Answer("3c 04", kestrel::CapabilityAnswer("00"), 2);
  EXPECT_EQ(Vendor().ExecVendorMethod("SendInfoToSVP", nullptr, 3), 0);
  ExpectJournal(MethodLines({kNotificationStart, kUnsupportedOs, UnsupportedDisks("00")}));
}

TEST_F(KestrelVendor, SendInfoToSvpSendsTheRecords) {
  Link();
  host_.Answer("3c 04", kestrel::CapabilityAnswer("01"), 2);
  host_.ResultLine("cat /etc/redhat-release", "");
  host_.hostName = "";
  const std::string firstWrite =
      "3c 69 05 40 00 00 00 00 00 00 00 00 00 00 00 00 00 00 24 00 00 00 00 00 00 00 03 4f 53 00 01 00 00 09 48 6f 73 "
      "74 6e 61 6d 65";
  Lines sent;
  for (const std::string& request : {std::string("3c 6a 05 40 01 00 00 00 00 00"), firstWrite,
                                     std::string("3c 69 05 40 00 00 20 00 00 00 00 01 00 00"),
                                     std::string("3c 69 05 40 00 00 00 00 00 00 51 54 4c 4d 50"),
                                     std::string("3c 6b 05 40 00 00 00 00 00 00"), std::string("34 39 01")}) {
    host_.Answer(request, "00");
    sent = {sent, Request(request)};
  }
  EXPECT_EQ(Vendor().ExecVendorMethod("SendInfoToSVP"), 0);
  ExpectJournal(MethodLines({kNotificationStart, "4 CBMC_KESTREL_Firmware::ExecSendOSInfo [START]",
                             kestrel::CapabilityLines(kestrel::kThroughIpmitool, "01"), "line cat /etc/redhat-release",
                             "1 osname=[]", "ask host name", "1 hostname=[]", sent,
                             "4 CBMC_KESTREL_Firmware::ExecSendInfoToSVP [END]", UnsupportedDisks("01")}));
}

TEST_F(KestrelVendor, SendInfoToSvpFailsWithASender) {
  Link();
  host_.Answer("3c 04", kestrel::CapabilityAnswer("01"), 2);
  host_.ResultLine("cat /etc/redhat-release", "Linux 9");
  host_.gethostnameResults = {-1};
  EXPECT_EQ(Vendor().ExecVendorMethod("SendInfoToSVP"), -1);
  ExpectJournal(MethodLines({kNotificationStart, "4 CBMC_KESTREL_Firmware::ExecSendOSInfo [START]",
                             kestrel::CapabilityLines(kestrel::kThroughIpmitool, "01"), "line cat /etc/redhat-release",
                             "1 osname=[Linux 9]", "ask host name", "2 Feiled to get hostname",
                             "4 CBMC_KESTREL_Firmware::ExecSendInfoToSVP [END]", "record MSGID_BMC_0022_F 26",
                             UnsupportedDisks("01")}));
}

// --- Identification and conditions.

TEST_F(KestrelVendor, ExtendedInformationIsTheSerialNumber) {
  std::list<std::pair<std::string, std::string>> info = {{"old", "1"}};
  host_.ResultLine(kSerialNumberLine, "\tSerial Number: MAUD123456");
  Vendor().GetExtendedInfo(&info);
  EXPECT_EQ(info, (std::list<std::pair<std::string, std::string>>{{"Serial Number", "MAUD123456"}}));
  ExpectJournal({"4 CBMC_KESTREL_Vendor::GetExtendedInfo() [START]", DmiRead(kSerialNumberLine),
                 "4 CBMC_KESTREL_Vendor::GetExtendedInfo() [END]"});
}

TEST_F(KestrelVendor, MissingPrerequisitesAreAppended) {
  std::list<CNecessaryComponentInfo> missing = {{"before", "1"}};
  host_.ipmiServiceState = 1;
  Vendor().GetShortageOfNecessaryApplicationInfo(missing);
  ASSERT_EQ(missing.size(), 2U);
  EXPECT_EQ(missing.back().name, "IPMI service");
  ExpectJournal({"4 CBMC_KESTREL_Vendor::GetShortageOfNecessaryApplicationInfo() [START]",
                 "probe /opt/kestrel/node_keeper/ipmi_tools/ipmicmd", "1 ipmicmd is nothing", "probe /usr/bin/ipmitool",
                 "ask IPMI service state", "4 CBMC_KESTREL_Vendor::GetShortageOfNecessaryApplicationInfo() [END]"});
}

TEST_F(KestrelVendor, APackageIsComparedWithTheFirmwareHandlersVersion) {
  Link();
  CManageRepositoryInfo package;
  const Lines start = {"4 CBMC_KESTREL_Vendor::CheckUpdateConditionByDevicevendor() [START]", kVersionRead};
  const Lines end = "4 CBMC_KESTREL_Vendor::CheckUpdateConditionByDevicevendor() [END]";
  package.moduleVersion = "01-24";
  AnswerVersion();
  EXPECT_FALSE(Vendor().CheckUpdateConditionByDevicevendor("02-24", &package));
  ExpectJournal({start, end});
  package.moduleVersion = "02-24";
  AnswerVersion();
  EXPECT_TRUE(Vendor().CheckUpdateConditionByDevicevendor("01-24", &package));
  ExpectJournal({start, "1 OperatingVersion:01-23,UpdateVersion:02-24", end});
}

// --- The report.

const Lines kGeneralRead = {kGeneralStart,
                            DmiRead(kProductNameLine),
                            DmiRead(kProductVersionLine),
                            DmiRead(kSerialNumberLine),
                            "1 Product Name [KV6000 M2]",
                            "1 Product Version [2.1]",
                            "1 Serial Number [MAUD123456]",
                            kGeneralEnd};
const Lines kVersionSectionRead = {
    kVersionStart,           kVersionRead, DmiRead(kBiosVersionLine), "1 BMC Version [01-23]",
    "1 BIOS Version [V3.4]", kVersionEnd};
const Lines kWebConsoleRead = {kWebConsoleStart,
                               "probe /opt/kestrel/node_keeper/ipmi_tools/ipmicmd",
                               "1 ipmicmd is nothing",
                               "probe /usr/bin/ipmitool",
                               Request(kMacRequest),
                               "1 MAC Address [90:1B:0E:A0:B1:C2]",
                               Request(kTcpipRequest),
                               "1 DHCP [Disabled]",
                               "1 IPAddress [192.168.0.10]",
                               "1 Subnemask [255.255.255.0]",
                               "1 GateWay [192.168.0.1]",
                               kWebConsoleEnd};

class KestrelVendorReport : public KestrelVendor {
 protected:
  KestrelVendorReport() { Link(); }

  void ScriptGeneralSection() {
    host_.ResultLine(kProductNameLine, "\tProduct Name: KV6000 M2");
    host_.ResultLine(kProductVersionLine, "\tVersion: 2.1");
    host_.ResultLine(kSerialNumberLine, "\tSerial Number: MAUD123456");
  }
  void ScriptVersionSection() {
    AnswerVersion();
    host_.ResultLine(kBiosVersionLine, "\tVersion: V3.4");
  }
  void ScriptWebConsoleSection() {
    host_.Answer(kMacRequest, "00 11 90 1b 0e a0 b1 c2");
    host_.Answer(kTcpipRequest, "00 c0 a8 00 0a ff ff ff 00 c0 a8 00 01 00 00 00");
  }
};

TEST_F(KestrelVendorReport, IsPossibleWhenTheFirmwareHandlerCanReadTheBmc) {
  int context = 0;
  AnswerVersion();
  EXPECT_EQ(Vendor().StartOutputDeviceConfigInfo("/out/", &context), 0);
  ExpectJournal({"4 CBMC_KESTREL_Vendor::StartOutputDeviceConfigInfo() [START]", kVersionRead,
                 "4 CBMC_KESTREL_Vendor::StartOutputDeviceConfigInfo() [END]"});
}

TEST_F(KestrelVendor, FailsToReportWithoutAnIpmiTool) {
  host_.readableFiles = {};
  Link();
  EXPECT_EQ(Vendor().StartOutputDeviceConfigInfo("/out/", nullptr), 1);
  ExpectJournal({"4 CBMC_KESTREL_Vendor::StartOutputDeviceConfigInfo() [START]", kVersionAbnormal,
                 "record MSGID_BMC_0019_F 1C", "4 CBMC_KESTREL_Vendor::StartOutputDeviceConfigInfo() [END]"});
}

TEST_F(KestrelVendorReport, IsWrittenWhereTheHostSays) {
  ScriptGeneralSection();
  ScriptVersionSection();
  ScriptWebConsoleSection();
  EXPECT_EQ(Vendor().ExecOutputDeviceConfigInfo("/out/", nullptr), 0);
  ExpectJournal({"4 CBMC_KESTREL_Vendor::ExecOutputDeviceConfigInfo() [START]", "ask server type",
                 "4 ServerType:[kv6000]", kGeneralRead, kVersionSectionRead, kWebConsoleRead,
                 "write /out/Kestrel_BmcConfigInfo.xml", "4 CBMC_KESTREL_Vendor::ExecOutputDeviceConfigInfo() [END]"});
}

// --- The steps under their own names.

TEST_F(KestrelVendor, ADmiPropertyIsReadByItsCommandAndItsLabel) {
  std::string value = "from before";
  host_.ResultLine("dmidecode of something", "\tLabel: text");
  EXPECT_TRUE(vendor_->GetDmiDecodeInfo("dmidecode of something", "Label:", &value));
  EXPECT_EQ(value, "text");
  ExpectJournal(DmiRead("dmidecode of something"));
  host_.ResultLine("dmidecode of something", "\tOther: text");
  EXPECT_FALSE(vendor_->GetDmiDecodeInfo("dmidecode of something", "Label:", &value));
  ExpectJournal(DmiReadWithoutLabel("dmidecode of something", "\tOther: text"));
}

TEST_F(KestrelVendorReport, HasEachSectionUnderItsOwnName) {
  COrvXmlNode general("section");
  ScriptGeneralSection();
  EXPECT_EQ(vendor_->CreateGeneralInfoNode(&general), 0);
  ExpectJournal(kGeneralRead);
  EXPECT_TRUE(
      SameLines(LinesOf(host_, general), {"section", Item("Product Name", "KV6000 M2"), Item("Product Version", "2.1"),
                                          Item("Serial Number", "MAUD123456")}));
  COrvXmlNode version("section");
  ScriptVersionSection();
  EXPECT_EQ(vendor_->CreateVersionInfoNode(&version), 0);
  ExpectJournal(kVersionSectionRead);
  EXPECT_TRUE(
      SameLines(LinesOf(host_, version), {"section", Item("BMC Version", "01-23"), Item("BIOS Version", "V3.4")}));
  COrvXmlNode webConsole("section");
  ScriptWebConsoleSection();
  EXPECT_EQ(vendor_->CreateWebConsoleSettingNode(&webConsole), 0);
  ExpectJournal(kWebConsoleRead);
  EXPECT_TRUE(
      SameLines(LinesOf(host_, webConsole),
                {"section", Item("mac_address", "90:1B:0E:A0:B1:C2"), Item("ip_address", "192.168.0.10"),
                 Item("netmask", "255.255.255.0"), Item("default_gate_way", "192.168.0.1"), Item("dhcp", "Disabled")}));
}

TEST_F(KestrelVendorReport, FailsWhenASectionCannotBeMade) {
  COrvXmlNode section("section");
  host_.ResultLine(kProductNameLine, "nothing of the kind");
  EXPECT_EQ(vendor_->CreateGeneralInfoNode(&section), 1);
  ExpectJournal({kGeneralStart, DmiReadWithoutLabel(kProductNameLine, "nothing of the kind"), kGeneralLeave});
  EXPECT_TRUE(SameLines(LinesOf(host_, section), "section"));
}

}  // namespace
