#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <regex>

#include "host/DllCommon.h"
#include "refhost/catalogue.h"
#include "tests/refhost/support/host_test.h"

namespace refhost {

namespace {

class Trace : public HostTest {};

TEST_F(Trace, ADebugLineIsFormatted) {
  CTraceUtility::WriteDebug("bmc", CTraceUtility::TRACE_DBG_INFO, "Execute command [%s] %d", "x", 3);
  EXPECT_EQ(TakeLines(), Lines{"1 Execute command [x] 3"});
}

TEST_F(Trace, OnlyEnabledLevelsPass) {
  SetTraceLevels(CTraceUtility::TRACE_DBG_ERROR | CTraceUtility::TRACE_DBG_RETRY);
  CTraceUtility::WriteDebug("bmc", CTraceUtility::TRACE_DBG_INFO, "one");
  CTraceUtility::WriteDebug("bmc", CTraceUtility::TRACE_DBG_ERROR, "two");
  CTraceUtility::WriteDebug("bmc", CTraceUtility::TRACE_DBG_FLOW, "four");
  CTraceUtility::WriteDebug("bmc", CTraceUtility::TRACE_DBG_RETRY, "sixteen");
  CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0024_F");
  EXPECT_EQ(TakeLines().size(), 3U);
}

TEST_F(Trace, WithoutASinkNothingHappens) {
  SetTraceSink(nullptr);
  CTraceUtility::WriteDebug("bmc", CTraceUtility::TRACE_DBG_ERROR, "two");
  CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0012_F", "14");
  EXPECT_EQ(TakeLines(), Lines{});
}

TEST_F(Trace, ALongLineIsWhole) {
  const std::string text(100000, 'x');
  CTraceUtility::WriteDebug("bmc", CTraceUtility::TRACE_DBG_INFO, "[%s]", text.c_str());
  EXPECT_EQ(TakeLines(), Lines{"1 [" + text + "]"});
}

TEST_F(Trace, ARecordStaysOneLine) {
  CTraceUtility::WriteDebug("bmc", CTraceUtility::TRACE_DBG_INFO, "%s", "a\nb\tc\r\x1b[0m\x7f\xc3\xa4");
  EXPECT_EQ(TakeLines(), Lines{"1 a\\nb\tc\\x0d\\x1b[0m\\x7f\xc3\xa4"});
}

TEST_F(Trace, ARecordForOperatorsIsASentenceWithTheDetailInWords) {
  CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0012_F", "14");
  CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0001_F", "0B23");
  EXPECT_EQ(TakeLines(),
            (Lines{"R MSGID_BMC_0012_F The BMC did not carry out a command that the update needs (14: the BMC did not "
                   "connect its virtual media).",
                   "R MSGID_BMC_0001_F No IPMI tool is installed, so the BMC cannot be reached (0B23: no IPMI tool; "
                   "neither of the IPMI tools is installed)."}));
  EXPECT_EQ(sink_.details, (Lines{"14", "0B23"}));
}

TEST_F(Trace, ARecordTakesAsManyTextsAsItsMessageNeeds) {
  CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0015_F", "01-23", "01-24");
  CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0025_F");
  EXPECT_EQ(TakeLines(),
            (Lines{"R MSGID_BMC_0015_F The BMC runs firmware version 01-23, but version 01-24 was installed.",
                   "R MSGID_BMC_0025_F The disk information could not be gathered: the management library "
                   "reports error 01."}));
}

TEST_F(Trace, ADetailThatRepeatsIsCounted) {
  EXPECT_EQ(
      DetailMeaning("161E1616"),
      "the flash tool reported an error; the flash tool could not work with the device; the flash tool reported an "
      "error (2 times)");
  EXPECT_EQ(DetailMeaning("16161"), "");
  EXPECT_EQ(DetailMeaning(""), "");
}

TEST_F(Trace, AnUnknownDetailStandsAsItIs) {
  CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0013_F", "16ZZ");
  CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0013_F", static_cast<const char*>(nullptr));
  EXPECT_EQ(TakeLines(), (Lines{"R MSGID_BMC_0013_F The flash tool did not succeed in writing the firmware (16ZZ).",
                                "R MSGID_BMC_0013_F The flash tool did not succeed in writing the firmware ()."}));
}

TEST_F(Trace, AnUnknownMessageIsStillTraced) {
  CTraceUtility::WriteTrace("bmc", "MSGID_BMC_0099_F", "14");
  EXPECT_EQ(TakeLines(), Lines{"R MSGID_BMC_0099_F This message is not in the catalogue."});
}

TEST_F(Trace, EveryMessageInsertsItsTextsAndNothingElse) {
  for (int number = 1; number <= 27; ++number) {
    const std::string id = "MSGID_BMC_00" + std::string(number < 10 ? "0" : "") + std::to_string(number) + "_F";
    const Message* message = FindMessage(id);
    if (message == nullptr) {
      continue;
    }
    EXPECT_EQ(std::ranges::count(message->sentence, '%'), message->insertCount) << id;
    const std::string sentence = Sentence(*message, {"one", "two"});
    EXPECT_EQ(sentence.find("one") != std::string::npos, message->insertCount > 0) << id;
    EXPECT_EQ(sentence.find("two") != std::string::npos, message->insertCount > 1) << id;
    EXPECT_EQ(sentence.back(), '.') << id;
  }
}

std::string SystemTime() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  std::tm parts{};
  gmtime_r(&now.tv_sec, &parts);
  std::array<char, 64> text{};
  const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
  std::snprintf(&text[length], text.size() - length, ".%06ldZ", now.tv_nsec / 1000);
  return text.data();
}

TEST(TraceLine, TheTimeIsTheSystems) {
  const std::string before = SystemTime();
  const std::string now = UtcNow();
  const std::string after = SystemTime();
  EXPECT_LE(before, now);
  EXPECT_LE(now, after);
}

TEST(TraceLine, TheTimeHasAFixedWidth) {
  const std::string line = FormatTraceLine({16, "bmc", "", "", "Failed to execute"});
  EXPECT_TRUE(
      std::regex_match(line.substr(0, kTraceTimeWidth), std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z )")))
      << line;
  EXPECT_EQ(line.substr(kTraceTimeWidth), "16 Failed to execute\n");
  EXPECT_EQ(FormatTraceLine({0, "bmc", "MSGID_BMC_0024_F", "", "x"}).substr(kTraceTimeWidth), "R x\n");
}

}  // namespace
}  // namespace refhost
