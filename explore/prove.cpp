#include "explore/prove.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <functional>

#include "explore/crowd.h"
#include "explore/outside.h"

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

// What is wrong with the simulation's own process: it is ended, its scenario named, and the next one played.
bool SeesBrokenProcess(const char* words, const std::function<void()>& breaks) {
  const std::vector<Scenario> scenarios = {{"identify-ipmitool", {}}, {"verify-ipmitool", {}}, {"identify-rack", {}}};
  constexpr int kPatienceMs = 1000;
  const auto results = PlayAll(scenarios, 1, kPatienceMs, [&](const Scenario& scenario, Disk& disk) {
    if (scenario.road == scenarios[1].road) {
      breaks();
    }
    return PlayOnce(scenario, disk);
  });
  const auto& findings = results[1].findings;
  const bool seen = findings.size() == 1 && Sees(findings, "bounds:") &&
                    findings.front().find("verify-ipmitool") != std::string::npos && results[0].findings.empty() &&
                    results[2].verdict == "identified";
  Print(std::string("bounds: ") + words + ": " + (seen ? "seen: " + findings.front() : "NOT SEEN") + "\n");
  return seen;
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
  const bool hang = SeesBrokenProcess("the simulation itself hangs", [] { pause(); });
  const bool crash = SeesBrokenProcess("the simulation itself crashes", [] { raise(SIGKILL); });
  return all && hang && crash;
}

}  // namespace explore
