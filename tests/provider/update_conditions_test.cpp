// Whether a package fits this machine, and what the machine lacks for an update.
#include "provider/update_conditions.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/support/dmi_lines.h"
#include "tests/support/scripted_firmware.h"
#include "tests/support/scripted_host.h"

namespace kestrel {

namespace {

const Lines kFitStart = {"4 CBMC_KESTREL_Vendor::CheckUpdateConditionByDevicevendor() [START]",
                         "ask operating version"};
const Lines kFitEnd = "4 CBMC_KESTREL_Vendor::CheckUpdateConditionByDevicevendor() [END]";

TEST(ModelOfMachine, IsLongSsdForEightLettersInTheFourteenthPlace) {
  for (const char letter : std::string("BEFGHJKL")) {
    EXPECT_EQ(ModelOfMachine(std::string("MAUD123456789") + letter), "long/ssd") << letter;
  }
  for (const char letter : std::string("ACDIMNOPQRSTUVWXYZbefghjkls0189 @[`{")) {
    EXPECT_EQ(ModelOfMachine(std::string("MAUD123456789") + letter), "") << letter;
  }
}

TEST(ModelOfMachine, IsLongSsdForAnSInTheSeventeenthPlace) {
  EXPECT_EQ(ModelOfMachine("MAUD123456789A12S"), "long/ssd");
  EXPECT_EQ(ModelOfMachine("MAUD123456789A12SX"), "long/ssd");
  for (const char letter : std::string("RTsrtBELb50 ")) {
    EXPECT_EQ(ModelOfMachine(std::string("MAUD123456789A12") + letter), "") << letter;
  }
}

TEST(ModelOfMachine, LooksAtNoOtherPlace) {
  EXPECT_EQ(ModelOfMachine("BEFGHJKLBEFGHAB"), "");
  EXPECT_EQ(ModelOfMachine("SSSSSSSSSSSSSSSS"), "");
  EXPECT_EQ(ModelOfMachine("SSSSSSSSSSSSSASSAS"), "");
  EXPECT_EQ(ModelOfMachine("MAUD123456789B12A"), "long/ssd");
}

// A text that was cut leaves its old characters in memory.
TEST(ModelOfMachine, LooksAtNoPlaceBehindTheEnd) {
  for (const std::size_t size : {14U, 15U, 16U}) {
    std::string serialNumber = "MAUD123456789ASSSSS";
    serialNumber.resize(size);
    EXPECT_EQ(ModelOfMachine(serialNumber), "") << size;
  }
}

TEST(ModelOfMachine, ThrowsOnFewerThanFourteenCharacters) {
  EXPECT_THROW((void)ModelOfMachine("MAUD123456789"), std::out_of_range);
}

class PackageFit : public testing::Test {
 protected:
  // A machine of the "BMC:" kind with this serial number, and a package for this model.
  bool DoesNotFit(const std::string& serialNumber, const std::string& model) {
    firmware_.operatingVersion = "BMC:01-23,SDR:A1";
    host_.ResultLine(kSerialNumberLine, "\tSerial Number: " + serialNumber);
    package_.model = model;
    package_.moduleVersion = "99-99";  // of no interest to such a machine
    return PackageDoesNotFit(firmware_, &package_);
  }
  // A machine of the other kind and a package with these versions.
  bool DoesNotFitByVersion(const std::string& operatingVersion, const std::string& updateVersion) {
    firmware_.operatingVersion = operatingVersion;
    package_.moduleVersion = updateVersion;
    package_.model = "long/ssd";  // of no interest to such a machine
    return PackageDoesNotFit(firmware_, &package_);
  }
  void ExpectModelJournal(const std::string& line) {
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {kFitStart, DmiRead(kSerialNumberLine), line, kFitEnd}));
  }

  ScriptedHost host_;
  ScriptedFirmware firmware_;
  CManageRepositoryInfo package_;
};

TEST_F(PackageFit, IsRefusedWhenTheBmcCannotBeAsked) {
  firmware_.operatingVersion = "abnormal";
  package_.moduleVersion = "abnormal";
  EXPECT_TRUE(PackageDoesNotFit(firmware_, &package_));
  EXPECT_TRUE(SameLines(
      host_.TakeJournal(),
      {kFitStart, "2 CBMC_KESTREL_Vendor::CheckUpdateConditionByDevicevendor() Failed to get Operating Version",
       kFitEnd}));
}

TEST_F(PackageFit, OrdinaryPackageOnAnOrdinaryMachine) {
  EXPECT_FALSE(DoesNotFit("MAUD123456789A", ""));
  ExpectModelJournal("1 Ver[BMC:01-23,SDR:A1],Serial[MAUD123456789A],Model[],Rep[],iRet[0]");
}

TEST_F(PackageFit, LongSsdPackageOnALongMachine) {
  EXPECT_FALSE(DoesNotFit("MAUD123456789E", "long/ssd"));
  ExpectModelJournal("1 Ver[BMC:01-23,SDR:A1],Serial[MAUD123456789E],Model[long/ssd],Rep[long/ssd],iRet[0]");
}

TEST_F(PackageFit, LongSsdPackageOnAMachineWithSsd) {
  EXPECT_FALSE(DoesNotFit("MAUD123456789A12S", "long/ssd"));
  ExpectModelJournal("1 Ver[BMC:01-23,SDR:A1],Serial[MAUD123456789A12S],Model[long/ssd],Rep[long/ssd],iRet[0]");
}

TEST_F(PackageFit, SerialNumberOfSixteenCharactersHasNoSeventeenth) {
  EXPECT_TRUE(DoesNotFit("MAUD123456789ASS", "long/ssd"));
  ExpectModelJournal("1 Ver[BMC:01-23,SDR:A1],Serial[MAUD123456789ASS],Model[],Rep[long/ssd],iRet[1]");
}

TEST_F(PackageFit, SerialNumberOfEighteenCharacters) {
  EXPECT_FALSE(DoesNotFit("MAUD123456789A12SX", "long/ssd"));
  ExpectModelJournal("1 Ver[BMC:01-23,SDR:A1],Serial[MAUD123456789A12SX],Model[long/ssd],Rep[long/ssd],iRet[0]");
}

TEST_F(PackageFit, PackageMayNameItsModelInCapitals) {
  EXPECT_FALSE(DoesNotFit("MAUD123456789B", "LONG/SSD"));
  ExpectModelJournal("1 Ver[BMC:01-23,SDR:A1],Serial[MAUD123456789B],Model[long/ssd],Rep[LONG/SSD],iRet[0]");
}

TEST_F(PackageFit, LongSsdPackageIsRefusedOnAnOrdinaryMachine) {
  EXPECT_TRUE(DoesNotFit("MAUD123456789A", "long/ssd"));
  ExpectModelJournal("1 Ver[BMC:01-23,SDR:A1],Serial[MAUD123456789A],Model[],Rep[long/ssd],iRet[1]");
}

TEST_F(PackageFit, OrdinaryPackageIsRefusedOnALongSsdMachine) {
  EXPECT_TRUE(DoesNotFit("MAUD123456789L", ""));
  ExpectModelJournal("1 Ver[BMC:01-23,SDR:A1],Serial[MAUD123456789L],Model[long/ssd],Rep[],iRet[1]");
}

TEST_F(PackageFit, ModelsAreComparedWhole) {
  EXPECT_TRUE(DoesNotFit("MAUD123456789K", "long/ssd "));
  ExpectModelJournal("1 Ver[BMC:01-23,SDR:A1],Serial[MAUD123456789K],Model[long/ssd],Rep[long/ssd ],iRet[1]");
}

TEST_F(PackageFit, SerialNumberInLowerCaseIsThatOfAnOrdinaryMachine) {
  EXPECT_FALSE(DoesNotFit("maud123456789e12s", ""));
  ExpectModelJournal("1 Ver[BMC:01-23,SDR:A1],Serial[maud123456789e12s],Model[],Rep[],iRet[0]");
}

TEST_F(PackageFit, SerialNumberOfThirteenCharactersIsTooShort) {
  EXPECT_TRUE(DoesNotFit("MAUD12345678E", "long/ssd"));
  ExpectModelJournal("2 Failed to get serial number [MAUD12345678E]");
}

TEST_F(PackageFit, EmptySerialNumberIsTooShort) {
  EXPECT_TRUE(DoesNotFit("", ""));
  ExpectModelJournal("2 Failed to get serial number []");
}

TEST_F(PackageFit, SerialNumberThatCannotBeReadIsTooShort) {
  firmware_.operatingVersion = "BMC:01-23,SDR:A1";
  host_.ResultLine(kSerialNumberLine, "", 3);
  EXPECT_TRUE(PackageDoesNotFit(firmware_, &package_));
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kFitStart, FailedDmiRead(kSerialNumberLine), "2 Failed to get serial number []", kFitEnd}));
}

TEST_F(PackageFit, SerialNumberWithoutItsLabelIsTooShort) {
  firmware_.operatingVersion = "BMC:01-23,SDR:A1";
  host_.ResultLine(kSerialNumberLine, "MAUD123456789E");
  EXPECT_TRUE(PackageDoesNotFit(firmware_, &package_));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kFitStart, DmiReadWithoutLabel(kSerialNumberLine, "MAUD123456789E"),
                                              "2 Failed to get serial number []", kFitEnd}));
}

TEST_F(PackageFit, ShortestVersionOfTheBmcKind) {
  firmware_.operatingVersion = "BMC:1";
  host_.ResultLine(kSerialNumberLine, "\tSerial Number: MAUD123456789A");
  EXPECT_FALSE(PackageDoesNotFit(firmware_, &package_));
  ExpectModelJournal("1 Ver[BMC:1],Serial[MAUD123456789A],Model[],Rep[],iRet[0]");
}

TEST_F(PackageFit, OtherMachinesTakeVersionsThatBeginAsTheirOwn) {
  for (const auto& [operatingVersion, updateVersion] : {
           std::pair{"01-23", "01-24"}, std::pair{"01-23", "01"}, std::pair{"01-23", "012"}, std::pair{"0", "0"},
           std::pair{"", ""}, std::pair{"BMC:", "BM-01"},  // the prefix without anything behind it
           std::pair{"bmc:01-23", "bm"},                   // another prefix
           std::pair{"xBMC:01-23", "xB"},                  // not a prefix
       }) {
    SCOPED_TRACE(std::string(operatingVersion) + " and " + updateVersion);
    EXPECT_FALSE(DoesNotFitByVersion(operatingVersion, updateVersion));
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {kFitStart, kFitEnd}));
  }
}

TEST_F(PackageFit, OtherMachinesRefuseVersionsThatBeginOtherwise) {
  for (const auto& [operatingVersion, updateVersion] : {
           std::pair{"01-23", "02-23"},
           std::pair{"01-23", "11-23"},
           std::pair{"01-23", "0"},  // the cuts differ in length
           std::pair{"01-23", ""},
           std::pair{"0", "01-23"},
           std::pair{"", "01-23"},
           std::pair{"0a-23", "0A-23"},
           std::pair{"BMC:", "01-23"},
       }) {
    SCOPED_TRACE(std::string(operatingVersion) + " and " + updateVersion);
    EXPECT_TRUE(DoesNotFitByVersion(operatingVersion, updateVersion));
    EXPECT_TRUE(
        SameLines(host_.TakeJournal(),
                  {kFitStart, std::string("1 OperatingVersion:") + operatingVersion + ",UpdateVersion:" + updateVersion,
                   kFitEnd}));
  }
}

const Lines kMissingStart = {"4 CBMC_KESTREL_Vendor::GetShortageOfNecessaryApplicationInfo() [START]",
                             "probe /opt/kestrel/node_keeper/ipmi_tools/ipmicmd"};
const Lines kIpmitoolProbe = {"1 ipmicmd is nothing", "probe /usr/bin/ipmitool"};
const Lines kMissingEnd = "4 CBMC_KESTREL_Vendor::GetShortageOfNecessaryApplicationInfo() [END]";

class MissingPrerequisites : public testing::Test {
 protected:
  MissingPrerequisites() { missing_.push_back({"before", "1"}); }
  // Name and version of every entry.
  std::vector<std::string> Find() {
    AppendMissingPrerequisites(missing_);
    std::vector<std::string> found;
    for (const CNecessaryComponentInfo& component : missing_) {
      found.push_back(component.name + "|" + component.version);
    }
    return found;
  }

  ScriptedHost host_;
  std::list<CNecessaryComponentInfo> missing_;
};

TEST_F(MissingPrerequisites, AreAToolWhenThereIsNone) {
  host_.readableFiles = {};
  host_.ipmiServiceState = 1;
  EXPECT_EQ(Find(), (std::vector<std::string>{"before|1", "IPMI tool|"}));
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kMissingStart, kIpmitoolProbe, "1 ipmitool is nothing", kMissingEnd}));
}

TEST_F(MissingPrerequisites, AreTheServiceWhenIpmitoolIsThereWithoutIt) {
  for (const int state : {1, -1, 256}) {
    missing_.assign({{"before", "1"}});
    host_.ipmiServiceState = state;
    EXPECT_EQ(Find(), (std::vector<std::string>{"before|1", "IPMI service|"}));
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {kMissingStart, kIpmitoolProbe, "ask IPMI service state", kMissingEnd}));
  }
}

TEST_F(MissingPrerequisites, AreNoneWithIpmitoolAndTheService) {
  EXPECT_EQ(Find(), std::vector<std::string>{"before|1"});
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kMissingStart, kIpmitoolProbe, "ask IPMI service state", kMissingEnd}));
}

TEST_F(MissingPrerequisites, AreNoneWithTheMakersToolWhichNeedsNoService) {
  host_.readableFiles = {kMakersToolPath, kIpmitoolPath};
  host_.ipmiServiceState = 1;
  EXPECT_EQ(Find(), std::vector<std::string>{"before|1"});
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kMissingStart, kMissingEnd}));
}

}  // namespace
}  // namespace kestrel
