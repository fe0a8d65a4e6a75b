#include "explore/play.h"

#include <utility>

#include "explore/operator.h"
#include "explore/oracles.h"
#include "explore/outside.h"
#include "explore/told.h"

namespace explore {

namespace {

constexpr Microseconds kPatience = 180'000'000;  // of an operator who is to wait
constexpr int kMostWaits = 30;

void Seed(Defect defect, Life& life) {
  Outside& outside = TheOutside();
  life.ThePrograms().liesAboutFlash = defect == Defect::kTruth;
  life.TheWorld().liesAboutVersion = defect == Defect::kTold;
  outside.losesStartOfFlash = defect == Defect::kOrder;
  outside.losesEndOfCommands = defect == Defect::kTrace;
  outside.locksNothing = defect == Defect::kLocks;
  outside.leavesStagedPackage = defect == Defect::kFiles;
  outside.leaksDescriptors = defect == Defect::kBounds;
}

class Performance {
 public:
  Performance(const Scenario& scenario, Disk& disk, Defect defect)
      : scenario_(scenario), road_(*FindRoad(scenario.road)), life_(road_.machine, disk), defect_(defect) {
    Seed(defect, life_);
  }

  Played Go();

 private:
  RunEnd Run(const std::string& words);
  void JudgeTold(const RunEnd& run);
  void TakeRoad();
  void Recover();
  bool Obey(const NextStep& next);
  void Take(const std::string& words, const std::string& step, int steps);
  void BeHit();
  void Repair();
  void Complain();
  void Repeat();
  [[nodiscard]] bool IsThere();
  [[nodiscard]] bool RunsWhatWasWanted();

  const Scenario& scenario_;
  const Road& road_;
  Life life_;
  const Defect defect_;
  RunEnd last_;
  std::string wanted_;
  int waits_ = 0;
  bool isOnRoad_ = false;
  bool isHit_ = false;  // the last run, by faults, which excuse a few things
  Memory memory_;
  Played played_;
};

Played Performance::Go() {
  for (const std::string_view words : road_.before) {
    (void)life_.Run(std::string(words));
    life_.LetGoDown();
  }
  TakeRoad();
  Recover();
  Complain();
  if (played_.ends) {
    Repeat();
    JudgeRemains(life_.TheDisk(), &played_.findings);
  }
  for (const std::string& line : life_.ThePrograms().unknown) {
    played_.findings.push_back("order: a command that nobody knows: " + line);
  }
  if (waits_ > 0) {
    played_.way += " (asked " + std::to_string(waits_) + " times more while something was at work)";
  }
  return std::move(played_);
}

RunEnd Performance::Run(const std::string& words) {
  Stage& stage = TheStage();
  const std::size_t waiting = stage.Unmet().size();
  stage.BeginRun();
  RunEnd end = life_.Run(words);
  isHit_ = isOnRoad_ || stage.Unmet().size() != waiting;
  JudgeRun(life_.TheWorld(), life_.TheDisk(), end, isHit_ ? scenario_.faults : std::vector<Fault>(), &played_.findings);
  if (!road_.writes && words == wanted_ && end.exitCode == 0) {
    JudgeTold(end);
  }
  const bool goesDown = end.askedToHalt || end.askedToRestart;
  memory_.wasApplied = goesDown || (memory_.wasApplied && !(words.starts_with("update") && end.exitCode == 0));
  return end;
}

// What a road tells that only reads does not change by anything that it survives, but for an answer that lies.
void Performance::JudgeTold(const RunEnd& run) {
  const std::string told = Told(life_, run);
  if (scenario_.faults.empty() && KeptTold(road_.name).empty()) {
    KeepTold(road_.name, told);
  }
  const std::string difference = Difference(told, KeptTold(road_.name));
  if (!difference.empty() && !(isHit_ && AnswersLie(scenario_.faults))) {
    std::string finding = "truth: " + difference;
    for (const auto& notice : run.object.at("notices")) {
      finding += ", with the notice: " + notice.get<std::string>();
    }
    played_.findings.push_back(finding);
  }
}

// Up to the first run that fails or is cut off.
void Performance::TakeRoad() {
  Stage& stage = TheStage();
  stage.Count(true);
  isOnRoad_ = true;
  for (const std::string_view words : road_.runs) {
    wanted_ = words;
    last_ = Run(wanted_);
    BeHit();
    if (last_.WasCut() || last_.exitCode != 0) {
      break;
    }
    life_.LetGoDown();
  }
  isOnRoad_ = false;
  played_.events = stage.Events();
  played_.kept = stage.Kept();
  Repair();
}

// The last run met a fault: what it ended in counts, and the operator begins anew.
void Performance::BeHit() {
  played_.flashTouched |= last_.counts.flashStarts > 0 || last_.counts.sdrUpdates > 0;
  played_.verdict = last_.cutBy == FaultKind::kPower ? "power-lost" : last_.WasCut() ? "killed" : last_.Verdict();
  played_.exitCode = last_.exitCode;
  played_.steps = 0;
  played_.way.clear();
}

// Faults that last are over.
void Performance::Repair() {
  TheStage().RepairFiles();
  life_.ThePrograms().Repair();
}

void Performance::Complain() {
  const Stage& stage = TheStage();
  played_.eventsInAll = stage.Events();
  for (const Fault& fault : stage.Unmet()) {
    played_.complaints.push_back("Event " + std::to_string(fault.event) + " did not come; there were " +
                                 std::to_string(stage.Events()) + ".");
  }
  played_.complaints.insert(played_.complaints.end(), stage.Misfits().begin(), stage.Misfits().end());
}

// The version that was wanted runs, and the last run says so.
bool Performance::IsThere() {
  if (!road_.writes) {
    return last_.exitCode == 0 && last_.words == wanted_;
  }
  const bool says = last_.Verdict() == "verified" || (last_.Verdict() == "identified" && last_.words == "identify");
  return says && RunsWhatWasWanted();
}

bool Performance::RunsWhatWasWanted() {
  return life_.TheWorld().RunningVersion() == road_.machine.NewVersion();
}

void Performance::Recover() {
  life_.LetGoDown();
  TheStage().Say("The road ends here; the operator goes on.");
  while (!IsThere()) {
    NextStep next = AfterRun(last_, wanted_, memory_);
    if (defect_ == Defect::kRecovery) {
      next = BySentence("Ask somebody.", last_.words, {});
    }
    if (next.kind == NextStep::Kind::kDone && RunsWhatWasWanted()) {
      break;
    }
    if (!Obey(next)) {
      played_.findings.push_back("recovery: after " + played_.way + " the sentence leads nowhere: " + next.text);
      return;
    }
    if (played_.steps > 2 * kMostSteps) {
      played_.findings.push_back("recovery: it goes on for ever: " + played_.way);
      return;
    }
  }
  played_.ends = true;
  if (played_.steps > kMostSteps) {
    played_.findings.push_back("recovery: it takes " + std::to_string(played_.steps) + " steps: " + played_.way);
  }
}

bool Performance::Obey(const NextStep& next) {
  if (last_.words != "diagnose") {
    memory_.failedToSend = last_.exitCode != 0;
  }
  if (next.waitsFirst) {
    life_.TheWorld().Pass(kPatience);
  }
  if (next.kind == NextStep::Kind::kShutDown) {
    life_.ShutDownByHand();
    Take("verify", "shut down, verify", 1);
    return true;
  }
  if (next.kind == NextStep::Kind::kStartAnew) {
    life_.ShutDownByHand();
    Take(wanted_, "start the machine anew, " + wanted_.substr(0, wanted_.find(' ')), 2);
    return true;
  }
  if (next.kind != NextStep::Kind::kRun || next.words.empty()) {
    return false;
  }
  Take(next.words, next.words.substr(0, next.words.find(' ')), next.words == "diagnose" ? 0 : 1);
  return true;
}

// Runs what comes next, which is one step or more of the way.
void Performance::Take(const std::string& words, const std::string& step, int steps) {
  last_ = Run(words);
  life_.LetGoDown();
  if (isHit_) {
    BeHit();
    Repair();
    return;
  }
  const bool onlyWaits = last_.Verdict() == "busy" || last_.Verdict() == "at-work";
  if (onlyWaits && ++waits_ <= kMostWaits) {
    return;
  }
  played_.way += (played_.way.empty() ? "" : ", ") + step;
  played_.steps += steps;
}

// The same once more changes nothing.
void Performance::Repeat() {
  TheStage().Count(false);
  TheStage().Say("It is there; the same once more.");
  const std::string words = road_.writes ? "update PACKAGE" : wanted_;
  life_.TheWorld().liesAboutVersion |= defect_ == Defect::kIdempotence;
  const RunEnd again = Run(words);
  const bool sends = words == "notify" || words.starts_with("methods");
  const bool same = !road_.writes || again.Verdict() == "nothing-to-do";  // what a road tells that reads is judged
  if (again.exitCode != 0 || !same || (again.counts.changes > 0 && !sends)) {
    played_.findings.push_back("idempotence: once more, " + words + " ends as " + again.Verdict() + " with " +
                               std::to_string(again.counts.changes) + " changes");
  }
}

}  // namespace

Played Play(const Scenario& scenario, Disk& disk, bool keepsEvents, Defect defect) {
  const Scenario road{scenario.road, {}};
  if (!FindRoad(scenario.road)->writes && KeptTold(scenario.road).empty() &&
      (defect != Defect::kNone || !scenario.faults.empty())) {
    (void)Play(road, disk, false);
  }
  TheStage().Begin(scenario.faults, keepsEvents);
  return Performance(scenario, disk, defect).Go();
}

}  // namespace explore
