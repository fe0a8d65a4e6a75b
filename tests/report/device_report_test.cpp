// The whole report: who gets one, its document in order, its file, and that no failure writes one.
#include "report/device_report.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/report/report_lines.h"
#include "tests/support/scripted_firmware.h"

namespace kestrel {

namespace {

const Lines kCheckStart = {"4 CBMC_KESTREL_Vendor::StartOutputDeviceConfigInfo() [START]", "ask operating version"};
const Lines kCheckEnd = "4 CBMC_KESTREL_Vendor::StartOutputDeviceConfigInfo() [END]";

const Lines kStart = "4 CBMC_KESTREL_Vendor::ExecOutputDeviceConfigInfo() [START]";
const Lines kEnd = "4 CBMC_KESTREL_Vendor::ExecOutputDeviceConfigInfo() [END]";
const Lines kSectionFailed = {"record MSGID_BMC_0018_F 26", kEnd};

const Lines kGeneralRead = {kGeneralStart,
                            DmiRead(kProductNameLine),
                            DmiRead(kProductVersionLine),
                            DmiRead(kSerialNumberLine),
                            "1 Product Name [KV6000 M2]",
                            "1 Product Version [2.1]",
                            "1 Serial Number [MAUD123456789A]",
                            kGeneralEnd};
const Lines kGeneralItems = {"  general-inf", "    attr name=[Product Name] value=[KV6000 M2]",
                             "    attr name=[Product Version] value=[2.1]",
                             "    attr name=[Serial Number] value=[MAUD123456789A]"};

const Lines kVersionRead = {kVersionStart,           "ask operating version", DmiRead(kBiosVersionLine),
                            "1 BMC Version [01-23]", "1 BIOS Version [V3.4]", kVersionEnd};
const Lines kVersionItems = {"  version-inf", "    attr name=[BMC Version] value=[01-23]",
                             "    attr name=[BIOS Version] value=[V3.4]"};

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
const Lines kWebConsoleItems = {"  web-cosole-setting",
                                "    attr name=[mac_address] value=[90:1B:0E:A0:B1:C2]",
                                "    attr name=[ip_address] value=[192.168.0.10]",
                                "    attr name=[netmask] value=[255.255.255.0]",
                                "    attr name=[default_gate_way] value=[192.168.0.1]",
                                "    attr name=[dhcp] value=[Disabled]"};

class DeviceReport : public testing::Test {
 protected:
  void ScriptGeneralSection() {
    host_.ResultLine(kProductNameLine, "\tProduct Name: KV6000 M2");
    host_.ResultLine(kProductVersionLine, "\tVersion: 2.1");
    host_.ResultLine(kSerialNumberLine, "\tSerial Number: MAUD123456789A");
  }
  void ScriptVersionSection() { host_.ResultLine(kBiosVersionLine, "\tVersion: V3.4"); }
  void ScriptWebConsoleSection() {
    host_.Answer(kMacRequest, "00 11 90 1b 0e a0 b1 c2");
    host_.Answer(kTcpipRequest, "00 c0 a8 00 0a ff ff ff 00 c0 a8 00 01 00 00 00");
  }
  void Expect(int result, const std::string& savePath, const Lines& journal) {
    EXPECT_EQ(WriteDeviceReport(&firmware_, savePath), result);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), journal));
  }
  void ExpectDocument(const Lines& lines) {
    ASSERT_FALSE(host_.writtenDocuments.empty());
    EXPECT_TRUE(SameLines(host_.writtenDocuments.back(), lines));
  }
  void ExpectNoFile() { EXPECT_EQ(host_.writtenDocuments.size(), 0U); }

  ScriptedHost host_;
  ScriptedFirmware firmware_;
};

// --- Start.

TEST_F(DeviceReport, IsPossibleWhenTheBmcCanBeRead) {
  for (const char* version : {"01-23", "BMC:01-23,SDR:", "", "Abnormal", "abnormal "}) {
    SCOPED_TRACE(version);
    firmware_.operatingVersion = version;
    EXPECT_EQ(CheckReportPossible(&firmware_), 0);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {kCheckStart, kCheckEnd}));
  }
}

TEST_F(DeviceReport, FailsBeforehandWhenTheBmcCannotBeRead) {
  firmware_.operatingVersion = "abnormal";
  EXPECT_EQ(CheckReportPossible(&firmware_), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kCheckStart, "record MSGID_BMC_0019_F 1C", kCheckEnd}));
}

// --- Execute.

TEST_F(DeviceReport, HoldsThreeSectionsInOrder) {
  for (const char* serverType : {"kv6000", "kv6000 m2", "kv6000r", "kv6000 rt", "kv60001"}) {
    SCOPED_TRACE(serverType);
    host_.serverType = serverType;
    ScriptGeneralSection();
    ScriptVersionSection();
    ScriptWebConsoleSection();
    Expect(0, "/out/",
           {kStart, "ask server type", std::string("4 ServerType:[") + serverType + "]", kGeneralRead, kVersionRead,
            kWebConsoleRead, "write /out/Kestrel_BmcConfigInfo.xml", kEnd});
    ExpectDocument({"data", kGeneralItems, kVersionItems, kWebConsoleItems});
  }
  EXPECT_EQ(host_.writtenDocuments.size(), 5U);
}

TEST_F(DeviceReport, HoldsNoWebConsoleSectionForRackServers) {
  firmware_.operatingVersion = "BMC:01-23,SDR:A1";
  for (const char* serverType : {"kv6000rt", "kv6000rt m1", "kv6000rt4000"}) {
    SCOPED_TRACE(serverType);
    host_.serverType = serverType;
    ScriptGeneralSection();
    ScriptVersionSection();
    Expect(0, "/out/",
           {kStart, "ask server type", std::string("4 ServerType:[") + serverType + "]", kGeneralRead, kVersionStart,
            "ask operating version", DmiRead(kBiosVersionLine), "1 BMC Version [01-23]", "1 BIOS Version [V3.4]",
            "1 SDR Version [A1]", kVersionEnd, "write /out/Kestrel_BmcConfigInfo.xml", kEnd});
    ExpectDocument({"data", kGeneralItems, "  version-inf", "    attr name=[BMC Version] value=[01-23]",
                    "    attr name=[SDR Version] value=[A1]", "    attr name=[BIOS Version] value=[V3.4]"});
  }
  EXPECT_EQ(host_.writtenDocuments.size(), 3U);
}

TEST_F(DeviceReport, IsGluedToASavePathWithoutASeparator) {
  ScriptGeneralSection();
  ScriptVersionSection();
  ScriptWebConsoleSection();
  Expect(0, "/some/out",
         {kStart, "ask server type", "4 ServerType:[kv6000]", kGeneralRead, kVersionRead, kWebConsoleRead,
          "write /some/outKestrel_BmcConfigInfo.xml", kEnd});
}

TEST_F(DeviceReport, IsBuiltAnewOnEveryCall) {
  for (int call = 0; call < 2; ++call) {
    ScriptGeneralSection();
    ScriptVersionSection();
    ScriptWebConsoleSection();
    Expect(0, "/out/",
           {kStart, "ask server type", "4 ServerType:[kv6000]", kGeneralRead, kVersionRead, kWebConsoleRead,
            "write /out/Kestrel_BmcConfigInfo.xml", kEnd});
  }
  ASSERT_EQ(host_.writtenDocuments.size(), 2U);
  EXPECT_EQ(host_.writtenDocuments[0], host_.writtenDocuments[1]);
}

TEST_F(DeviceReport, FailsWithoutASavePath) {
  Expect(1, "", {kStart, "record MSGID_BMC_0018_F 26", "2 Save path is empty", kEnd});
  ExpectNoFile();
}

TEST_F(DeviceReport, FailsWithoutAServerType) {
  host_.serverType = "";
  Expect(1, "/out/", {kStart, "ask server type", "record MSGID_BMC_0018_F 26", "2 Failed to get Server Type", kEnd});
  ExpectNoFile();
}

TEST_F(DeviceReport, IsNotThereForOtherServers) {
  for (const char* serverType : {"mx4000", "mx400", "kv600", "k", "KV6000", " kv6000"}) {
    SCOPED_TRACE(serverType);
    host_.serverType = serverType;
    Expect(2048, "/out/",
           {kStart, "ask server type", std::string("4 ServerType:[") + serverType + "]", "1 Unsupported ServerType",
            kEnd});
  }
  ExpectNoFile();
}

TEST_F(DeviceReport, FailsWithoutItsGeneralSection) {
  host_.ResultLine(kProductNameLine, "", 3);
  Expect(1, "/out/",
         {kStart, "ask server type", "4 ServerType:[kv6000]", kGeneralStart, FailedDmiRead(kProductNameLine),
          kGeneralLeave, kSectionFailed});
  ExpectNoFile();
}

TEST_F(DeviceReport, FailsWhenTheBmcCannotBeRead) {
  firmware_.operatingVersion = "abnormal";
  ScriptGeneralSection();
  Expect(1, "/out/",
         {kStart, "ask server type", "4 ServerType:[kv6000]", kGeneralRead, kVersionStart, "ask operating version",
          kVersionEnd, kSectionFailed});
  ExpectNoFile();
}

TEST_F(DeviceReport, FailsWithoutABiosVersion) {
  ScriptGeneralSection();
  host_.ResultLine(kBiosVersionLine, "", 3);
  Expect(1, "/out/",
         {kStart, "ask server type", "4 ServerType:[kv6000]", kGeneralRead, kVersionStart, "ask operating version",
          FailedDmiRead(kBiosVersionLine), kVersionLeave, kSectionFailed});
  ExpectNoFile();
}

TEST_F(DeviceReport, FailsWithoutItsWebConsoleSection) {
  ScriptGeneralSection();
  ScriptVersionSection();
  host_.Answer(kMacRequest, "00 11 90 1b 0e a0 b1 c2");
  host_.Answer(kTcpipRequest, "00 c0 a8 00 0a ff ff ff 00 c0 a8 00 01 00 00 02");
  Expect(1, "/out/",
         {kStart, "ask server type", "4 ServerType:[kv6000]", kGeneralRead, kVersionRead, kWebConsoleStart,
          "probe /opt/kestrel/node_keeper/ipmi_tools/ipmicmd", "1 ipmicmd is nothing", "probe /usr/bin/ipmitool",
          Request(kMacRequest), "1 MAC Address [90:1B:0E:A0:B1:C2]", Request(kTcpipRequest), "2 DHCP [02]",
          kWebConsoleEnd, kSectionFailed});
  ExpectNoFile();
}

TEST_F(DeviceReport, IsLeftByTheExceptionOfItsWebConsoleSection) {
  ScriptGeneralSection();
  ScriptVersionSection();
  host_.Answer(kMacRequest, "00 11 90 1b 0e a0 b1 c2");
  host_.Answer(kTcpipRequest, "00 c0 a8 00 0a ff ff ff 00 c0 a8 00 01 00 00");
  EXPECT_THROW((void)WriteDeviceReport(&firmware_, "/out/"), std::out_of_range);
  EXPECT_TRUE(
      SameLines(host_.TakeJournal(),
                {kStart, "ask server type", "4 ServerType:[kv6000]", kGeneralRead, kVersionRead, kWebConsoleStart,
                 "probe /opt/kestrel/node_keeper/ipmi_tools/ipmicmd", "1 ipmicmd is nothing", "probe /usr/bin/ipmitool",
                 Request(kMacRequest), "1 MAC Address [90:1B:0E:A0:B1:C2]", Request(kTcpipRequest)}));
  ExpectNoFile();
}

TEST_F(DeviceReport, FailsWhenItsFileCannotBeWritten) {
  host_.documentsCanBeWritten = false;
  ScriptGeneralSection();
  ScriptVersionSection();
  ScriptWebConsoleSection();
  Expect(1, "/out/",
         {kStart, "ask server type", "4 ServerType:[kv6000]", kGeneralRead, kVersionRead, kWebConsoleRead,
          "write /out/Kestrel_BmcConfigInfo.xml", "record MSGID_BMC_0018_F 27",
          "2 Failed to write file [/out/Kestrel_BmcConfigInfo.xml]", kEnd});
  ExpectNoFile();
}

}  // namespace
}  // namespace kestrel
