// Comparison of version texts: both grammars, the wildcards of packages, and malformed texts of every shape.
#include "firmware/version_comparison.h"

#include <gtest/gtest.h>

#include "tests/support/scripted_host.h"

namespace kestrel {

namespace {

Lines Malformed(const std::string& code) {
  return {"record MSGID_BMC_0008_F " + code, "2 Invalid version format"};
}

Lines BmcStart(const std::string& first, const std::string& second) {
  return "4 CBMC_KESTREL_Firmware::CheckBMCVersion() [" + first + "][" + second + "] [START]";
}

Lines BmcEnd(const std::string& result) {
  return "4 CBMC_KESTREL_Firmware::CheckBMCVersion() [" + result + "] [END]";
}

Lines SdrStart(const std::string& first, const std::string& second) {
  return "4 CBMC_KESTREL_Firmware::CheckSDRVersion() [" + first + "][" + second + "] [START]";
}

Lines SdrEnd(const std::string& result) {
  return "4 CBMC_KESTREL_Firmware::CheckSDRVersion() [" + result + "] [END]";
}

Lines VendorStart(const std::string& first, const std::string& second) {
  return {"4 CBMC_KESTREL_Firmware::CheckVendorVersion() [" + first + "] [" + second + "] [START]", "ask server type"};
}

Lines VendorEnd(const std::string& result) {
  return "4 CBMC_KESTREL_Firmware::CheckVendorVersion() [" + result + "] [END]";
}

// For telling which texts a failure was with; some of them are huge.
std::string Short(const std::string& text) {
  return text.substr(0, 40);
}

class VersionComparison : public testing::Test {
 protected:
  void ExpectBmc(const std::string& first, const std::string& second, int expected, const std::string& expectedText) {
    SCOPED_TRACE(first + " against " + second);
    int result = 77;
    EXPECT_TRUE(CompareBmcVersions(first, second, &result));
    EXPECT_EQ(result, expected);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {BmcStart(first, second), BmcEnd(expectedText)}));
  }
  void ExpectBmcMalformed(const std::string& first, const std::string& second, const std::string& code) {
    SCOPED_TRACE(first + " against " + second);
    int result = 77;
    EXPECT_FALSE(CompareBmcVersions(first, second, &result));
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {BmcStart(first, second), Malformed(code)}));
  }
  void ExpectSdr(const std::string& first, const std::string& second, int expected, const std::string& expectedText) {
    SCOPED_TRACE(first + " against " + second);
    int result = 77;
    EXPECT_TRUE(CompareSdrVersions(first, second, &result));
    EXPECT_EQ(result, expected);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {SdrStart(first, second), SdrEnd(expectedText)}));
  }
  void ExpectSdrMalformed(const std::string& first, const std::string& second, const std::string& code) {
    SCOPED_TRACE(first + " against " + second);
    int result = 77;
    EXPECT_FALSE(CompareSdrVersions(first, second, &result));
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {SdrStart(first, second), Malformed(code)}));
  }
  void ExpectVersions(const std::string& first, const std::string& second, const Lines& between, int expected,
                      const std::string& expectedText) {
    SCOPED_TRACE(Short(first) + " against " + Short(second));
    EXPECT_EQ(CompareVersions(first, second), expected);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {VendorStart(first, second), between, VendorEnd(expectedText)}));
  }

  ScriptedHost host_;
};

using BmcVersions = VersionComparison;
using SdrVersions = VersionComparison;

TEST_F(BmcVersions, CompareByMajorThenMinor) {
  ExpectBmc("01-23", "01-24", 1, "1");
  ExpectBmc("01-24", "01-23", -1, "-1");
  ExpectBmc("01-23", "01-23", 0, "0");
  ExpectBmc("02-00", "01-99", -1, "-1");
  ExpectBmc("01-99", "02-00", 1, "1");
  ExpectBmc("09-00", "10-00", 1, "1");
  ExpectBmc("00-00", "99-99", 1, "1");
  ExpectBmc("99-99", "00-00", -1, "-1");
  ExpectBmc("08-09", "08-10", 1, "1");
}

TEST_F(BmcVersions, MalformedFirstIsNamedFirst) {
  ExpectBmcMalformed("1-23", "01-23", "09");
  ExpectBmcMalformed("1-23", "", "09");
  ExpectBmcMalformed("", "", "09");
  ExpectBmcMalformed("0a-23", "01-23", "09");
  ExpectBmcMalformed("abnormal", "01-23", "09");
}

TEST_F(BmcVersions, MalformedSecondIsNamedSecond) {
  ExpectBmcMalformed("01-23", "1-23", "0A");
  ExpectBmcMalformed("01-23", "", "0A");
  ExpectBmcMalformed("01-23", "0a-23", "0A");
  ExpectBmcMalformed("01-23", "01-23 ", "0A");
  ExpectBmcMalformed("01-23", "*", "0A");
}

TEST_F(SdrVersions, OfDifferentLengthsCompareByThatAlone) {
  ExpectSdr("99", "100", 1, "1");
  ExpectSdr("AAA", "ZZ", -1, "-1");
  ExpectSdr("zz", "..1", 1, "1");
}

TEST_F(SdrVersions, OfOneLengthCompareFromTheSecondCharacterOn) {
  ExpectSdr("A1.2", "B1.2", 0, "0");
  ExpectSdr("AB", "AC", 1, "1");
  ExpectSdr("AC", "AB", -1, "-1");
  ExpectSdr("A1.2", "A1.3", 1, "1");
  ExpectSdr("A1.3", "B1.2", -1, "-1");
  ExpectSdr("ABCD", "ACBA", 1, "1");
  ExpectSdr("A1", "A1", 0, "0");
}

TEST_F(SdrVersions, HaveADotAboveEveryDigitAndLetter) {
  ExpectSdr("1.10", "1010", -1, "-1");
  ExpectSdr("1010", "1.10", 1, "1");
  ExpectSdr("1.10", "1z10", -1, "-1");
  ExpectSdr("1.10", "1{10", 0, "0");
  ExpectSdr("1.10", "1|10", 1, "1");
  ExpectSdr("..", "..", 0, "0");
}

TEST_F(SdrVersions, CompareTheirCharactersAsSignedOnes) {
  ExpectSdr("A\xff", "AA", 1, "1");
  ExpectSdr("AA", "A\x80", -1, "-1");
  ExpectSdr("A\x80", "A\xff", 1, "1");
  const std::string zero("A\0", 2);
  int result = 77;
  EXPECT_TRUE(CompareSdrVersions(zero, "A\xff", &result));
  EXPECT_EQ(result, -1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {SdrStart("A", "A\xff"), SdrEnd("-1")}));
}

TEST_F(SdrVersions, ShorterThanTwoCharactersAreMalformed) {
  ExpectSdrMalformed("", "AB", "09");
  ExpectSdrMalformed("A", "AB", "09");
  ExpectSdrMalformed("A", "B", "09");
  ExpectSdrMalformed("AB", "", "0A");
  ExpectSdrMalformed("AB", "*", "0A");
}

TEST_F(VersionComparison, WithoutAServerTypeIsNotDone) {
  host_.serverType = "";
  EXPECT_EQ(CompareVersions("01-23", "01-24"), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {VendorStart("01-23", "01-24"), "2 Failed to get Server Type"}));
}

TEST_F(VersionComparison, ComparesBmcVersionsOnEveryOtherServerType) {
  for (const char* serverType : {"kv6000", "mx4000", "mx400", "kv6000r", "kv6000 rt", "KV6000RT"}) {
    SCOPED_TRACE(serverType);
    host_.serverType = serverType;
    ExpectVersions("01-23", "01-24", {BmcStart("01-23", "01-24"), BmcEnd("1")}, 1, "1");
    ExpectVersions("01-24", "01-23", {BmcStart("01-24", "01-23"), BmcEnd("-1")}, -1, "-1");
    ExpectVersions("01-23", "01-23", {BmcStart("01-23", "01-23"), BmcEnd("0")}, 0, "0");
  }
}

TEST_F(VersionComparison, OfMalformedBmcVersionsIsZero) {
  ExpectVersions("abnormal", "01-24", {BmcStart("abnormal", "01-24"), Malformed("09")}, 0, "0");
  ExpectVersions("01-23", "*", {BmcStart("01-23", "*"), Malformed("0A")}, 0, "0");
  ExpectVersions("", "01-23", {BmcStart("", "01-23"), Malformed("09")}, 0, "0");
  ExpectVersions("01-23", "", {BmcStart("01-23", ""), Malformed("0A")}, 0, "0");
  ExpectVersions("", "", {BmcStart("", ""), Malformed("09")}, 0, "0");
}

class RackVersionComparison : public VersionComparison {
 protected:
  RackVersionComparison() { host_.serverType = "kv6000rt"; }
};

TEST_F(RackVersionComparison, BmcDecidesFirst) {
  ExpectVersions("BMC:01-24,SDR:AA", "BMC:01-23,SDR:ZZ", {BmcStart("01-24", "01-23"), BmcEnd("-1")}, -1, "-1");
  ExpectVersions("BMC:01-23,SDR:ZZ", "BMC:01-24,SDR:AA", {BmcStart("01-23", "01-24"), BmcEnd("1")}, 1, "1");
}

TEST_F(RackVersionComparison, IsThatOfEveryServerTypeThatContainsTheName) {
  for (const char* serverType : {"xkv6000rt-2", "kv6000rt2", "new kv6000rt"}) {
    SCOPED_TRACE(serverType);
    host_.serverType = serverType;
    ExpectVersions("BMC:01-23,SDR:ZZ", "BMC:01-24,SDR:AA", {BmcStart("01-23", "01-24"), BmcEnd("1")}, 1, "1");
  }
}

TEST_F(RackVersionComparison, SdrDecidesWhenTheBmcIsTheSame) {
  const Lines same = {BmcStart("01-23", "01-23"), BmcEnd("0")};
  ExpectVersions("BMC:01-23,SDR:AB", "BMC:01-23,SDR:AC", {same, SdrStart("AB", "AC"), SdrEnd("1")}, 1, "1");
  ExpectVersions("BMC:01-23,SDR:AC", "BMC:01-23,SDR:AB", {same, SdrStart("AC", "AB"), SdrEnd("-1")}, -1, "-1");
  ExpectVersions("BMC:01-23,SDR:A1", "BMC:01-23,SDR:A1", {same, SdrStart("A1", "A1"), SdrEnd("0")}, 0, "0");
}

TEST_F(RackVersionComparison, MalformedPartIsReportedOnce) {
  ExpectVersions("BMC:0a-23,SDR:AB", "BMC:01-23,SDR:AC", {BmcStart("0a-23", "01-23"), Malformed("09")}, 0, "0");
  ExpectVersions("BMC:01-23,SDR:AB", "BMC:1-23,SDR:AC", {BmcStart("01-23", "1-23"), Malformed("0A")}, 0, "0");
  const Lines same = {BmcStart("01-23", "01-23"), BmcEnd("0")};
  ExpectVersions("BMC:01-23,SDR:", "BMC:01-23,SDR:AC", {same, SdrStart("", "AC"), Malformed("09")}, 0, "0");
  ExpectVersions("BMC:01-23,SDR:AB", "BMC:01-23,SDR:A", {same, SdrStart("AB", "A"), Malformed("0A")}, 0, "0");
}

TEST_F(RackVersionComparison, WithoutEitherNameIsMalformed) {
  const std::string good = "BMC:01-23,SDR:AB";
  for (const char* bad :
       {"", "abnormal", "01-23", "BMC:01-23", "SDR:AB", "BMC:*", "SDR:*", "bmc:01-23,sdr:AB", ",", ":"}) {
    ExpectVersions(bad, good, Malformed("090A"), 0, "0");
    ExpectVersions(good, bad, Malformed("090A"), 0, "0");
    ExpectVersions(bad, bad, Malformed("090A"), 0, "0");
  }
}

TEST_F(RackVersionComparison, WithoutACommaOnePieceIsBothParts) {
  ExpectVersions("BMC:SDR:01-23", "BMC:SDR:01-23",
                 {BmcStart("01-23", "01-23"), BmcEnd("0"), SdrStart("01-23", "01-23"), SdrEnd("0")}, 0, "0");
  ExpectVersions("BMC:SDR:01-23", "BMC:SDR:01-24", {BmcStart("01-23", "01-24"), BmcEnd("1")}, 1, "1");
  ExpectVersions("BMC:01-23SDR:AB", "BMC:01-23,SDR:AB", {BmcStart("AB", "01-23"), Malformed("09")}, 0, "0");
}

// All combinations of the four wildcards. The BMC parts alone would give 1, the SDR parts alone -1.
TEST_F(RackVersionComparison, WildcardsDecideWhichPartsAreCompared) {
  const Lines bmc = {BmcStart("01-23", "01-24"), BmcEnd("1")};
  const Lines sdr = {SdrStart("BB", "BA"), SdrEnd("-1")};
  const struct {
    const char* first;
    const char* second;
    Lines between;
    int result;
  } cases[] = {
      {"BMC:01-23,SDR:BB", "BMC:01-24,SDR:BA", bmc, 1},
      {"BMC:01-23,SDR:BB", "BMC:01-24,SDR:*", bmc, 1},
      {"BMC:01-23,SDR:BB", "BMC:*,SDR:BA", sdr, -1},
      {"BMC:01-23,SDR:BB", "BMC:*,SDR:*", Malformed("090A"), 0},
      {"BMC:01-23,SDR:*", "BMC:01-24,SDR:BA", bmc, 1},
      {"BMC:01-23,SDR:*", "BMC:01-24,SDR:*", bmc, 1},
      {"BMC:01-23,SDR:*", "BMC:*,SDR:BA", {}, 0},
      {"BMC:01-23,SDR:*", "BMC:*,SDR:*", {BmcStart("01-23", "*"), Malformed("0A")}, 0},
      {"BMC:*,SDR:BB", "BMC:01-24,SDR:BA", sdr, -1},
      {"BMC:*,SDR:BB", "BMC:01-24,SDR:*", {}, 0},
      {"BMC:*,SDR:BB", "BMC:*,SDR:BA", sdr, -1},
      {"BMC:*,SDR:BB", "BMC:*,SDR:*", {SdrStart("BB", "*"), Malformed("0A")}, 0},
      {"BMC:*,SDR:*", "BMC:01-24,SDR:BA", Malformed("090A"), 0},
      {"BMC:*,SDR:*", "BMC:01-24,SDR:*", {BmcStart("*", "01-24"), Malformed("09")}, 0},
      {"BMC:*,SDR:*", "BMC:*,SDR:BA", {SdrStart("*", "BA"), Malformed("09")}, 0},
      {"BMC:*,SDR:*", "BMC:*,SDR:*", Malformed("090A"), 0},
  };
  for (const auto& [first, second, between, result] : cases) {
    ExpectVersions(first, second, between, result, std::to_string(result));
  }
}

TEST_F(RackVersionComparison, WildcardIsFoundWhereverItStands) {
  ExpectVersions("BMC:01-23,SDR:BB", "xBMC:*,SDR:BA", {SdrStart("BB", "BA"), SdrEnd("-1")}, -1, "-1");
  ExpectVersions("BMC:01-23,SDR:BB", "BMC:01-24,SDR:*1.0", {BmcStart("01-23", "01-24"), BmcEnd("1")}, 1, "1");
  ExpectVersions("BMC:01-2*,SDR:BB", "BMC:01-24,SDR:BA", {BmcStart("01-2*", "01-24"), Malformed("09")}, 0, "0");
}

// A text of this character alone, long enough for work that grows with its square to be noticed.
class HugeVersion : public VersionComparison, public testing::WithParamInterface<char> {
 protected:
  const std::string huge_ = std::string(1 << 20, GetParam());
};

TEST_P(HugeVersion, IsMalformedWithOneMessage) {
  ExpectVersions(huge_, "01-23", {BmcStart(huge_, "01-23"), Malformed("09")}, 0, "0");
  ExpectVersions("01-23", huge_, {BmcStart("01-23", huge_), Malformed("0A")}, 0, "0");
  host_.serverType = "kv6000rt";
  ExpectVersions(huge_, "BMC:01-23,SDR:AB", Malformed("090A"), 0, "0");
  ExpectVersions("BMC:01-23,SDR:AB", huge_, Malformed("090A"), 0, "0");
}

TEST_P(HugeVersion, AsTheBmcPartIsComparedLikeAnyOther) {
  host_.serverType = "kv6000rt";
  const bool cutsThePart = GetParam() == ':' || GetParam() == ',';  // into pieces of which the last one is empty
  const std::string part = cutsThePart ? "" : huge_;
  const std::string bad = "BMC:" + huge_ + ",SDR:AB";
  if (GetParam() == '*') {  // any BMC version
    ExpectVersions(bad, "BMC:01-23,SDR:AB", {SdrStart("AB", "AB"), SdrEnd("0")}, 0, "0");
    return;
  }
  ExpectVersions(bad, "BMC:01-23,SDR:AB", {BmcStart(part, "01-23"), Malformed("09")}, 0, "0");
  ExpectVersions("BMC:01-23,SDR:AB", bad, {BmcStart("01-23", part), Malformed("0A")}, 0, "0");
}

std::string CharacterName(const testing::TestParamInfo<char>& character) {
  return "OfCharacter" + std::to_string(static_cast<unsigned char>(character.param));
}

INSTANTIATE_TEST_SUITE_P(Each, HugeVersion, testing::Values('0', '-', '.', ':', ',', '*', ' ', '\n', '%', '\xff'),
                         CharacterName);

// Of a character that does not cut a part into pieces.
using HugeSdrVersion = HugeVersion;

TEST_P(HugeSdrVersion, IsComparedLikeAnyOther) {
  host_.serverType = "kv6000rt";
  const Lines same = {BmcStart("01-23", "01-23"), BmcEnd("0")};
  const std::string version = "BMC:01-23,SDR:AB" + huge_;
  const std::string part = "AB" + huge_;
  ExpectVersions(version, version, {same, SdrStart(part, part), SdrEnd("0")}, 0, "0");
  ExpectVersions(version, "BMC:01-23,SDR:AB", {same, SdrStart(part, "AB"), SdrEnd("-1")}, -1, "-1");
  ExpectVersions("BMC:01-23,SDR:AB", version, {same, SdrStart("AB", part), SdrEnd("1")}, 1, "1");
  ExpectVersions(version + "A", version + "B", {same, SdrStart(part + "A", part + "B"), SdrEnd("1")}, 1, "1");
}

INSTANTIATE_TEST_SUITE_P(Each, HugeSdrVersion, testing::Values('0', '-', '.', '*', ' ', '\n', '%', '\xff'),
                         CharacterName);

}  // namespace
}  // namespace kestrel
