#include "orvhost/trace/fit_watch.h"

#include <gtest/gtest.h>

#include "tests/orvhost/trace/levels.h"

namespace orvhost {

namespace {

class FitLines : public testing::Test {
 protected:
  void Line(int level, const std::string& text) { watch_.Write({level, "bmc", "", "", text}); }

  FitWatch watch_;
};

TEST_F(FitLines, ARefusalTellsTheMachine) {
  Line(kInfo, "Ver[BMC:01-23,SDR:A1],Serial[SN0123456789AE],Model[long/ssd],Rep[],iRet[1]");
  ASSERT_TRUE(watch_.OfOtherModel());
  EXPECT_EQ(watch_.OfOtherModel()->model, "long/ssd");
  EXPECT_EQ(watch_.OfOtherModel()->serialNumber, "SN0123456789AE");
  EXPECT_FALSE(watch_.SerialWithoutModel());
}

TEST_F(FitLines, WithAnyModelThatThePackageNames) {
  Line(kInfo, "Ver[BMC:1],Serial[SN],Model[],Rep[x],Model[y],Rep[z],iRet[0]],iRet[1]");
  ASSERT_TRUE(watch_.OfOtherModel());
  EXPECT_EQ(watch_.OfOtherModel()->model, "");
  EXPECT_EQ(watch_.OfOtherModel()->serialNumber, "SN");
}

TEST_F(FitLines, OtherLinesTellNoMachine) {
  Line(kInfo, "Ver[BMC:01-23,SDR:A1],Serial[SN0123456789AE],Model[long/ssd],Rep[long/ssd],iRet[0]");
  Line(kInfo, "Ver[BMC:01-23,SDR:A1],Serial[SN0123456789AE],Model[long/ssd],Rep[");  // cut off
  Line(kInfo, "Ver[BMC:01-23,SDR:A1],iRet[1]");
  Line(kInfo, "Ver[BMC:01-23,SDR:A1],Serial[SN],iRet[1]");
  Line(kInfo, "Ver[BMC:01-23,SDR:A1],Serial[SN],Model[],iRet[1]");
  Line(kInfo, "[Ver[BMC:01-23,SDR:A1],Serial[SN],Model[],Rep[x],iRet[1]");
  Line(kError, "Ver[BMC:01-23,SDR:A1],Serial[SN],Model[],Rep[x],iRet[1]");
  Line(kInfo, "OperatingVersion:01-23,UpdateVersion:06-01");
  EXPECT_FALSE(watch_.OfOtherModel());
}

TEST_F(FitLines, VersionsThatDoNotFitTellTheRunningOne) {
  Line(kError, "OperatingVersion:01-23,UpdateVersion:06-01");
  Line(kInfo, "Then OperatingVersion:01-23,UpdateVersion:06-01");
  Line(kInfo, "OperatingVersion:01-23");  // cut off
  EXPECT_FALSE(watch_.OfOtherVersion());
  Line(kInfo, "OperatingVersion:01-23,UpdateVersion:BMC:01-24,SDR:A2");
  EXPECT_EQ(watch_.OfOtherVersion(), "01-23");
}

TEST_F(FitLines, ASerialNumberThatTellsNoModel) {
  Line(kError, "Failed to get serial number [a]b]");
  EXPECT_EQ(watch_.SerialWithoutModel(), "a]b");
  Line(kError, "Failed to get serial number []");
  EXPECT_EQ(watch_.SerialWithoutModel(), "");
  EXPECT_FALSE(watch_.OfOtherModel());
}

TEST_F(FitLines, OtherLinesTellNoSerialNumber) {
  Line(kInfo, "Failed to get serial number [SN]");
  Line(kError, "Failed to get serial number [");
  Line(kError, "Failed to get serial number [SN");
  Line(kError, "Then: Failed to get serial number [SN]");
  EXPECT_FALSE(watch_.SerialWithoutModel());
}

}  // namespace
}  // namespace orvhost
