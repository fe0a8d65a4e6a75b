// The two version grammars, by table.
#include "firmware/version_text.h"

#include <gtest/gtest.h>

namespace kestrel {

namespace {

TEST(BmcVersionText, IsTwoDecimalNumbersOfTwoDigits) {
  EXPECT_EQ(ParseBmcVersion("01-23"), 123);
  EXPECT_EQ(ParseBmcVersion("00-00"), 0);
  EXPECT_EQ(ParseBmcVersion("99-99"), 9999);
  EXPECT_EQ(ParseBmcVersion("08-09"), 809);
  EXPECT_EQ(ParseBmcVersion("10-70"), 1070);
}

TEST(BmcVersionText, OfAnyOtherShapeIsMalformed) {
  for (const std::string& text : {std::string(),
                                  std::string("1-23"),
                                  std::string("01-2"),
                                  std::string("01-234"),
                                  std::string("001-23"),
                                  std::string("0a-23"),
                                  std::string("a0-23"),
                                  std::string("01-2f"),
                                  std::string("01-f2"),
                                  std::string("01.23"),
                                  std::string("01_23"),
                                  std::string("01 23"),
                                  std::string("01--3"),
                                  std::string("-1-23"),
                                  std::string("+1-23"),
                                  std::string(" 1-23"),
                                  std::string("01- 3"),
                                  std::string("01-23\n"),
                                  std::string("01-23\0", 6),
                                  std::string("01\0-23", 6),
                                  std::string("0\x31\xff\x32\x33"),
                                  std::string("*"),
                                  std::string("abnormal"),
                                  std::string("/0-00"),
                                  std::string(":0-00"),
                                  std::string("00-0/"),
                                  std::string("00-0:"),
                                  std::string("BMC:01-23"),
                                  std::string(1 << 20, '0')}) {
    EXPECT_FALSE(ParseBmcVersion(text)) << text.substr(0, 40);
  }
}

TEST(CombinedVersionText, IsCutAtItsCommaAndItsColons) {
  const struct {
    const char* text;
    bool complete;
    bool anyBmc;
    bool anySdr;
    const char* bmc;
    const char* sdr;
  } cases[] = {
      {"BMC:01-23,SDR:A1", true, false, false, "01-23", "A1"},
      {"BMC:*,SDR:A1", true, true, false, "*", "A1"},
      {"BMC:01-23,SDR:*", true, false, true, "01-23", "*"},
      {"BMC:*,SDR:*", true, true, true, "*", "*"},
      {"BMC:*1,SDR:*2", true, true, true, "*1", "*2"},
      {"BMC:01-2*,SDR:A*", true, false, false, "01-2*", "A*"},
      {"BMC:,SDR:", true, false, false, "", ""},
      {"BMC:SDR:A1", true, false, false, "A1", "A1"},  // one piece is both
      {"BMC:01-23SDR:A1", true, false, false, "A1", "A1"},
      {"SDR:A1,BMC:01-23", true, false, false, "A1", "01-23"},  // the place counts, not the name
      {"BMC:01-23,x,y:z,SDR:1:2:3", true, false, false, "01-23", "3"},
      {"a:BMC:b,,c", false, false, false, "b", "c"},
      {",SDR:A1", false, false, false, "", "A1"},
      {"BMC:01-23,", false, false, false, "01-23", ""},
      {",", false, false, false, "", ""},
      {":", false, false, false, "", ""},
      {"", false, false, false, "", ""},
      {"01-23", false, false, false, "01-23", "01-23"},
      {"bmc:01-23,sdr:A1", false, false, false, "01-23", "A1"},
      {"BMC:*", false, true, false, "*", "*"},
      {"SDR:*", false, false, true, "*", "*"},
      {"abnormal", false, false, false, "abnormal", "abnormal"},
  };
  for (const auto& [text, complete, anyBmc, anySdr, bmc, sdr] : cases) {
    SCOPED_TRACE(text);
    const CombinedVersion version = ParseCombinedVersion(text);
    EXPECT_EQ(version.complete, complete);
    EXPECT_EQ(version.anyBmc, anyBmc);
    EXPECT_EQ(version.anySdr, anySdr);
    EXPECT_EQ(version.bmc, bmc);
    EXPECT_EQ(version.sdr, sdr);
  }
}

}  // namespace
}  // namespace kestrel
