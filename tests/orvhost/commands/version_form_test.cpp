#include "orvhost/commands/version_form.h"

#include <gtest/gtest.h>

#include "firmware/version_text.h"

namespace orvhost {

namespace {

constexpr const char* kPlain = "it does not have the form 01-24 (four decimal digits)";
constexpr const char* kCombined = "it does not have the form BMC:01-24,SDR:A2";

TEST(VersionForm, OfAServerWithAFlashTool) {
  for (const char* version : {"00-00", "01-24", "16-99"}) {
    EXPECT_EQ(VersionComplaint(version, "kv6000"), "") << version;
    EXPECT_EQ(VersionComplaint(version, "mx4000"), "") << version;
  }
  for (const char* version : {"", "01-2Z", "1.25", "01-2", "01-245", "0a-24", "01_24", " 01-24", "01-24 ", "+1-24",
                              "BMC:01-24,SDR:A2", "-----"}) {
    EXPECT_EQ(VersionComplaint(version, "kv6000"), kPlain) << version;
  }
}

TEST(VersionForm, OfAServerWithAScript) {
  for (const char* version : {"BMC:01-24,SDR:A2", "BMC:01-24,SDR:1.10", "BMC:*,SDR:A2", "BMC:01-24,SDR:*"}) {
    EXPECT_EQ(VersionComplaint(version, "kv6000rt"), "") << version;
    EXPECT_EQ(VersionComplaint(version, "kv6000rt-2"), "") << version;
  }
  for (const char* version :
       {"", "01-24", "BMC:01-24", "SDR:A2", "BMC:01-24,SDR:", "BMC:01-24,SDR:A", "BMC:1-24,SDR:A2", "BMC:*,SDR:*",
        "SDR:A2,BMC:01-24", "BMC:01-24,SDR:A2,SDR:A3", "BMC:01-24, SDR:A2", "BMC:01-24,SDR:A:2", "BMC:01-24,SDR:A 2",
        "BMC:01-24,SDR:**", "bmc:01-24,sdr:A2"}) {
    EXPECT_EQ(VersionComplaint(version, "kv6000rt"), kCombined) << version;
  }
}

TEST(VersionForm, OfWhatRunsIsDoubtedWhereAPartIsMissing) {
  EXPECT_EQ(VersionDoubt("01-23", "kv6000"), "");
  EXPECT_EQ(VersionDoubt("BMC:01-23,SDR:A1", "kv6000rt"), "");
  EXPECT_EQ(VersionDoubt("BMC:01-23,SDR:", "kv6000rt"),
            "The version of the sensor data records is missing: the BMC did not give it.");
  EXPECT_EQ(VersionDoubt("01-23", ""),
            "This machine did not report its server type, from which follows what belongs to its version.");
}

TEST(VersionForm, OfWhatRunsFollowsFromTheServerType) {
  EXPECT_TRUE(IsOfServerType("01-23", "kv6000"));
  EXPECT_TRUE(IsOfServerType("BMC:01-23,SDR:", "kv6000rt"));
  EXPECT_FALSE(IsOfServerType("01-23", "kv6000rt"));
  EXPECT_FALSE(IsOfServerType("BMC:01-23,SDR:A1", "kv6000"));
}

// The texts that differ from `text` in one byte: another one in its place, one more or one less.
std::vector<std::string> Neighbours(const std::string& text) {
  std::vector<std::string> neighbours;
  for (std::size_t at = 0; at <= text.size(); ++at) {
    neighbours.push_back(std::string(text).erase(std::min(at, text.size() - 1), 1));
    for (int byte = 0; byte < 256; ++byte) {
      const char character = static_cast<char>(byte);
      neighbours.push_back(std::string(text).insert(at, 1, character));
      if (at < text.size()) {
        neighbours.push_back(std::string(text).replace(at, 1, 1, character));
      }
    }
  }
  return neighbours;
}

TEST(VersionForm, IsGoodWhenThePluginCanReadIt) {
  int good = 0;
  for (const std::string& text : Neighbours("01-24")) {
    const bool isGood = VersionComplaint(text, "kv6000").empty();
    EXPECT_EQ(isGood, kestrel::ParseBmcVersion(text).has_value()) << text;
    good += isGood ? 1 : 0;
  }
  EXPECT_EQ(good, 41) << "ten digits in each of four places, and the dash in its own";
}

TEST(VersionForm, OfAScriptIsReadByThePluginAsItStands) {
  int good = 0;
  for (const char* version : {"BMC:01-24,SDR:A2", "BMC:*,SDR:A2", "BMC:01-24,SDR:*"}) {
    for (const std::string& text : Neighbours(version)) {
      if (!VersionComplaint(text, "kv6000rt").empty()) {
        continue;
      }
      ++good;
      const kestrel::CombinedVersion read = kestrel::ParseCombinedVersion(text);
      EXPECT_TRUE(read.complete) << text;
      EXPECT_TRUE(read.anyBmc ? read.bmc == "*" : kestrel::ParseBmcVersion(read.bmc).has_value()) << text;
      EXPECT_TRUE(read.anySdr ? read.sdr == "*" : read.sdr.size() >= 2) << text;
    }
  }
  EXPECT_GT(good, 400);
}

}  // namespace
}  // namespace orvhost
