// The transfer of a record: its pieces, its lock, and what it leaves behind when a step fails. How each step's failures
// look in the two senders is tested with the senders.
#include "svp/config_file_transfer.h"

#include <gtest/gtest.h>

#include "tests/svp/transfer_lines.h"

namespace kestrel {

namespace {

const std::string kLock = "3c 6a 05 40 01 00 00 00 00 00";
const std::string kSignature = "3c 69 05 40 00 00 00 00 00 00 51 54 4c 4d 50";
const std::string kUnlock = "3c 6b 05 40 00 00 00 00 00 00";
const std::string kNotify = "34 39 01";

const std::string kLockFailed = "Failed to execute IPMI command(OEM Lock Server Config File) CompletionCode:";
const std::string kWriteFailed = "Failed to execute IPMI command(OEM Write Server Config File) CompletionCode:";
const std::string kUnlockFailed = "Failed to execute IPMI command(OEM UnLock Server Config File) CompletionCode:";

const Lines kStart = "4 sender [START]";
const Lines kEnd = "4 sender [END]";
const Lines kRecord = "record MSGID_BMC_0021_F 29";

class Transfer : public testing::Test {
 protected:
  // The transfer within a sender.
  int Run(const Tool& tool, const std::list<std::string>& record,
          FinalFailure finalFailure = FinalFailure::kMessageAndEnd) {
    OperationTrace trace("sender [START]", "sender [END]");
    return ConfigFileTransfer(tool.path, kOsInformationFile, finalFailure, &trace, &detail_).Run(record);
  }

  void Take(const std::string& request) { host_.Answer(request, "00"); }

  // Makes the BMC take the whole transfer; gives its journal.
  Lines TakeAll(const Tool& tool, const std::vector<std::string>& writes) {
    std::vector<std::string> requests = {kLock};
    requests.insert(requests.end(), writes.begin(), writes.end());
    requests.insert(requests.end(), {kSignature, kUnlock, kNotify});
    Lines journal = kStart;
    for (const std::string& request : requests) {
      Take(request);
      journal = {journal, tool.Taken(request)};
    }
    return {journal, kEnd};
  }

  ScriptedHost host_;
  std::string detail_;
};

// `count` times the byte `byte`, each behind a blank, as the end of a request.
std::string Bytes(int count, const std::string& byte) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += " " + byte;
  }
  return text;
}

// A lock that failed three times, each time by `attempt` with the completion code `code`.
Lines NotLocked(const Lines& attempt, const std::string& code) {
  return {Lines{attempt, "16 " + kLockFailed + code, "sleep 10000"}.Times(2), attempt, "2 " + kLockFailed + code, kEnd,
          kRecord};
}

TEST_F(Transfer, GoesOutInPiecesOf32Bytes) {
  const std::string at0 = "3c 69 05 40 00 00 00 00 00 00";
  const std::string at32 = "3c 69 05 40 00 00 20 00 00 00";
  const std::string at64 = "3c 69 05 40 00 00 40 00 00 00";
  const struct {
    std::size_t size;
    std::vector<std::string> writes;
  } cases[] = {
      {0, {}},
      {1, {at0 + " a5"}},
      {31, {at0 + Bytes(31, "a5")}},
      {32, {at0 + Bytes(32, "a5")}},
      {33, {at0 + Bytes(32, "a5"), at32 + " a5"}},
      {64, {at0 + Bytes(32, "a5"), at32 + Bytes(32, "a5")}},
      {65, {at0 + Bytes(32, "a5"), at32 + Bytes(32, "a5"), at64 + " a5"}},
  };
  for (const Tool& tool : {kThroughIpmitool, kThroughMakersTool}) {
    for (const auto& [size, writes] : cases) {
      SCOPED_TRACE(std::to_string(size) + " bytes, " + tool.name);
      const Lines journal = TakeAll(tool, writes);
      EXPECT_EQ(Run(tool, std::list<std::string>(size, "a5")), 0);
      EXPECT_TRUE(SameLines(host_.TakeJournal(), journal));
      EXPECT_EQ(detail_, "");
    }
  }
}

TEST_F(Transfer, KeepsTheBytesInOrder) {
  const Lines journal = TakeAll(kThroughIpmitool, {"3c 69 05 40 00 00 00 00 00 00 00 7f 80 ff 01"});
  EXPECT_EQ(Run(kThroughIpmitool, {"00", "7f", "80", "ff", "01"}), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), journal));
}

TEST_F(Transfer, CountsOffsetsInFourBytes) {
  std::string record;
  for (int i = 0; i < 65536 + 256 + 1; ++i) {
    record += "5a ";
  }
  const std::vector<std::string> writes = WriteRequests("40", record);
  EXPECT_EQ(writes.at(8).substr(0, 32), "3c 69 05 40 00 00 00 01 00 00 5a");
  EXPECT_EQ(writes.at(2047).substr(0, 32), "3c 69 05 40 00 00 e0 ff 00 00 5a");
  EXPECT_EQ(writes.at(2056), "3c 69 05 40 00 00 00 01 01 00 5a");
  EXPECT_EQ(writes.size(), 2057U);
  std::vector<std::string> requests = {kLock};
  requests.insert(requests.end(), writes.begin(), writes.end());
  requests.insert(requests.end(), {kSignature, kUnlock, kNotify});
  std::vector<std::string> commands;
  for (const std::string& request : requests) {
    Take(request);
    commands.push_back(Request(request).All().at(3));
  }
  EXPECT_EQ(Run(kThroughIpmitool, std::list<std::string>(65536 + 256 + 1, "5a")), 0);
  std::vector<std::string> journal = host_.TakeJournal();
  std::erase_if(journal, [](const std::string& line) { return !line.starts_with("exec "); });
  EXPECT_EQ(journal, commands);
}

TEST_F(Transfer, TakesTheCode01ForALock) {
  host_.Answer(kLock, "01");
  for (const std::string& request : {kSignature, kUnlock, kNotify}) {
    Take(request);
  }
  EXPECT_EQ(Run(kThroughMakersTool, {}), 0);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, MakersRequest(kLock), MakersRequest(kSignature),
                                              MakersRequest(kUnlock), MakersRequest(kNotify), kEnd}));
}

TEST_F(Transfer, FailsThroughIpmitoolWhichDoesNotShowThatCode) {
  host_.Answer(kLock, "01", 3);
  EXPECT_EQ(Run(kThroughIpmitool, {}), -1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Attempts(kThroughIpmitool, kLock, kLockFailed, 3),
                                              "2 " + kLockFailed, kEnd, kRecord}));
}

TEST_F(Transfer, FailsWhenTheLockIsAnsweredOtherwise) {
  for (const char* code : {"02", "10", "81", "ff"}) {
    SCOPED_TRACE(code);
    detail_ = "";
    host_.Answer(kLock, code, 3);
    EXPECT_EQ(Run(kThroughMakersTool, {}), -1);
    EXPECT_EQ(detail_, "29");
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, NotLocked(MakersRequest(kLock), code)}));
  }
}

TEST_F(Transfer, FailsWhenTheAnswerToTheLockIsBroken) {
  for (const std::string& code : {std::string("00"), std::string("01")}) {
    SCOPED_TRACE(code);
    detail_ = "";
    host_.AnswerRaw(kLock, {0, 0, "\na b c d " + code + " 123\n"}, 3);
    EXPECT_EQ(Run(kThroughMakersTool, {}), -1);
    EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, NotLocked(BrokenMakersRequest(kLock), code)}));
  }
}

TEST_F(Transfer, TriesAgainWhenAnyOtherStepIsAnsweredByThatCode) {
  const std::string write = "3c 69 05 40 00 00 00 00 00 00 a5";
  Take(kLock);
  for (const std::string& request : {write, kSignature, kUnlock, kNotify}) {
    host_.Answer(request, "01");
    Take(request);
  }
  EXPECT_EQ(Run(kThroughMakersTool, {"a5"}), 0);
  const auto twice = [](const std::string& request, const std::string& message) {
    return Lines{MakersRequest(request), "16 " + message + "01", "sleep 10000", MakersRequest(request)};
  };
  EXPECT_TRUE(SameLines(
      host_.TakeJournal(),
      {kStart, MakersRequest(kLock), twice(write, kWriteFailed),
       twice(kSignature, "Failed to execute IPMI command(OEM Write Server Config File [Signature]) CompletionCode:"),
       twice(kUnlock, kUnlockFailed),
       twice(kNotify, "Failed to execute IPMI command(OEM Notify ORV Event) CompletionCode:"), kEnd}));
}

TEST_F(Transfer, OfALaterPieceThatFailsSendsNoFurtherPieceAndUnlocks) {
  const std::vector<std::string> writes = WriteRequests("40", "a5" + Bytes(95, "a5"));
  ASSERT_EQ(writes.size(), 3U);
  Take(kLock);
  Take(writes[0]);
  host_.Answer(writes[1], "c1", 3);
  Take(kUnlock);
  EXPECT_EQ(Run(kThroughIpmitool, std::list<std::string>(96, "a5")), -1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Request(kLock), Request(writes[0]),
                                              Attempts(kThroughIpmitool, writes[1], kWriteFailed, 3),
                                              "2 " + kWriteFailed, kEnd, kRecord, Request(kUnlock)}));
}

TEST_F(Transfer, FailsAtSilenceInTheMiddleAndUnlocks) {
  const std::string write = "3c 69 05 40 00 00 00 00 00 00 a5";
  const CommandEnd silence{255, 255, ""};
  const Lines unanswered = FailedRequest(write, 255);
  Take(kLock);
  host_.AnswerRaw(write, silence, 3);
  Take(kUnlock);
  EXPECT_EQ(Run(kThroughIpmitool, {"a5"}), -1);
  EXPECT_TRUE(SameLines(host_.TakeJournal(),
                        {kStart, Request(kLock), Lines{unanswered, "16 " + kWriteFailed, "sleep 10000"}.Times(2),
                         unanswered, "2 " + kWriteFailed, kEnd, kRecord, Request(kUnlock)}));
}

TEST_F(Transfer, TriesToUnlockThreeTimesAfterAFailureAndFailsButOnce) {
  for (const FinalFailure finalFailure : {FinalFailure::kMessageAndEnd, FinalFailure::kRecordOnly}) {
    const bool tells = finalFailure == FinalFailure::kMessageAndEnd;
    const std::string write = "3c 69 05 40 00 00 00 00 00 00 a5";
    Take(kLock);
    host_.Answer(write, "c1", 3);
    host_.Answer(kUnlock, "c1", 3);
    detail_ = "";
    EXPECT_EQ(Run(kThroughMakersTool, {"a5"}, finalFailure), -1);
    EXPECT_EQ(detail_, "29");
    EXPECT_TRUE(SameLines(host_.TakeJournal(),
                          {kStart, MakersRequest(kLock), Attempts(kThroughMakersTool, write, kWriteFailed, 3),
                           tells ? Lines{"2 " + kWriteFailed + "c1", kEnd} : Lines{}, kRecord,
                           Attempts(kThroughMakersTool, kUnlock, kUnlockFailed, 3)}));
  }
}

TEST(TransferResult, IsNoFailureWhenSentOrNotSupported) {
  EXPECT_TRUE(IsNoFailure(0));
  EXPECT_TRUE(IsNoFailure(1));
  EXPECT_FALSE(IsNoFailure(-1));
  EXPECT_FALSE(IsNoFailure(2));
}

TEST_F(Transfer, FailsWithItsCodeInFrontOfTheDetail) {
  detail_ = "1C";
  host_.Answer(kLock, "c1", 3);
  EXPECT_EQ(Run(kThroughMakersTool, {}), -1);
  EXPECT_EQ(detail_, "291C");
  EXPECT_TRUE(SameLines(host_.TakeJournal(), {kStart, Attempts(kThroughMakersTool, kLock, kLockFailed, 3),
                                              "2 " + kLockFailed + "c1", kEnd, "record MSGID_BMC_0021_F 291C"}));
}

class Unlocking : public testing::TestWithParam<Tool> {
 protected:
  ScriptedHost host_;
};

TEST_P(Unlocking, IsTriedThreeTimesAndTheLastFailureIsNotTraced) {
  for (const char* fileId : {"40", "41"}) {
    const std::string request = std::string("3c 6b 05 ") + fileId + " 00 00 00 00 00 00";
    for (int failures = 0; failures <= 3; ++failures) {
      SCOPED_TRACE(std::string(fileId) + ", refused " + std::to_string(failures) + " times");
      RefuseThenTake(&host_, GetParam(), request, failures);
      EXPECT_EQ(UnlockConfigFile(GetParam().path, fileId), failures < 3 ? 0 : -1);
      EXPECT_TRUE(SameLines(host_.TakeJournal(), Attempts(GetParam(), request, kUnlockFailed, failures)));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Through, Unlocking,
                         testing::Values(kThroughIpmitool, kThroughMakersTool, kBrokenByIpmitool, kBrokenByMakersTool),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace kestrel
