// One property of the DMI tables: the line that holds it, the runs of the command, and every way in which both fail.
#include "report/dmi_property.h"

#include <gtest/gtest.h>

#include "tests/support/dmi_lines.h"
#include "tests/support/scripted_host.h"

namespace kestrel {

namespace {

const Lines kStart = "4 CBMC_KESTREL_Vendor::GetDmiDecodeInfo() [START]";
const Lines kEnd = "4 CBMC_KESTREL_Vendor::GetDmiDecodeInfo() [END]";

TEST(DmiLine, GivesTheValueBehindTheLabelWithoutTheBlanksAroundIt) {
  struct Case {
    const char* line;
    const char* value;
  };
  for (const auto& [line, value] : {
           Case{"\tSerial Number: ABC", "ABC"},
           Case{"\tSerial Number:   ABC  ", "ABC"},
           Case{"Serial Number:ABC", "ABC"},
           Case{"\tSerial Number: A  B C ", "A  B C"},
           Case{"\tSerial Number:\tABC", "\tABC"},
           Case{"\tSerial Number: \t ABC", "\t ABC"},
           Case{"\tSerial Number: ABC\t ", "ABC\t"},
           Case{"\tSerial Number: ABC \r", "ABC \r"},
           Case{"\tSerial Number: one Serial Number: two", "one Serial Number: two"},
           Case{"\tSerial Number:", ""},
           Case{"\tSerial Number:    ", ""},
       }) {
    SCOPED_TRACE(line);
    EXPECT_EQ(DmiValue(line, "Serial Number:"), value);
  }
}

TEST(DmiLine, WithoutTheLabelGivesNothing) {
  for (const char* line : {"", "\tVersion: 1", "\tSerial Number", "\tserial number: ABC", "Serial  Number: ABC"}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(DmiValue(line, "Serial Number:"), std::nullopt);
  }
}

class DmiProperty : public testing::Test {
 protected:
  bool Read() { return ReadDmiProperty("tell serial", "Serial Number:", &value_); }

  ScriptedHost host_;
  std::string value_ = "before";
};

TEST_F(DmiProperty, IsReadByOneRunOfTheCommand) {
  host_.ResultLine("tell serial", "\tSerial Number:   ABC  ");
  EXPECT_TRUE(Read());
  EXPECT_EQ(value_, "ABC");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, "line tell serial", kEnd}));
}

TEST_F(DmiProperty, KeepsATabBehindTheColon) {
  host_.ResultLine("tell serial", "\tSerial Number:\t ABC \t  ");
  EXPECT_TRUE(Read());
  EXPECT_EQ(value_, "\t ABC \t");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, "line tell serial", kEnd}));
}

TEST_F(DmiProperty, IsCutAtTheFirstOfTwoLabels) {
  host_.ResultLine("tell serial", "\tSerial Number: one Serial Number: two ");
  EXPECT_TRUE(Read());
  EXPECT_EQ(value_, "one Serial Number: two");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, "line tell serial", kEnd}));
}

TEST_F(DmiProperty, MayBeEmpty) {
  host_.ResultLine("tell serial", "\tSerial Number: ");
  EXPECT_TRUE(Read());
  EXPECT_EQ(value_, "");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, "line tell serial", kEnd}));
}

TEST_F(DmiProperty, IsReadByTheSecondRunAfterAPause) {
  host_.ResultLine("tell serial", "");
  host_.ResultLine("tell serial", "\tSerial Number: ABC");
  EXPECT_TRUE(Read());
  EXPECT_EQ(value_, "ABC");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, "line tell serial", "sleep 1000",
                                              "16 Failed to execute command [tell serial]", "line tell serial", kEnd}));
}

TEST_F(DmiProperty, IsReadByTheThirdRunAfterTwoPauses) {
  host_.ResultLine("tell serial", "", 2);
  host_.ResultLine("tell serial", "\tSerial Number: ABC");
  EXPECT_TRUE(Read());
  EXPECT_EQ(value_, "ABC");
  const Lines again = {"line tell serial", "sleep 1000", "16 Failed to execute command [tell serial]"};
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, again, again, "line tell serial", kEnd}));
}

TEST_F(DmiProperty, FailsWhenTheThirdRunPrintsNothingEither) {
  host_.ResultLine("tell serial", "", 3);
  EXPECT_FALSE(Read());
  EXPECT_EQ(value_, "before");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), FailedDmiRead("tell serial")));
}

TEST_F(DmiProperty, FailsAtOnceWhenTheLabelIsMissing) {
  host_.ResultLine("tell serial", "\tVersion: 1");
  EXPECT_FALSE(Read());
  EXPECT_EQ(value_, "before");
  EXPECT_TRUE(SameLines(
      host_.TakeJournal(),
      {kStart, "line tell serial", "2 Failed to get property. command:[tell serial] value:[\tVersion: 1]", kEnd}));
}

TEST_F(DmiProperty, FailsWithoutACommand) {
  EXPECT_FALSE(ReadDmiProperty("", "Serial Number:", &value_));
  EXPECT_EQ(value_, "before");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, "2 Command is empty", kEnd}));
}

TEST_F(DmiProperty, FailsWithoutALabel) {
  EXPECT_FALSE(ReadDmiProperty("tell serial", "", &value_));
  EXPECT_EQ(value_, "before");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, "2 Property is empty", kEnd}));
}

TEST_F(DmiProperty, FailsByTheCommandFirstWithoutEither) {
  EXPECT_FALSE(ReadDmiProperty("", "", &value_));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, "2 Command is empty", kEnd}));
}

TEST_F(DmiProperty, SerialNumberHasItsCommandAndLabel) {
  host_.ResultLine("/usr/sbin/dmidecode --type system | grep \"Serial Number\"", "\tSerial Number: MAUD1234567890");
  EXPECT_TRUE(ReadDmiProperty(kSerialNumberCommand, kSerialNumberLabel, &value_));
  EXPECT_EQ(value_, "MAUD1234567890");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), DmiRead(kSerialNumberLine)));
}

}  // namespace
}  // namespace kestrel
