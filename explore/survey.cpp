#include "explore/survey.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>

namespace explore {

namespace {

bool IsPlayed(int event, int all, int every) {
  const bool isRepeated = all > kRepeating && event > kSeenWhole && event % kSeenThen != 0;
  return !isRepeated && event % every == 0;
}

}  // namespace

std::string Repeated() {
  return "A road with more than " + std::to_string(kRepeating) + " events repeats itself: of those after its " +
         std::to_string(kSeenWhole) + "th only every " + std::to_string(kSeenThen) + "th is hit.";
}

std::vector<Scenario> WithoutFaults(const std::string& road) {
  std::vector<Scenario> scenarios;
  for (const Road& one : AllRoads()) {
    if (road.empty() || one.name == road) {
      scenarios.push_back({std::string(one.name), {}});
    }
  }
  return scenarios;
}

std::vector<Course> Courses(const std::vector<Scenario>& roads, Disk& disk) {
  std::vector<Course> courses;
  courses.reserve(roads.size());
  for (const Scenario& road : roads) {
    courses.push_back({FindRoad(road.road), Play(road, disk, true)});
  }
  return courses;
}

std::vector<Scenario> Singles(const std::vector<Course>& courses, int every) {
  std::vector<Scenario> scenarios;
  for (const auto& [road, played] : courses) {
    for (int event = 1; event <= played.events; ++event) {
      if (!IsPlayed(event, played.events, every)) {
        continue;
      }
      for (const FaultRow& fault : AllFaults()) {
        if (CanHit(fault, played.kept[static_cast<std::size_t>(event - 1)].kind)) {
          scenarios.push_back({std::string(road->name), {{event, fault.kind}}});
        }
      }
    }
  }
  return scenarios;
}

namespace {

// Whether the tool, ended just before this event, leaves the same machine as just before the event in front of it: it
// does where nothing was changed between.
bool IsAsBefore(const Scenario& scenario, const Played& road) {
  const Fault& fault = scenario.faults.front();
  const bool endsThere = fault.kind == FaultKind::kKill || fault.kind == FaultKind::kPower;
  if (scenario.faults.size() != 1 || !endsThere || fault.event < 2) {
    return false;
  }
  const Standing& here = road.kept[static_cast<std::size_t>(fault.event) - 1].before;
  const Standing& before = road.kept[static_cast<std::size_t>(fault.event) - 2].before;
  return here.run == before.run && here.time == before.time && here.changes == before.changes &&
         (fault.kind == FaultKind::kKill || here.syncs == before.syncs);
}

}  // namespace

std::vector<Result> PlayEach(const std::vector<Course>& courses, const std::vector<Scenario>& scenarios, int processes,
                             int* same) {
  std::map<std::string_view, const Played*> roads;
  for (const Course& course : courses) {
    roads[course.road->name] = &course.played;
  }
  std::map<std::string, std::size_t> played;  // by text, as the number of what is played for it
  std::vector<std::size_t> numbers(scenarios.size());
  std::vector<Scenario> chosen;
  for (std::size_t at = 0; at < scenarios.size(); ++at) {
    const Scenario& scenario = scenarios[at];
    if (IsAsBefore(scenario, *roads.at(scenario.road))) {
      const Fault& fault = scenario.faults.front();
      const auto before = played.find(Text({scenario.road, {{fault.event - 1, fault.kind}}}));
      if (before != played.end()) {
        numbers[at] = before->second;
        played.emplace(Text(scenario), before->second);
        continue;
      }
    }
    numbers[at] = chosen.size();
    played.emplace(Text(scenario), chosen.size());
    chosen.push_back(scenario);
  }
  *same = static_cast<int>(scenarios.size() - chosen.size());
  const std::vector<Result> results = PlayAll(chosen, processes);
  std::vector<Result> all;
  all.reserve(scenarios.size());
  for (const std::size_t number : numbers) {
    all.push_back(results[number]);
  }
  return all;
}

std::size_t Chance::Below(std::size_t limit) {
  state_ += 0x9e3779b97f4a7c15U;
  std::uint64_t mixed = state_;
  mixed = (mixed ^ (mixed >> 30U)) * 0xbf58476d1ce4e5b9U;
  mixed = (mixed ^ (mixed >> 27U)) * 0x94d049bb133111ebU;
  return static_cast<std::size_t>((mixed ^ (mixed >> 31U)) % limit);
}

FaultKind Pairs::AnyFaultFor(EventKind event) {
  for (;;) {
    const FaultRow& row = AllFaults()[chance_.Below(AllFaults().size())];
    if (CanHit(row, event)) {
      return row.kind;
    }
  }
}

std::vector<Scenario> Pairs::Next(int count) {
  std::vector<Scenario> scenarios;
  while (std::ssize(scenarios) < count) {
    const Course& course = courses_[chance_.Below(courses_.size())];
    const auto all = static_cast<std::size_t>(std::min(course.played.events, kRepeating));
    std::size_t first = chance_.Below(all);
    std::size_t second = chance_.Below(all);
    if (first == second) {
      continue;
    }
    if (first > second) {
      std::swap(first, second);
    }
    const FaultKind one = AnyFaultFor(course.played.kept[first].kind);
    FaultKind other = FaultKind::kNone;
    if (RowOf(one).endsRun) {
      // Then the operator's steps follow, each of which can be cut off too, and whose events are not known yet.
      second = first + 1 + chance_.Below(static_cast<std::size_t>(course.played.eventsInAll));
      other = chance_.Below(2) == 0 ? FaultKind::kKill : FaultKind::kPower;
    } else {
      other = AnyFaultFor(course.played.kept[second].kind);
    }
    scenarios.push_back(
        {std::string(course.road->name), {{static_cast<int>(first) + 1, one}, {static_cast<int>(second) + 1, other}}});
  }
  return scenarios;
}

std::string Fingerprint(const std::vector<Course>& courses) {
  std::string all;
  for (const auto& [road, played] : courses) {
    all += std::string(road->name) + " " + played.verdict + "\n";
    for (const Event& event : played.kept) {
      all += std::string(NameOf(event.kind)) + " " + event.what + "\n";
    }
  }
  for (const FaultRow& fault : AllFaults()) {
    all += std::string(fault.name) + " " + std::to_string(fault.events) + "\n";
  }
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%08lx",
                crc32_z(0, reinterpret_cast<const unsigned char*>(all.data()), all.size()));
  return text.data();
}

}  // namespace explore
