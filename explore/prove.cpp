#include "explore/prove.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>

#include "explore/player.h"
#include "explore/replay.h"

namespace explore {

namespace {

struct Seeded {
  Defect defect;
  const char* oracle;  // how its findings begin
  const char* scenario;
  const char* words;
};

constexpr auto kSeeded = std::to_array<Seeded>({
    {Defect::kTruth, "truth:", "life-ipmitool", "the flash tool says that it is done and did nothing"},
    {Defect::kTold, "truth:", "identify-ipmitool", "the BMC is believed to run another version"},
    {Defect::kRecovery, "recovery:", "update-ipmitool", "the next step is one that nobody can take"},
    {Defect::kBounds, "bounds:", "identify-ipmitool", "files are not closed"},
    {Defect::kOrder, "order:", "update-ipmitool", "the journal's line about the flash gets lost"},
    {Defect::kLocks, "locks:", "update-ipmitool", "locks are taken and hold nothing"},
    {Defect::kFiles, "files:", "update-ipmitool", "the staged package is not removed"},
    {Defect::kTrace, "trace:", "identify-ipmitool", "the journal's ends of commands get lost"},
    {Defect::kIdempotence, "idempotence:", "life-ipmitool", "a run that is repeated believes an old version"},
});

std::vector<std::string> FindingsWith(const Seeded& seeded, Defect defect, Disk& disk) {
  return Play({seeded.scenario, {}}, disk, false, defect).findings;
}

bool Sees(const std::vector<std::string>& findings, const std::string& oracle) {
  return std::ranges::any_of(findings, [&](const std::string& finding) { return finding.starts_with(oracle); });
}

constexpr const char* kBrokenRoad = "verify-ipmitool";

constexpr const char* kFirstLine = "orvhost update PACKAGE\n";

// Plays, and breaks the simulation's own process on that road, behind the first line of the story where one is kept.
HowToPlay BreakingBy(void (*breaks)()) {
  return [breaks](const Scenario& scenario, Disk& disk, bool keepsEvents) {
    if (scenario.road == kBrokenRoad && !keepsEvents) {
      breaks();
    }
    if (scenario.road == kBrokenRoad) {
      TheStage().tell = [breaks, tell = TheStage().tell](const std::string& line) {
        tell(line);
        breaks();
      };
    }
    return PlayOnce(scenario, disk, keepsEvents);
  };
}

bool Report(const std::string& words, bool seen, const std::string& finding) {
  Print("bounds: " + words + ": " + (seen ? "seen: " + finding : "NOT SEEN") + "\n");
  return seen;
}

// It is ended, its scenario named, and the next one played.
bool CrowdSees(const std::string& words, const std::string& wanted, const HowToPlay& play) {
  const auto results = PlayAll({{"identify-ipmitool", {}}, {kBrokenRoad, {}}, {"identify-rack", {}}}, 1, play);
  const bool seen = results[1].findings == std::vector<std::string>{wanted} && results[0].findings.empty() &&
                    results[2].verdict == "identified";
  return Report(words, seen, wanted);
}

// It is ended, and all that it had printed stays.
bool ReplaySees(const std::string& words, const std::string& printedFirst, const std::string& wanted,
                const HowToPlay& play, int (*shows)(const std::string&, const Showing&)) {
  std::string printed;
  const Showing showing{play, [&printed](const std::string& text) { printed += text; }};
  const int answer = shows(kBrokenRoad, showing);
  return Report(words, answer == kExitFindings && printed == printedFirst + "finding: " + wanted + "\n", wanted);
}

bool SeeBrokenProcess(const std::string& what, void (*breaks)()) {
  const std::string words = "the simulation itself " + what;
  const std::string wanted = "bounds: the program " + what + " for real in " + kBrokenRoad;
  const HowToPlay play = BreakingBy(breaks);
  const bool crowd = CrowdSees(words, wanted, play);
  const bool replay = ReplaySees(words + " in a replay", kFirstLine, wanted, play, Replay);
  const bool minimize = ReplaySees(words + " while a scenario is made shorter", "", wanted, play, Minimize);
  return crowd && replay && minimize;
}

}  // namespace

bool Prove(Disk& disk) {
  bool all = true;
  for (const Seeded& seeded : kSeeded) {
    const bool without = Sees(FindingsWith(seeded, Defect::kNone, disk), seeded.oracle);
    const auto findings = FindingsWith(seeded, seeded.defect, disk);
    const bool with = Sees(findings, seeded.oracle);
    const auto first =
        std::ranges::find_if(findings, [&](const std::string& f) { return f.starts_with(seeded.oracle); });
    Print(std::string(seeded.oracle) + " " + seeded.words + ": " +
          (with && !without ? "seen: " + *first
           : without        ? "SEEN WITHOUT IT"
                            : "NOT SEEN") +
          "\n");
    all = all && with && !without;
  }
  SetPatience(std::chrono::seconds(1));
  const bool hang = SeeBrokenProcess("hangs", [] { pause(); });
  const bool crash = SeeBrokenProcess("crashes", [] { raise(SIGKILL); });
  return all && hang && crash;
}

}  // namespace explore
