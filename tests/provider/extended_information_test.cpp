// What the host learns of the device beyond its versions.
#include "provider/extended_information.h"

#include <gtest/gtest.h>

#include "tests/support/dmi_lines.h"
#include "tests/support/scripted_host.h"

namespace kestrel {

namespace {

using Pairs = std::list<std::pair<std::string, std::string>>;

const Lines kStart = "4 CBMC_KESTREL_Vendor::GetExtendedInfo() [START]";
const Lines kEnd = "4 CBMC_KESTREL_Vendor::GetExtendedInfo() [END]";

class ExtendedInformation : public testing::Test {
 protected:
  ScriptedHost host_;
  Pairs info_ = {{"old", "1"}, {"older", "2"}};
};

TEST_F(ExtendedInformation, IsTheSerialNumberInPlaceOfWhatWasThere) {
  host_.ResultLine(kSerialNumberLine, "\tSerial Number: MAUD123456");
  ReadExtendedInformation(&info_);
  EXPECT_EQ(info_, (Pairs{{"Serial Number", "MAUD123456"}}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, DmiRead(kSerialNumberLine), kEnd}));
}

TEST_F(ExtendedInformation, HasAnEmptySerialNumberWhenNothingIsPrinted) {
  host_.ResultLine(kSerialNumberLine, "", 3);
  ReadExtendedInformation(&info_);
  EXPECT_EQ(info_, (Pairs{{"Serial Number", ""}}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, FailedDmiRead(kSerialNumberLine), kEnd}));
}

TEST_F(ExtendedInformation, HasAnEmptySerialNumberWhenTheLabelIsMissing) {
  host_.ResultLine(kSerialNumberLine, "dmidecode: broken tables");
  ReadExtendedInformation(&info_);
  EXPECT_EQ(info_, (Pairs{{"Serial Number", ""}}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, DmiReadWithoutLabel(kSerialNumberLine, "dmidecode: broken tables"), kEnd}));
}

}  // namespace
}  // namespace kestrel
