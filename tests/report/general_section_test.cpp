// The report's section on the server itself.
#include "report/general_section.h"

#include <gtest/gtest.h>

#include "tests/report/report_lines.h"

namespace kestrel {

namespace {

class GeneralSection : public testing::Test {
 protected:
  void ExpectNothingAdded() { EXPECT_TRUE(SameLines(LinesOf(host_, section_), "section")); }

  ScriptedHost host_;
  COrvXmlNode section_{"section"};
};

TEST_F(GeneralSection, HoldsNameVersionAndSerialNumber) {
  host_.ResultLine(kProductNameLine, "\tProduct Name: KV6000 M2");
  host_.ResultLine(kProductVersionLine, "\tVersion: 2.1 ");
  host_.ResultLine(kSerialNumberLine, "\tSerial Number: MAUD123456789A");
  EXPECT_EQ(FillGeneralSection(&section_), 0);
  EXPECT_TRUE(SameLines(
      host_.TakeJournal(),
      {kGeneralStart, DmiRead(kProductNameLine), DmiRead(kProductVersionLine), DmiRead(kSerialNumberLine),
       "1 Product Name [KV6000 M2]", "1 Product Version [2.1]", "1 Serial Number [MAUD123456789A]", kGeneralEnd}));
  EXPECT_TRUE(
      SameLines(LinesOf(host_, section_), {"section", Item("Product Name", "KV6000 M2"), Item("Product Version", "2.1"),
                                           Item("Serial Number", "MAUD123456789A")}));
}

TEST_F(GeneralSection, TakesEmptyValues) {
  host_.ResultLine(kProductNameLine, "\tProduct Name:");
  host_.ResultLine(kProductVersionLine, "\tVersion: ");
  host_.ResultLine(kSerialNumberLine, "\tSerial Number:  ");
  EXPECT_EQ(FillGeneralSection(&section_), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kGeneralStart, DmiRead(kProductNameLine), DmiRead(kProductVersionLine),
                                              DmiRead(kSerialNumberLine), "1 Product Name []", "1 Product Version []",
                                              "1 Serial Number []", kGeneralEnd}));
  EXPECT_TRUE(SameLines(LinesOf(host_, section_),
                        {"section", Item("Product Name", ""), Item("Product Version", ""), Item("Serial Number", "")}));
}

TEST_F(GeneralSection, FailsAtOnceWithoutAProductName) {
  host_.ResultLine(kProductNameLine, "", 3);
  EXPECT_EQ(FillGeneralSection(&section_), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kGeneralStart, FailedDmiRead(kProductNameLine), kGeneralLeave}));
  ExpectNothingAdded();
}

TEST_F(GeneralSection, FailsAndStaysEmptyWithoutAProductVersion) {
  host_.ResultLine(kProductNameLine, "\tProduct Name: KV6000 M2");
  host_.ResultLine(kProductVersionLine, "", 3);
  EXPECT_EQ(FillGeneralSection(&section_), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kGeneralStart, DmiRead(kProductNameLine), FailedDmiRead(kProductVersionLine), kGeneralLeave}));
  ExpectNothingAdded();
}

TEST_F(GeneralSection, FailsAndStaysEmptyWithoutASerialNumber) {
  host_.ResultLine(kProductNameLine, "\tProduct Name: KV6000 M2");
  host_.ResultLine(kProductVersionLine, "\tVersion: 2.1");
  host_.ResultLine(kSerialNumberLine, "no such field");
  EXPECT_EQ(FillGeneralSection(&section_), 1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kGeneralStart, DmiRead(kProductNameLine), DmiRead(kProductVersionLine),
                                              DmiReadWithoutLabel(kSerialNumberLine, "no such field"), kGeneralLeave}));
  ExpectNothingAdded();
}

}  // namespace
}  // namespace kestrel
