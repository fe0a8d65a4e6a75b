#include "explore/replay.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <vector>

#include "explore/outside.h"
#include "explore/play.h"

namespace explore {

namespace {

// Why the scenario cannot be played as it stands: an event that does not even come without its faults. "" when it can.
std::string Complaint(const Scenario& scenario, Disk& disk) {
  const Played road = Play({scenario.road, {}}, disk, true);
  for (const Fault& fault : scenario.faults) {
    const bool comes = fault.event <= road.events;
    if (!comes || !CanHit(RowOf(fault.kind), road.kept[static_cast<std::size_t>(fault.event) - 1].kind)) {
      return Play({scenario.road, {fault}}, disk, false).complaints.front();
    }
  }
  return "";
}

std::string End(const Played& played) {
  return played.verdict + ", " +
         (played.exitCode < 0 ? "no exit code" : "exit code " + std::to_string(played.exitCode)) + ", flash " +
         (played.flashTouched ? "touched" : "untouched");
}

// What a finding is, without what is different in each scenario.
std::string KindOf(const std::string& finding) {
  const std::size_t oracle = finding.find(':');
  std::string kind = finding.substr(0, finding.find(':', oracle + 1));
  std::erase_if(kind, [](unsigned char c) { return c >= '0' && c <= '9'; });
  return kind;
}

class Minimizer {
 public:
  Minimizer(Disk& disk, const Played& whole) : disk_(disk), whole_(whole), wanted_(KindOf(whole.findings.front())) {}

  Scenario Shorten(Scenario scenario) {
    for (std::size_t at = 0; at < scenario.faults.size() && scenario.faults.size() > 1;) {
      if (const auto shorter = Without(scenario, at)) {
        scenario = *shorter;
      } else {
        ++at;
      }
    }
    return scenario;
  }

 private:
  bool Fails(const Scenario& scenario) {
    const auto findings = Play(scenario, disk_, false).findings;
    return std::ranges::any_of(findings, [this](const std::string& finding) { return KindOf(finding) == wanted_; });
  }

  std::optional<Scenario> Without(const Scenario& scenario, std::size_t at) {
    Scenario shorter = scenario;
    shorter.faults.erase(shorter.faults.begin() + static_cast<std::ptrdiff_t>(at));
    if (Fails(shorter)) {
      return shorter;
    }
    // The fault that is left out may have moved the events behind it.
    if (at != 0 || shorter.faults.size() != 1) {
      return {};
    }
    for (const int event : EventsAlike(shorter)) {
      shorter.faults.front().event = event;
      if (Fails(shorter)) {
        return shorter;
      }
    }
    return {};
  }

  // The events of the road that do the same as what the last fault hit, the nearest first.
  std::vector<int> EventsAlike(const Scenario& scenario) {
    constexpr std::size_t kMost = 30;
    const int number = scenario.faults.front().event;
    std::vector<int> alike;
    if (number > static_cast<int>(whole_.kept.size())) {
      return alike;
    }
    const Event& hit = whole_.kept[static_cast<std::size_t>(number) - 1];
    const Played road = Play({scenario.road, {}}, disk_, true);
    for (int event = 1; event <= road.events; ++event) {
      const Event& one = road.kept[static_cast<std::size_t>(event) - 1];
      if (one.kind == hit.kind && one.what == hit.what) {
        alike.push_back(event);
      }
    }
    std::ranges::stable_sort(alike, {}, [number](int event) { return std::abs(event - number); });
    alike.resize(std::min(alike.size(), kMost));
    return alike;
  }

  Disk& disk_;
  const Played& whole_;
  const std::string wanted_;
};

// Nothing, with the sentence printed, for a text that is none.
std::optional<Scenario> Parsed(const std::string& text, Disk& disk) {
  std::string error;
  auto scenario = ParseScenario(text, &error);
  if (scenario) {
    error = Complaint(*scenario, disk);
  }
  if (!error.empty()) {
    Print(error + "\n");
    return {};
  }
  return scenario;
}

}  // namespace

int Replay(const std::string& text, Disk& disk) {
  const auto scenario = Parsed(text, disk);
  if (!scenario) {
    return kExitUsage;
  }
  const Played played = Play(*scenario, disk, true);
  for (const std::string& line : played.story) {
    Print(line + "\n");
  }
  for (const std::string& complaint : played.complaints) {
    Print("With the faults before it: " + complaint + "\n");
  }
  Print("The faults end in: " + End(played) +
        ". What the operator does then: " + (played.way.empty() ? "nothing" : played.way) + ".\n");
  for (const std::string& finding : played.findings) {
    Print("finding: " + finding + "\n");
  }
  return played.findings.empty() ? 0 : kExitFindings;
}

int Minimize(const std::string& text, Disk& disk) {
  const auto scenario = Parsed(text, disk);
  if (!scenario) {
    return kExitUsage;
  }
  const Played whole = Play(*scenario, disk, true);
  if (whole.findings.empty()) {
    Print("There is no finding in " + Text(*scenario) + ".\n");
    return kExitUsage;
  }
  Print(Text(Minimizer(disk, whole).Shorten(*scenario)) + "\n");
  return 0;
}

}  // namespace explore
