// The report's section on firmware versions.
#include "report/version_section.h"

#include <gtest/gtest.h>

#include "tests/report/report_lines.h"
#include "tests/support/scripted_firmware.h"

namespace kestrel {

namespace {

TEST(OperatingVersionParts, AreTheTextsBehindTheColons) {
  struct Case {
    const char* operatingVersion;
    const char* bmc;
    const char* sdr;
  };
  const ScriptedHost host;
  for (const auto& [operatingVersion, bmc, sdr] : {
           Case{"BMC:01.02,SDR:0.10", "01.02", "0.10"},
           Case{"BMC:01-23,SDR:", "01-23", ""},
           Case{"BMC:01.02", "01.02", "01.02"},
           Case{"01-23", "01-23", ""},
           Case{"", "", ""},
           Case{"bmc:01-23,SDR:1", "bmc:01-23,SDR:1", ""},
           Case{"BMC", "BMC", ""},
           Case{"BMC:", "", ""},
           Case{"BMC:01-23,", "01-23", ""},
           Case{",BMC:01-23", "", "01-23"},
           Case{"SDR:0.10,BMC:01-23", "0.10", "01-23"},
           Case{"xBMC:01-23,SDR:1", "01-23", "1"},
           Case{"BMC:01-23,SDR:a:b", "01-23", "b"},
           Case{"BMC:01-23,SDR:a,b", "01-23", "b"},
           Case{"BMC:01-23,SDR:a,", "01-23", ""},
           Case{"BMC:1:2,3,4:5", "2", "5"},
       }) {
    SCOPED_TRACE(operatingVersion);
    const FirmwareVersions versions = SplitOperatingVersion(operatingVersion);
    EXPECT_EQ(versions.bmc, bmc);
    EXPECT_EQ(versions.sdr, sdr);
  }
}

class VersionSection : public testing::Test {
 protected:
  int Fill(const std::string& operatingVersion) {
    firmware_.operatingVersion = operatingVersion;
    return FillVersionSection(firmware_, &section_);
  }

  ScriptedHost host_;
  ScriptedFirmware firmware_;
  COrvXmlNode section_{"section"};
};

TEST_F(VersionSection, PutsTheSdrVersionBeforeTheBiosVersion) {
  host_.ResultLine(kBiosVersionLine, "\tVersion: V3.4");
  EXPECT_EQ(Fill("BMC:01.02,SDR:0.10"), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kVersionStart, "ask operating version", DmiRead(kBiosVersionLine), "1 BMC Version [01.02]",
                         "1 BIOS Version [V3.4]", "1 SDR Version [0.10]", kVersionEnd}));
  EXPECT_TRUE(SameLines(LinesOf(host_, section_), {"section", Item("BMC Version", "01.02"), Item("SDR Version", "0.10"),
                                                   Item("BIOS Version", "V3.4")}));
}

TEST_F(VersionSection, HasNoSdrVersionWhenTheOperatingVersionIsOne) {
  host_.ResultLine(kBiosVersionLine, "\tVersion: V3.4");
  EXPECT_EQ(Fill("01-23"), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kVersionStart, "ask operating version", DmiRead(kBiosVersionLine),
                                              "1 BMC Version [01-23]", "1 BIOS Version [V3.4]", kVersionEnd}));
  EXPECT_TRUE(
      SameLines(LinesOf(host_, section_), {"section", Item("BMC Version", "01-23"), Item("BIOS Version", "V3.4")}));
}

TEST_F(VersionSection, HasNoSdrVersionWhenItIsEmpty) {
  host_.ResultLine(kBiosVersionLine, "\tVersion: V3.4");
  EXPECT_EQ(Fill("BMC:01-23,SDR:"), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kVersionStart, "ask operating version", DmiRead(kBiosVersionLine),
                                              "1 BMC Version [01-23]", "1 BIOS Version [V3.4]", kVersionEnd}));
  EXPECT_TRUE(
      SameLines(LinesOf(host_, section_), {"section", Item("BMC Version", "01-23"), Item("BIOS Version", "V3.4")}));
}

TEST_F(VersionSection, GivesTheBmcVersionTwiceWithoutAComma) {
  host_.ResultLine(kBiosVersionLine, "\tVersion: ");
  EXPECT_EQ(Fill("BMC:01.02"), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kVersionStart, "ask operating version", DmiRead(kBiosVersionLine), "1 BMC Version [01.02]",
                         "1 BIOS Version []", "1 SDR Version [01.02]", kVersionEnd}));
  EXPECT_TRUE(SameLines(LinesOf(host_, section_), {"section", Item("BMC Version", "01.02"),
                                                   Item("SDR Version", "01.02"), Item("BIOS Version", "")}));
}

TEST_F(VersionSection, FailsAtOnceWhenTheBmcCannotBeRead) {
  EXPECT_EQ(Fill("abnormal"), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kVersionStart, "ask operating version", kVersionEnd}));
  EXPECT_TRUE(SameLines(LinesOf(host_, section_), "section"));
}

TEST_F(VersionSection, FailsAndStaysEmptyWithoutABiosVersion) {
  host_.ResultLine(kBiosVersionLine, "", 3);
  EXPECT_EQ(Fill("BMC:01.02,SDR:0.10"), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kVersionStart, "ask operating version", FailedDmiRead(kBiosVersionLine), kVersionLeave}));
  EXPECT_TRUE(SameLines(LinesOf(host_, section_), "section"));
}

TEST_F(VersionSection, FailsAndStaysEmptyWhenTheBiosVersionHasNoLabel) {
  host_.ResultLine(kBiosVersionLine, "V3.4");
  EXPECT_EQ(Fill("01-23"), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kVersionStart, "ask operating version",
                                              DmiReadWithoutLabel(kBiosVersionLine, "V3.4"), kVersionLeave}));
  EXPECT_TRUE(SameLines(LinesOf(host_, section_), "section"));
}

}  // namespace
}  // namespace kestrel
