#include "orvhost/trust/gpgv_answer.h"

#include <gtest/gtest.h>

namespace orvhost {

namespace {

using State = SignatureState;

constexpr const char* kKey = "165796E220D6712945321FAB8C6FF67B7F290A7B";
constexpr const char* kId = "8C6FF67B7F290A7B";

// The lines as status lines.
std::string Output(std::initializer_list<std::string> lines) {
  std::string text;
  for (const std::string& line : lines) {
    text += "[GNUPG:] " + line + "\n";
  }
  return text;
}

SignatureAnswer Only(const std::string& output, const std::string& messages = "") {
  const auto answers = ReadGpgvAnswer(output, messages);
  EXPECT_TRUE(answers && answers->size() == 1) << output;
  return answers && !answers->empty() ? answers->front() : SignatureAnswer{};
}

TEST(GpgvAnswer, AGoodSignatureHasTheKeyOfItsOwner) {
  const SignatureAnswer answer = Only(Output(
      {"NEWSIG maker@example.org", std::string("KEY_CONSIDERED ") + kKey + " 0", "SIG_ID abc 2026-11-23 1795394553",
       std::string("GOODSIG ") + kId + " The Maker <maker@example.org>",
       std::string("VALIDSIG 0011223344556677889900112233445566778899 2026-11-23 1795394553 0 4 0 22 8 00 ") + kKey}));
  EXPECT_EQ(answer.state, State::kGood);
  EXPECT_EQ(answer.owner, "The Maker <maker@example.org>");
  EXPECT_EQ(answer.key, kKey) << "the primary key, although a subkey signed";
}

TEST(GpgvAnswer, AValidSignatureIsNotGoodByThatAlone) {
  for (const auto& [word, state] : {std::pair{"BADSIG", State::kBad},
                                    {"EXPSIG", State::kExpiredSignature},
                                    {"EXPKEYSIG", State::kExpiredKey},
                                    {"REVKEYSIG", State::kRevokedKey}}) {
    const SignatureAnswer answer =
        Only(Output({"NEWSIG", std::string("KEY_CONSIDERED ") + kKey + " 0", std::string(word) + " " + kId + " Maker",
                     std::string("VALIDSIG x 2026-11-23 1795394553 0 4 0 22 8 00 ") + kKey}));
    EXPECT_EQ(answer.state, state);
    EXPECT_EQ(answer.key, kKey);
    EXPECT_EQ(answer.owner, "Maker");
  }
}

TEST(GpgvAnswer, AnErrorHasItsReason) {
  for (const auto& [reason, state] : {std::pair{"9", State::kUnknownKey},
                                      {"5", State::kUnusableSignature},
                                      {"4", State::kUnusableSignature},
                                      {"6", State::kUnusableSignature},
                                      {"1", State::kUnusableSignature},
                                      {"", State::kUnusableSignature}}) {
    const SignatureAnswer answer =
        Only(Output({"NEWSIG", std::string("ERRSIG ") + kId + " 22 8 00 1795394553 " + reason +
                                   (*reason != '\0' ? std::string(" ") + kKey : "")}));
    EXPECT_EQ(answer.state, state) << reason;
    EXPECT_EQ(answer.key, *reason != '\0' ? kKey : kId);
  }
}

TEST(GpgvAnswer, WithTheKeyAnErrorSaysMore) {
  const std::string message = "gpgv: key X was created 1134 days in the future (time warp or clock problem)\n";
  const std::string considered = std::string("KEY_CONSIDERED ") + kKey + " 0";
  const std::string error = std::string("ERRSIG ") + kId + " 22 8 00 1893542400 6 " + kKey;
  const std::string weak = std::string("ERRSIG ") + kId + " 22 2 00 1893542400 5 " + kKey;
  EXPECT_EQ(Only(Output({"NEWSIG", considered, weak})).state, State::kWeakDigest);
  EXPECT_EQ(Only(Output({"NEWSIG", considered, error})).state, State::kUnusableKey);
  EXPECT_EQ(Only(Output({"NEWSIG", considered, error}), message).state, State::kKeyOfTheFuture);
  EXPECT_EQ(Only(Output({"NEWSIG", std::string("GOODSIG ") + kId + " M"}), message).state, State::kGood)
      << "of another key";
}

TEST(GpgvAnswer, ASignatureOfATextIsNotOneOfEveryByte) {
  EXPECT_EQ(Only(Output({"NEWSIG", std::string("GOODSIG ") + kId + " M",
                         std::string("VALIDSIG x 2026-11-23 1795394553 0 4 0 22 8 01 ") + kKey}))
                .state,
            State::kUnusableSignature);
}

TEST(GpgvAnswer, AnOwnersNameIsDecoded) {
  EXPECT_EQ(Only(Output({"NEWSIG", std::string("GOODSIG ") + kId + " 50%25 off%0a[GNUPG:] GOODSIG %zz%"})).owner,
            "50% off\n[GNUPG:] GOODSIG %zz%");
}

TEST(GpgvAnswer, WhatAMessageHoldsIsNoStatus) {
  EXPECT_EQ(Only(Output({"NEWSIG", std::string("BADSIG ") + kId + " M"}), Output({"NEWSIG", "GOODSIG 1 M"})).state,
            State::kBad);
}

TEST(GpgvAnswer, ASignatureThatNothingIsSaidOfIsNotGood) {
  EXPECT_EQ(Only(Output({"NEWSIG"})).state, State::kUnusableSignature);
}

TEST(GpgvAnswer, EachOfSeveralSignaturesHasItsAnswer) {
  const auto answers = ReadGpgvAnswer(
      Output({"NEWSIG", std::string("GOODSIG ") + kId + " A", "NEWSIG", std::string("ERRSIG 11 22 8 00 1 9 ") + kKey}),
      "");
  ASSERT_TRUE(answers);
  ASSERT_EQ(answers->size(), 2U);
  EXPECT_EQ((*answers)[0].state, State::kGood);
  EXPECT_EQ((*answers)[1].state, State::kUnknownKey);
}

TEST(GpgvAnswer, WithoutASignatureThereIsNoAnswer) {
  EXPECT_FALSE(ReadGpgvAnswer("", ""));
  EXPECT_FALSE(ReadGpgvAnswer("", "gpgv: not a detached signature\n"));
  EXPECT_FALSE(ReadGpgvAnswer(Output({"NODATA 2"}), ""));
  EXPECT_FALSE(ReadGpgvAnswer(Output({"NEWSIG", std::string("GOODSIG ") + kId + " A", "NODATA 2"}), ""));
  EXPECT_FALSE(ReadGpgvAnswer(std::string("GOODSIG ") + kId + " A\n", "")) << "not a status line";
}

}  // namespace
}  // namespace orvhost
