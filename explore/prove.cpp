#include "explore/prove.h"

#include <algorithm>
#include <array>

#include "explore/outside.h"
#include "explore/play.h"

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
  return all;
}

}  // namespace explore
