#include "explore/matrix.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>

#include "explore/outside.h"
#include "explore/step_words.h"

namespace explore {

namespace {

// What became of one fault at all the events of one step.
struct Cell {
  std::map<std::string, int> verdicts;
  bool touched = false;
  bool isDeadEnd = false;
  int worstSteps = 0;
  std::string replay;  // of the worst
};

using Row = std::map<std::string, Cell>;  // by the fault's name

struct Table {
  std::vector<std::string> steps;  // in the order of their first event
  std::map<std::string, Row> rows;
};

struct Total {
  int scenarios = 0;
  int succeeded = 0;
  int failed = 0;
  int cut = 0;
  int touched = 0;
  int deadEnds = 0;
  std::map<int, int> steps;

  void Add(const Result& result) {
    ++scenarios;
    succeeded += result.exitCode == 0 ? 1 : 0;
    cut += result.exitCode < 0 ? 1 : 0;
    failed += result.exitCode > 0 ? 1 : 0;
    touched += result.flashTouched ? 1 : 0;
    deadEnds += result.ends ? 0 : 1;
    ++steps[result.steps];
  }
};

// Commands and files meet other faults, so each road has a table of its own for both.
constexpr const char* kOfCommands = ": commands and pauses";
constexpr const char* kOfFiles = ": files";

int Severity(const Result& result) {
  return (result.ends ? 0 : 100) + 10 * result.steps + (result.exitCode == 0 ? 0 : 1);
}

std::map<std::string, Table> Tables(const std::vector<Course>& courses, const std::vector<Scenario>& scenarios,
                                    const std::vector<Result>& results) {
  std::map<std::string, Table> tables;
  std::map<std::string, const Played*> roads;
  for (const auto& [road, played] : courses) {
    roads[std::string(road->name)] = &played;
  }
  std::map<const Cell*, int> worst;
  for (std::size_t at = 0; at < scenarios.size(); ++at) {
    const Fault& fault = scenarios[at].faults.front();
    const Event& event = roads.at(scenarios[at].road)->kept[static_cast<std::size_t>(fault.event - 1)];
    Table& table = tables[scenarios[at].road + (event.kind < EventKind::kRead ? kOfCommands : kOfFiles)];
    const std::string step = StepOf(event);
    if (!table.rows.contains(step)) {
      table.steps.push_back(step);
    }
    Cell& cell = table.rows[step][std::string(RowOf(fault.kind).name)];
    const Result& result = results[at];
    ++cell.verdicts[result.verdict];
    cell.touched |= result.flashTouched;
    cell.isDeadEnd |= !result.ends;
    cell.worstSteps = std::max(cell.worstSteps, result.steps);
    if (cell.replay.empty() || Severity(result) > worst[&cell]) {
      worst[&cell] = Severity(result);
      cell.replay = Text(scenarios[at]);
    }
  }
  return tables;
}

std::string Words(const Cell& cell) {
  std::string words;
  for (const auto& [verdict, count] : cell.verdicts) {
    words += (words.empty() ? "" : ", ") + verdict + (count > 1 ? " (" + std::to_string(count) + ")" : "");
  }
  return words;
}

std::string TotalRow(const std::string& name, const Total& total) {
  std::string steps;
  for (const auto& [number, count] : total.steps) {
    steps += (steps.empty() ? "" : ", ") + std::to_string(number) + ": " + std::to_string(count);
  }
  std::ostringstream row;
  row << "| " << name << " | " << total.scenarios << " | " << total.succeeded << " | " << total.failed << " | "
      << total.cut << " | " << total.touched << " | " << total.deadEnds << " | " << steps << " |\n";
  return row.str();
}

constexpr const char* kTotalHead =
    " | Scenarios | Succeeded | Failed | Cut off | Flash touched | Dead ends | Steps that the operator took, and how "
    "often |\n"
    "|---|---|---|---|---|---|---|---|\n";

// Numbers differ from scenario to scenario, and the rest makes a kind of finding.
std::string WithoutNumbers(std::string text) {
  std::ranges::replace_if(
      text, [](unsigned char c) { return c >= '0' && c <= '9'; }, 'N');
  std::ranges::replace(text, '|', '/');
  return text;
}

// Every kind of finding with the number of its scenarios, one of them, and why it stays.
std::string FindingRows(const std::vector<Scenario>& scenarios, const std::vector<Result>& results) {
  std::map<std::string, std::vector<std::string>> kinds;
  for (std::size_t at = 0; at < scenarios.size(); ++at) {
    for (const std::string& finding : results[at].findings) {
      const std::string why = WhyKnown(scenarios[at], results[at], finding);
      kinds[why.empty() ? "Open: " + WithoutNumbers(finding) : why].push_back(Text(scenarios[at]));
    }
  }
  std::string text;
  for (const auto& [kind, replays] : kinds) {
    text += "| " + kind + " | " + std::to_string(replays.size()) + " | `" + replays.front() + "` |\n";
  }
  return text;
}

// How many scenarios break a rule, and how many of these have no reason to stay.
std::string FindingTotals(const std::vector<Scenario>& scenarios, const std::vector<Result>& results) {
  std::set<std::string> kinds;
  int open = 0;
  int known = 0;
  for (std::size_t at = 0; at < scenarios.size(); ++at) {
    for (const std::string& finding : results[at].findings) {
      const std::string why = WhyKnown(scenarios[at], results[at], finding);
      open += why.empty() ? 1 : 0;
      known += why.empty() ? 0 : 1;
      if (!why.empty()) {
        kinds.insert(why);
      }
    }
  }
  return std::to_string(open) + " findings open, " + std::to_string(known) + " in " + std::to_string(kinds.size()) +
         " known kinds that stay.\n";
}

// Which of the events were hit.
std::string Extent(int every) {
  return every == 1
             ? "Every event of every road was hit,\nbut of the road with 300 records behind its 200th only every 97th."
             : "Of every road each " + std::to_string(every) + "th event was hit, not all.";
}

std::string Fingerprinted(const std::vector<Course>& courses, const std::string& mark) {
  return "Made from roads and faults with the fingerprint " + mark + Fingerprint(courses) + mark + ".";
}

constexpr const char* kIntroduction = R"(# Every fault at every step

What becomes of an update when one thing goes wrong, for every thing at every step. `./dev explore --matrix docs` makes
this file and [fault-matrix.html](fault-matrix.html), which has each step in a row and each fault in a column with the
text that replays it; [explore/](../explore/README.md) says how they come about.
)";

constexpr const char* kNotCovered = R"(
## What is not covered

- More than one fault: `./dev explore --pairs 1000 --seed 7` plays such, and this file does not show them.
- Signals that ask the tool to end, and standard streams that cannot be written.
- What bounds the memory and the time of the process that unpacks a package: it is done in the simulation's own.
- A BMC that says what is not so: that a flash is done which is not.
- The road with 300 records repeats itself: of its events behind the 200th only every 97th is hit.
)";

void WriteMarkdown(const std::string& path, int every, const std::vector<Course>& courses,
                   const std::vector<Scenario>& scenarios, const std::vector<Result>& results) {
  std::map<std::string, Total> byRoad;
  std::map<FaultKind, Total> byFault;
  Total all;
  for (std::size_t at = 0; at < scenarios.size(); ++at) {
    all.Add(results[at]);
    byRoad[scenarios[at].road].Add(results[at]);
    byFault[scenarios[at].faults.front().kind].Add(results[at]);
  }
  std::ofstream file(path);
  file << kIntroduction << '\n'
       << Fingerprinted(courses, "`") << ' ' << Extent(every) << "\n\n## By road\n\n| Road" << kTotalHead;
  for (const Course& course : courses) {
    file << TotalRow("`" + std::string(course.road->name) + "`", byRoad[std::string(course.road->name)]);
  }
  file << TotalRow("all", all) << "\n## By fault\n\n| Fault" << kTotalHead;
  for (const FaultRow& fault : AllFaults()) {
    file << TotalRow("`" + std::string(fault.name) + "`: " + std::string(fault.words), byFault[fault.kind]);
  }
  file << "\n## Findings\n\n"
       << FindingTotals(scenarios, results)
       << "\nWhat breaks a rule, or does not lead to the end that was wanted within " << kMostSteps
       << " steps.\nThose that stay say why; the others are open.\n\n| Finding | Scenarios | For example "
          "|\n|---|---|---|\n"
       << FindingRows(scenarios, results) << kNotCovered;
}

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    escaped += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '"' ? "&quot;" : std::string(1, c);
  }
  return escaped;
}

const char* ColourOf(const Cell& cell) {
  if (cell.isDeadEnd) {
    return "d";
  }
  return cell.worstSteps == 0 ? "g" : cell.worstSteps <= kMostSteps ? "s" : "l";
}

constexpr const char* kPage = R"(<!doctype html>
<html lang="en"><head><meta charset="utf-8"><meta name="viewport" content="width=device-width, initial-scale=1">
<title>Every fault at every step</title><style>
body{font:14px/1.4 sans-serif;margin:1rem;color:#111;background:#fff}
.t{overflow-x:auto;border:1px solid #ccc}
table{border-collapse:collapse;font-size:12px}th,td{border:1px solid #ddd;padding:2px 5px;vertical-align:top}
th{background:#eee;text-align:left}th:first-child{position:sticky;left:0;min-width:9rem}
.g{background:#d9f2d9}.s{background:#fff3c4}.l{background:#ffd9b0}.d{background:#f5b5b5}
</style></head><body><h1>Every fault at every step</h1>
<p>A row is a step, a column a fault, a cell the verdicts of the run that it hit, with their number. Point at a cell for
the text that replays the worst of it. <b>*</b>: the flash was touched.
<span class=g>the road goes on to its end</span> <span class=s>up to three steps lead back</span>
<span class=l>more steps do</span> <span class=d>a known dead end</span></p>
)";

void WriteTable(std::ofstream& file, const std::string& road, const Table& table) {
  std::set<std::string> used;
  for (const auto& [step, row] : table.rows) {
    for (const auto& [fault, cell] : row) {
      used.insert(fault);
    }
  }
  file << "<h2>" << road << "</h2>\n<div class=\"t\"><table><tr><th>step</th>";
  for (const FaultRow& fault : AllFaults()) {
    if (used.contains(std::string(fault.name))) {
      file << "<th title=\"" << fault.words << "\">" << fault.name;
    }
  }
  file << "\n";
  for (const std::string& step : table.steps) {
    const Row& row = table.rows.at(step);
    file << "<tr><th>" << Escaped(step);
    for (const FaultRow& fault : AllFaults()) {
      const auto cell = row.find(std::string(fault.name));
      if (cell != row.end()) {
        file << "<td class=" << ColourOf(cell->second) << " title=\"" << cell->second.replay << "\">"
             << Words(cell->second) << (cell->second.touched ? " *" : "");
      } else if (used.contains(std::string(fault.name))) {
        file << "<td>";
      }
    }
    file << "\n";
  }
  file << "</table></div>\n";
}

}  // namespace

void WriteMatrix(const std::string& folder, int every, const std::vector<Course>& courses,
                 const std::vector<Scenario>& scenarios, const std::vector<Result>& results) {
  WriteMarkdown(folder + "/fault-matrix.md", every, courses, scenarios, results);
  std::ofstream page(folder + "/fault-matrix.html");
  page << kPage << "<p>" << scenarios.size() << " scenarios. " << Extent(every) << " " << Fingerprinted(courses, "")
       << "</p>\n";
  const auto tables = Tables(courses, scenarios, results);
  for (const Course& course : courses) {
    const std::string name(course.road->name);
    for (const char* group : {kOfCommands, kOfFiles}) {
      if (tables.contains(name + group)) {
        WriteTable(page, name + group, tables.at(name + group));
      }
    }
  }
  page << "</body></html>\n";
}

bool IsCurrent(const std::string& folder, const std::vector<Course>& courses) {
  for (const char* name : {"/fault-matrix.md", "/fault-matrix.html"}) {
    std::ifstream file(folder + name);
    const std::string text((std::istreambuf_iterator<char>(file)), {});
    if (text.find(Fingerprint(courses)) == std::string::npos) {
      Print(folder + name + " is not current, or not there: its fingerprint is to be " + Fingerprint(courses) +
            ". Make it anew by ./dev explore --matrix docs.\n");
      return false;
    }
  }
  return true;
}

}  // namespace explore
