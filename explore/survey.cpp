#include "explore/survey.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>

namespace explore {

namespace {

constexpr int kRepeating = 1000;  // a road with more events repeats itself
constexpr int kSeenWhole = 200;
constexpr int kSeenThen = 97;

bool IsPlayed(int event, int all, int every) {
  const bool isRepeated = all > kRepeating && event > kSeenWhole && event % kSeenThen != 0;
  return !isRepeated && event % every == 0;
}

}  // namespace

std::vector<Course> Courses(const std::string& road, Disk& disk) {
  std::vector<Course> courses;
  for (const Road& one : AllRoads()) {
    if (road.empty() || one.name == road) {
      courses.push_back({&one, Play({std::string(one.name), {}}, disk, true)});
    }
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
    const FaultKind other = AnyFaultFor(course.played.kept[second].kind);
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

std::string WhyKnown(const Scenario& scenario, const Result& result, const std::string& finding) {
  const auto holds = [&finding](const char* part) { return finding.find(part) != std::string::npos; };
  if (holds("SDR:, and the BMC runs")) {
    return "The version of the sensor data records counts as empty when it cannot be read; the plug-in answers that as "
           "a "
           "version.";
  }
  if (holds("and nothing was started") && result.verdict == "update-failed") {
    return "The plug-in's own runner does not say that it could start no process; the tool takes the flash for "
           "touched, "
           "which is the safe side.";
  }
  const auto hits = [&scenario](FaultKind kind) {
    return std::ranges::any_of(scenario.faults, [kind](const Fault& fault) { return fault.kind == kind; });
  };
  const auto takes = [&](const char* way) { return holds("it takes") && finding.ends_with(way); };
  if (takes("verify, update, apply, verify") && !hits(FaultKind::kPower)) {
    return "The tool was killed while the package's script was at work. The next update reports success, and after "
           "apply "
           "the BMC runs the old version, which verify finds; the update after that is the one that lasts. Where the "
           "first of them goes is not known yet.";
  }
  if (takes("verify, update, apply, verify")) {
    return "The power was lost during an apply. Only the BMC knows which firmware it runs then, so it is asked first; "
           "where it lost its reboot flag, the package is written once more. A person does what is named, one step "
           "after the other, and replaces nothing.";
  }
  if (takes("methods, notify, start the machine anew, methods")) {
    return "A record's file is left locked by a method that was killed. \"methods\" shows no steps of a transfer, so "
           "\"notify\" is run to learn which it is. A person starts the machine anew, as notify says, and replaces the "
           "board that has the service processor only if locking fails even then.";
  }
  if (takes("apply, update, apply, verify") && result.verdict == "updated-after-time-out") {
    return "A flash tool that was cut off at its time limit may have written all or nothing: only the BMC's answer to "
           "apply shows which. A person writes the package anew, as the text says.";
  }
  if (result.verdict == "records-damaged" && takes("update, apply, verify")) {
    return "Records that cannot be read for a moment: the same command comes first, and it finds that the update is to "
           "be written again. A person repairs what holds the records.";
  }
  if (takes("update, apply, verify, check")) {
    return "A file of the package that cannot be read for a moment makes the package look older or the same; what was "
           "only to be checked is then written, since the text names the option for it. A person reads that text and "
           "decides.";
  }
  if (takes("update, update, apply, verify")) {
    return "The tool was killed when it had just started the package's script. The script of the next update reports "
           "that nothing was written (2F2B), and the one after that writes all. A person runs the same command again, "
           "as the text says.";
  }
  if (holds("and the BMC runs BMC:") &&
      (hits(FaultKind::kMissing) || hits(FaultKind::kUnreadable) || hits(FaultKind::kEmpty))) {
    return "Where the product name cannot be read, the plug-in asks for the BMC's version alone, as on the ordinary "
           "model; the server type that identify shows is empty then.";
  }
  if (holds("the journal does not say so") && scenario.road.find("rack") != std::string::npos) {
    return "A package's script is started by the plug-in itself, so that a journal that cannot be written does not "
           "stop "
           "it; the records show the update all the same.";
  }
  if (holds("the records do not say so") && hits(FaultKind::kEmpty)) {
    return "A records file that reads as empty in the middle of a run is kept aside as damaged, and the run goes on.";
  }
  return "";
}

}  // namespace explore
