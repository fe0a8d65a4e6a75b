#include "explore/operator.h"

#include <gtest/gtest.h>

namespace {

using explore::NextStep;
using Kind = NextStep::Kind;

explore::RunEnd Ended(const std::string& words, int exitCode, const nlohmann::json& object) {
  explore::RunEnd end;
  end.words = words;
  end.exitCode = exitCode;
  end.object = object;
  return end;
}

std::string Obeys(const std::string& sentence, bool wasApplied = false) {
  const NextStep next = explore::BySentence(sentence, "update PACKAGE", {.wasApplied = wasApplied});
  return (next.waitsFirst ? "wait, " : "") + (next.kind == Kind::kRun        ? next.words
                                              : next.kind == Kind::kShutDown ? "shut down"
                                              : next.kind == Kind::kDone     ? "done"
                                                                             : "lost");
}

TEST(Operator, ObeysTheSentenceOfAFailure) {
  EXPECT_EQ(Obeys("Keep the machine powered and do not reboot it; run the same command again."), "update PACKAGE");
  EXPECT_EQ(Obeys("Run \"orvhost identify\" to see what the BMC runs."), "identify");
  EXPECT_EQ(Obeys("Run \"orvhost apply\", and when the machine is up again, \"orvhost verify\"."), "apply --yes");
  EXPECT_EQ(Obeys("run \"orvhost update /srv/packages/bmc.tar\" again."), "update PACKAGE");
  EXPECT_EQ(Obeys("Wait a minute in case the BMC is restarting, then run \"orvhost verify\" again."), "wait, verify");
  EXPECT_EQ(Obeys("Shut the machine down by hand (shutdown -h now)."), "shut down");
  EXPECT_EQ(Obeys("Nothing to do."), "done");
  EXPECT_EQ(Obeys("Ask somebody."), "lost");
}

TEST(Operator, TakesTheOptionThatASentenceNames) {
  EXPECT_EQ(Obeys("Run the same command again. If the BMC refuses it again, write the package anew: \"orvhost update "
                  "PACKAGE --allow-reinstall\"."),
            "update PACKAGE --allow-reinstall");
  EXPECT_EQ(Obeys("Only if it is what this machine is to run, run \"orvhost update /p.tar --allow-older\"."),
            "update PACKAGE --allow-older");
}

TEST(Operator, RemembersWhetherItHasApplied) {
  const std::string sentence =
      "If the new firmware was not put into operation yet, run \"orvhost apply\"; otherwise run \"orvhost update\" "
      "again.";
  EXPECT_EQ(Obeys(sentence, false), "apply --yes");
  EXPECT_EQ(Obeys(sentence, true), "update PACKAGE");
}

TEST(Operator, StartsTheMachineAnewOnlyWhereSendingFailedBefore) {
  const std::string sentence =
      "Run \"orvhost notify\" again. If the sending before this one failed or was cut off too, a record may have been "
      "left locked: start the machine anew.";
  EXPECT_EQ(Obeys(sentence), "notify");
  EXPECT_EQ(explore::BySentence(sentence, "notify", {.failedToSend = true}).kind, Kind::kStartAnew);
}

TEST(Operator, DiagnosesARunThatWasCutOff) {
  explore::RunEnd end;
  end.cutBy = explore::FaultKind::kKill;
  EXPECT_EQ(AfterRun(end, "update PACKAGE", {}).words, "diagnose");
}

TEST(Operator, TakesUpWhatItSetOutFor) {
  const auto diagnosed = Ended("diagnose", 0, {{"facts", nlohmann::json::object()}});
  EXPECT_EQ(AfterRun(diagnosed, "update PACKAGE", {}).words, "update PACKAGE");
  const auto identified = Ended("identify", 0, {{"needs_apply", false}});
  EXPECT_EQ(AfterRun(identified, "update PACKAGE", {}).words, "update PACKAGE");
}

TEST(Operator, AppliesWhatWaitsAndThenVerifies) {
  EXPECT_EQ(AfterRun(Ended("update PACKAGE", 0, {{"needs_apply", true}}), "update PACKAGE", {}).words, "apply --yes");
  EXPECT_EQ(AfterRun(Ended("apply --yes", 0, {{"verdict", "going-down"}}), "update PACKAGE", {}).words, "verify");
}

}  // namespace
