// The matrix as Markdown.
#include "explore/matrix_documents.h"

namespace explore {

namespace {

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

constexpr const char* kIntroduction = R"(# Every fault at every step

What becomes of an update when one thing goes wrong, for every thing at every step. `./dev explore --matrix docs` makes
this file and [fault-matrix.html](fault-matrix.html), which has the same cells in colour;
[explore/](../explore/README.md) says how they come about.
)";

constexpr const char* kTotalHead =
    " | Scenarios | Succeeded | Failed | Cut off | Flash touched | Dead ends | Steps that the operator took, and how "
    "often |\n"
    "|---|---|---|---|---|---|---|---|\n";

constexpr const char* kNotCovered = R"(
## What is not covered

- More than one fault: `./dev explore --pairs 1000 --seed 7` plays such, and this file does not show them.
- Signals that ask the tool to end, and standard streams that cannot be written.
- What bounds the memory and the time of the process that unpacks a package: it is done in the simulation's own.
- The BMC's own changeover: it takes the firmware at once, and an image that starts is whole. A loss of power in the
  middle of that, and an image that is whole and does not start, are not played.
- Faults that outlast the run: "for good" and "from here on" last until the operator begins to recover.
- A BMC that says what is not so: that a flash is done which is not.
- The road with 300 records repeats itself: of its events behind the 200th only every 97th is hit.
)";

constexpr const char* kLegend = R"(
## Every step

A row is a step, a column a fault, a cell the verdicts of the run that it hit, with their number. `*`: the flash was
touched. The number at the end is that of the worst event: the road, that number, a colon and the column's name make
the text that replays it, as `update-ipmitool 41:disk-full-for-good`.

🟩 the road goes on to its end 🟨 up to three steps lead back 🟧 more steps do 🟥 a known dead end
)";

void WriteTotal(std::ostream& file, const std::string& name, const Total& total) {
  file << "| " << name << " | " << total.scenarios << " | " << total.succeeded << " | " << total.failed << " | "
       << total.cut << " | " << total.touched << " | " << total.deadEnds << " | ";
  const char* between = "";
  for (const auto& [number, count] : total.steps) {
    file << between << number << ": " << count;
    between = ", ";
  }
  file << " |\n";
}

void WriteTotals(std::ostream& file, const Surveyed& survey) {
  std::map<std::string, Total> byRoad;
  std::map<FaultKind, Total> byFault;
  Total all;
  for (std::size_t at = 0; at < survey.scenarios.size(); ++at) {
    all.Add(survey.results[at]);
    byRoad[survey.scenarios[at].road].Add(survey.results[at]);
    byFault[survey.scenarios[at].faults.front().kind].Add(survey.results[at]);
  }
  file << "\n## By road\n\n| Road" << kTotalHead;
  for (const Course& course : survey.courses) {
    const std::string name(course.road->name);
    WriteTotal(file, "`" + name + "`", byRoad[name]);
  }
  WriteTotal(file, "all", all);
  file << "\n## By fault\n\n| Fault" << kTotalHead;
  for (const FaultRow& fault : AllFaults()) {
    WriteTotal(file, "`" + std::string(fault.name) + "`: " + std::string(fault.words), byFault[fault.kind]);
  }
}

void WriteFindings(std::ostream& file, const Surveyed& survey) {
  file << "\n## Findings\n\n"
       << FindingTotals(survey) << "\n\nWhat breaks a rule, or does not lead to the end that was wanted within "
       << kMostSteps << " steps.\nThose that stay say why; the others are open.\n\n"
       << "| Finding | Scenarios | For example |\n|---|---|---|\n";
  for (const Observed& kind : KindsOfFindings(survey)) {
    file << "| " << kind.words << " | " << kind.replays.size() << " | `" << kind.replays.front() << "` |\n";
  }
  file << "\n## Ways of the plug-in's own\n\nWhat it does by itself, what the tool calls it, and what the tool's next "
          "steps lead to.\n\n"
       << "| What the plug-in answers | Verdict | Scenarios | Steps | For example |\n|---|---|---|---|---|\n";
  for (const Observed& kind : OwnWays(survey)) {
    file << "| " << kind.words << " | " << kind.replays.size() << " | " << kind.way << " | `" << kind.replays.front()
         << "` |\n";
  }
}

const char* ColourOf(const Cell& cell) {
  switch (DistanceOf(cell)) {
    case Distance::kNone:
      return "🟩";
    case Distance::kShort:
      return "🟨";
    case Distance::kLong:
      return "🟧";
    case Distance::kNowhere:
      break;
  }
  return "🟥";
}

void WriteTableOfText(std::ostream& file, const Table& table) {
  file << "\n### " << table.title << "\n\n| step |";
  std::string line = "\n|---|";
  for (const FaultRow* fault : table.faults) {
    file << ' ' << fault->name << " |";
    line += "---|";
  }
  file << line << '\n';
  for (const std::string& step : table.steps) {
    const Row& row = table.rows.at(step);
    file << "| " << step << " |";
    for (const FaultRow* fault : table.faults) {
      const auto cell = row.find(std::string(fault->name));
      if (cell != row.end()) {
        file << ' ' << ColourOf(cell->second) << ' ' << Words(cell->second) << ' '
             << cell->second.worst.faults.front().event;
      }
      file << " |";
    }
    file << '\n';
  }
}

}  // namespace

void WriteMarkdown(std::ostream& file, const Surveyed& survey, const std::string& fingerprint) {
  file << kIntroduction << "\nMade from roads and faults with the fingerprint `" << fingerprint << "`. "
       << Extent(survey.every) << '\n';
  WriteTotals(file, survey);
  WriteFindings(file, survey);
  file << kNotCovered << kLegend;
  for (const Table& table : TablesOf(survey)) {
    WriteTableOfText(file, table);
  }
}

}  // namespace explore
