// The matrix as Markdown, which is also read by people without a browser.
#include <sstream>

#include "explore/matrix_documents.h"
#include "explore/matrix_sections.h"

namespace explore {

namespace {

constexpr const char* kIntroduction = R"(# Every fault at every step

What becomes of an update when one thing goes wrong, for every thing at every step. `./dev explore --matrix docs` makes
this file and [fault-matrix.html](fault-matrix.html), which has the same in colour; [explore/](../explore/README.md)
says how it comes about, and [fault-fidelity.md](fault-fidelity.md) how a booted virtual server compares.
)";

constexpr const char* kLegend =
    "\n## Every step\n\n🟩 no step more than without a fault 🟨 more, and at most three in all 🟧 more than "
    "three in all "
    "🟥 a dead end\n";

// The words in lines of at most 120 characters, of which all but the first begin with `indent`.
std::string Filled(const std::string& text, const std::string& indent) {
  constexpr std::size_t kWidth = 120;
  std::istringstream words(text);
  std::string filled;
  std::size_t column = 0;
  for (std::string word; words >> word;) {
    if (column + 1 + word.size() > kWidth) {
      filled.append("\n").append(indent).append(word);
      column = indent.size() + word.size();
    } else {
      filled.append(filled.empty() ? "" : " ").append(word);
      column += 1 + word.size();
    }
  }
  return filled;
}

void WriteRow(std::ostream& file, const std::vector<std::string>& cells) {
  for (const std::string& cell : cells) {
    file << "| " << cell << ' ';
  }
  file << "|\n";
}

void WriteSection(std::ostream& file, const Section& section) {
  file << "\n## " << section.title << "\n";
  for (const std::string& paragraph : section.paragraphs) {
    file << '\n' << Filled(paragraph, "") << '\n';
  }
  file << (section.points.empty() ? "" : "\n");
  for (const std::string& point : section.points) {
    file << Filled("- " + point, "  ") << '\n';
  }
  if (section.head.empty()) {
    return;
  }
  file << '\n';
  WriteRow(file, section.head);
  WriteRow(file, std::vector<std::string>(section.head.size(), "---"));
  for (const auto& row : section.rows) {
    WriteRow(file, row);
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

void WriteTable(std::ostream& file, const Table& table) {
  file << "\n### " << table.title << "\n\n";
  std::vector<std::string> head{"step"};
  for (const FaultRow* fault : table.faults) {
    head.emplace_back(fault->name);
  }
  WriteRow(file, head);
  WriteRow(file, std::vector<std::string>(head.size(), "---"));
  for (const std::string& step : table.steps) {
    const Row& row = table.rows.at(step);
    file << "| " << step << " |";
    for (const FaultRow* fault : table.faults) {
      const auto cell = row.find(std::string(fault->name));
      if (cell != row.end()) {
        file << ' ' << ColourOf(cell->second) << ' ' << Words(cell->second);
      }
      file << " |";
    }
    file << '\n';
  }
}

}  // namespace

void WriteMarkdown(std::ostream& file, const Surveyed& survey, const std::string& fingerprint) {
  file << kIntroduction;
  for (const Section& section : SectionsOf(survey)) {
    WriteSection(file, section);
  }
  file << kLegend;
  for (const Table& table : TablesOf(survey)) {
    WriteTable(file, table);
  }
  file << "\nMade from roads and faults with the fingerprint `" << fingerprint << "`.\n";
}

}  // namespace explore
