#include "explore/matrix_tables.h"

#include <algorithm>
#include <array>

#include "explore/known_findings.h"
#include "explore/step_words.h"

namespace explore {

namespace {

// Commands and files meet other faults, so each road has a table of its own for both.
constexpr auto kGroups = std::to_array<const char*>({": commands and pauses", ": files"});

int Severity(const Result& result) {
  return (result.ends ? 0 : 100) + 10 * result.steps + (result.exitCode == 0 ? 0 : 1);
}

// Numbers differ from scenario to scenario, and the rest makes a kind of finding.
std::string WithoutNumbers(std::string text) {
  std::ranges::replace_if(
      text, [](unsigned char c) { return c >= '0' && c <= '9'; }, 'N');
  std::ranges::replace(text, '|', '/');
  return text;
}

class Gathering {
 public:
  explicit Gathering(const Surveyed& survey) {
    for (const auto& [road, played] : survey.courses) {
      for (const char* group : kGroups) {
        at_[std::string(road->name) + group] = tables_.size();
        tables_.push_back({std::string(road->name), std::string(road->name) + group, {}, {}, {}});
      }
      roads_[std::string(road->name)] = &played;
    }
    for (std::size_t at = 0; at < survey.scenarios.size(); ++at) {
      Add(survey.scenarios[at], survey.results[at]);
    }
  }

  std::vector<Table> Take() {
    std::erase_if(tables_, [](const Table& table) { return table.steps.empty(); });
    for (Table& table : tables_) {
      for (const FaultRow& fault : AllFaults()) {
        const bool hits = std::ranges::any_of(
            table.rows, [&fault](const auto& row) { return row.second.contains(std::string(fault.name)); });
        if (hits) {
          table.faults.push_back(&fault);
        }
      }
    }
    return std::move(tables_);
  }

 private:
  void Add(const Scenario& scenario, const Result& result) {
    const Fault& fault = scenario.faults.front();
    const Event& event = roads_.at(scenario.road)->kept[static_cast<std::size_t>(fault.event - 1)];
    Table& table = tables_[at_.at(scenario.road + kGroups[event.kind < EventKind::kRead ? 0 : 1])];
    const std::string step = StepOf(event);
    if (!table.rows.contains(step)) {
      table.steps.push_back(step);
    }
    Cell& cell = table.rows[step][std::string(RowOf(fault.kind).name)];
    if (cell.verdicts.empty() || Severity(result) > worst_[&cell]) {
      worst_[&cell] = Severity(result);
      cell.worst = scenario;
    }
    ++cell.verdicts[result.verdict];
    cell.touched |= result.flashTouched;
    cell.isDeadEnd |= !result.ends;
    cell.worstSteps = std::max(cell.worstSteps, result.steps);
    cell.moreSteps = std::max(cell.moreSteps, result.steps - roads_.at(scenario.road)->steps);
  }

  std::vector<Table> tables_;
  std::map<std::string, std::size_t> at_;  // by their titles
  std::map<std::string, const Played*> roads_;
  std::map<const Cell*, int> worst_;
};

void AddTo(std::vector<Observed>* kinds, const std::string& words, const Scenario& scenario, const Result& result) {
  auto kind = std::ranges::find(*kinds, words, &Observed::words);
  if (kind == kinds->end()) {
    kind = kinds->insert(kind, {words, result.verdict, {}, result.way});
  }
  kind->replays.push_back(Text(scenario));
}

struct OwnWay {
  const char* verdict;
  const char* words;
};

constexpr auto kOwnWays = std::to_array<OwnWay>({
    {"not-halted", "Success, and no halt: the BMC's reboot flag is armed, and the update marker cannot be deleted."},
    {"marker-missing", "Success, and only a restart: the update marker that the update left is not there."},
    {"updated-after-time-out", "A flash tool that was cut off at its time limit counts as one that has ended well."},
});

}  // namespace

std::vector<Table> TablesOf(const Surveyed& survey) {
  return Gathering(survey).Take();
}

std::string Words(const Cell& cell) {
  std::string words;
  for (const auto& [verdict, count] : cell.verdicts) {
    words += (words.empty() ? "" : ", ") + verdict + (count > 1 ? " (" + std::to_string(count) + ")" : "");
  }
  return words + (cell.touched ? " * " : " ") + std::to_string(cell.worst.faults.front().event);
}

Distance DistanceOf(const Cell& cell) {
  if (cell.isDeadEnd) {
    return Distance::kNowhere;
  }
  return cell.moreSteps == 0 ? Distance::kNone : cell.worstSteps <= kMostSteps ? Distance::kShort : Distance::kLong;
}

std::vector<Observed> KindsOfFindings(const Surveyed& survey) {
  std::vector<Observed> kinds;
  for (std::size_t at = 0; at < survey.scenarios.size(); ++at) {
    for (const std::string& finding : survey.results[at].findings) {
      const std::string why = WhyKnown(survey.scenarios[at], finding);
      AddTo(&kinds, why.empty() ? "Open: " + WithoutNumbers(finding) : why, survey.scenarios[at], survey.results[at]);
    }
  }
  std::ranges::sort(kinds, {}, &Observed::words);
  return kinds;
}

std::string FindingTotals(const Surveyed& survey) {
  std::size_t open = 0;
  std::size_t known = 0;
  std::size_t kinds = 0;
  for (const Observed& kind : KindsOfFindings(survey)) {
    const bool isOpen = kind.words.starts_with("Open: ");
    (isOpen ? open : known) += kind.replays.size();
    kinds += isOpen ? 0 : 1;
  }
  return std::to_string(open) + " findings open, " + std::to_string(known) + " in " + std::to_string(kinds) +
         " known kinds that stay.";
}

std::vector<Observed> OwnWays(const Surveyed& survey) {
  std::vector<Observed> kinds;
  for (const OwnWay& own : kOwnWays) {
    for (std::size_t at = 0; at < survey.scenarios.size(); ++at) {
      if (survey.results[at].verdict == own.verdict) {
        AddTo(&kinds, own.words, survey.scenarios[at], survey.results[at]);
      }
    }
  }
  return kinds;
}

std::string Extent(int every) {
  return every == 1 ? "Every event of every road was hit, but for those that repeat themselves. " + Repeated()
                    : "Of every road each " + std::to_string(every) + "th event was hit, not all.";
}

}  // namespace explore
