// What an oracle says of a run that is right, and of the same run with one thing wrong.
#include "explore/oracles.h"

#include <gtest/gtest.h>

#include "explore/stage.h"

namespace explore {

namespace {

constexpr const char* kJournal = "/srv/orv/journal/00000001-20260131T120000Z.jsonl";
constexpr const char* kBegin = R"({"t":"2026-01-31T12:00:00Z","kind":"begin"})";
constexpr const char* kCommand = R"({"t":"2026-01-31T12:00:00Z","kind":"command"})";
constexpr const char* kCommandEnd = R"({"t":"2026-01-31T12:00:00Z","kind":"command_end"})";
constexpr const char* kEnd = R"({"t":"2026-01-31T12:00:00Z","kind":"end"})";

using Findings = std::vector<std::string>;

class Oracle : public testing::Test {
 protected:
  Oracle() : world_({.isRack = false, .records = 3}) {
    TheStage().Begin({}, false);
    TheStage().BeginRun();
    disk_.Fill(world_.Kind());
    for (const char* folder : {"/srv/orv/journal", "/srv/orv/repository"}) {
      (void)disk_.TheFiles().Make(disk_.TheFiles().Root(), folder, true, 0755);
    }
    WriteJournal({kBegin, kCommand, kCommandEnd, kEnd});
    run_.words = "verify";
    run_.exitCode = 0;
    run_.object = {{"run_id", "00000001-20260131T120000Z"}, {"exit_code", 0},         {"verdict", "verified"},
                   {"after", world_.RunningVersion()},      {"flash_touched", false}, {"changed", false}};
  }

  void WriteJournal(const Findings& lines) {
    std::string text;
    for (const std::string& line : lines) {
      text += line + "\n";
    }
    disk_.Write(kJournal, text);
  }

  Findings Says(const std::vector<Fault>& faults = {}) {
    Findings findings;
    JudgeRun(world_, disk_, run_, faults, &findings);
    return findings;
  }

  Findings SaysOfRemains() {
    Findings findings;
    JudgeRemains(disk_, &findings);
    return findings;
  }

  World world_;
  Disk disk_;
  RunEnd run_;
};

TEST_F(Oracle, HasNothingToSayOfARunThatIsRight) {
  EXPECT_EQ(Says(), Findings());
  EXPECT_EQ(SaysOfRemains(), Findings());
}

TEST_F(Oracle, OfTruthSeesAnotherVersionThanTheOneThatRuns) {
  run_.object["after"] = "09-99";
  EXPECT_EQ(Says(), Findings{"truth: \"verified\" as 09-99, and the BMC runs 01-23"});
  EXPECT_EQ(Says({{1, FaultKind::kGarbage}}), Findings());
  EXPECT_EQ(Says({{1, FaultKind::kBusy}}).size(), 1U);
}

TEST_F(Oracle, OfTruthSeesAnUpdateWithoutAWholeImage) {
  run_.words = "update PACKAGE";
  run_.object["verdict"] = "updated";
  EXPECT_EQ(Says(), Findings{"truth: \"updated\", and no whole image stands by"});
}

TEST_F(Oracle, OfTruthSeesAFlashThatIsDenied) {
  run_.counts.flashStarts = 1;
  run_.counts.flashPrograms = 1;
  EXPECT_EQ(Says(), (Findings{"truth: the BMC saw a flash, and verify says that it was not touched",
                              "truth: nothing changed, it says, and the flash was written"}));
  run_.object["changed"] = true;
  run_.object["flash_touched"] = true;
  EXPECT_EQ(Says(), Findings());
  run_.object["flash_touched"] = false;
  run_.counts.flashStarts = 0;
  run_.counts.sdrUpdates = 1;
  EXPECT_EQ(Says(), Findings{"truth: the BMC saw a flash, and verify says that it was not touched"});
}

TEST_F(Oracle, OfTruthSeesAFlashThatIsMadeUp) {
  run_.object["flash_touched"] = true;
  EXPECT_EQ(Says(), Findings{"truth: verify says that the flash was touched, and nothing was started"});
  run_.words = "diagnose";  // which tells of an earlier run
  EXPECT_EQ(Says(), Findings());
}

TEST_F(Oracle, OfTruthSeesAMachineThatWasNotAskedToGoDown) {
  run_.words = "apply --yes";
  run_.object["verdict"] = "going-down";
  EXPECT_EQ(Says(), Findings{"truth: \"going-down\", and the machine was not asked so"});
  run_.askedToHalt = true;
  EXPECT_EQ(Says(), Findings());
  run_.object["verdict"] = "applied";
  EXPECT_EQ(Says(), Findings{"truth: \"applied\", and the machine was not asked so"});
}

TEST_F(Oracle, OfTruthSeesAnObjectThatIsNoneOrSaysAnotherExitCode) {
  run_.exitCode = 4;
  EXPECT_EQ(Says(), Findings{"truth: verify did not print its object"});
  run_.object = nullptr;
  EXPECT_EQ(Says(), Findings{"truth: verify did not print its object"});
  run_.cutBy = FaultKind::kKill;
  EXPECT_EQ(Says(), Findings());
}

TEST_F(Oracle, OfTruthSeesAnUnexpectedError) {
  run_.exitCode = 1;
  run_.object["exit_code"] = 1;
  run_.object["error"] = "odd";
  EXPECT_EQ(Says(), Findings{"truth: verify ended by an unexpected error: \"odd\""});
}

TEST_F(Oracle, OfBoundsSeesTooMuchTimeRequestsAndDescriptors) {
  constexpr Microseconds kHour = 3'600'000'000;
  run_.took = 4 * kHour;
  run_.counts.requests = 3000;
  EXPECT_EQ(Says(), Findings());
  run_.took = 5 * kHour;
  run_.counts.requests = 3001;
  run_.leftOpen = 2;
  EXPECT_EQ(Says(), (Findings{"bounds: verify took 5 hours", "bounds: verify made 3001 requests",
                              "bounds: verify left 2 descriptors open"}));
}

TEST_F(Oracle, OfTheTraceSeesAJournalThatIsNotWhole) {
  WriteJournal({kCommand, kCommandEnd, kEnd});
  EXPECT_EQ(Says(), Findings{"trace: the journal does not begin with its begin"});
  WriteJournal({kBegin, kCommand, kCommandEnd});
  EXPECT_EQ(Says(), Findings{"trace: the journal does not end with its end"});
  WriteJournal({kBegin, kCommand, kEnd});
  EXPECT_EQ(Says(), Findings{"trace: a command of the journal has no end"});
  WriteJournal({kBegin, R"({"t":"2026)", kEnd});
  EXPECT_EQ(Says(), Findings{R"(trace: a line of the journal is not whole: {"t":"2026)"});
  disk_.Remove(kJournal);
  EXPECT_EQ(Says(), Findings{"trace: verify left no journal"});
}

TEST_F(Oracle, OfTheTraceExcusesARunWhoseJournalWasHit) {
  disk_.Remove(kJournal);
  Stage& stage = TheStage();
  stage.Begin({{1, FaultKind::kDiskFull}}, false);
  (void)stage.Count(true);
  stage.Turn(true);
  EXPECT_EQ(stage.Meet(EventKind::kWrite, "/srv/orv/journal/unfinished"), FaultKind::kDiskFull);
  stage.Turn(false);
  EXPECT_EQ(Says(), Findings());
  stage.BeginRun();
  EXPECT_EQ(Says().size(), 1U);
}

TEST_F(Oracle, PassesOnWhatWasSeenWhileTheRunWentOn) {
  run_.complaints = {"order: seen"};
  run_.cutBy = FaultKind::kPower;
  EXPECT_EQ(Says(), Findings{"order: seen"});
}

TEST_F(Oracle, OfFilesSeesWhatIsLeft) {
  disk_.Write("/srv/orv/orvhost.run", "{}");
  EXPECT_EQ(SaysOfRemains(), Findings());
  disk_.Write("/srv/orv/orvhost.run", "{");
  EXPECT_EQ(SaysOfRemains(), Findings{"files: /srv/orv/orvhost.run is damaged"});
  disk_.Remove("/srv/orv/orvhost.run");
  disk_.Write("/srv/orv/repository/state.json", "[");
  EXPECT_EQ(SaysOfRemains(), Findings{"files: /srv/orv/repository/state.json is damaged"});
  disk_.Remove("/srv/orv/repository/state.json");
  for (const char* name : {".orvhost-package", "unfinished", "state.json.000012"}) {
    disk_.Write(std::string("/srv/orv/") + name, "");
    EXPECT_EQ(SaysOfRemains(), Findings{"files: " + std::string(name) + " is left"});
    disk_.Remove(std::string("/srv/orv/") + name);
  }
}

}  // namespace

}  // namespace explore
