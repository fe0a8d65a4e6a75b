// The matrix as a page.
#include "explore/matrix_documents.h"

namespace explore {

namespace {

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    escaped += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '"' ? "&quot;" : std::string(1, c);
  }
  return escaped;
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

// Classes of the page above.
const char* ClassOf(const Cell& cell) {
  switch (DistanceOf(cell)) {
    case Distance::kNone:
      return "g";
    case Distance::kShort:
      return "s";
    case Distance::kLong:
      return "l";
    case Distance::kNowhere:
      break;
  }
  return "d";
}

void WriteTableOfPage(std::ostream& file, const Table& table) {
  file << "<h2>" << table.title << "</h2>\n<div class=\"t\"><table><tr><th>step</th>";
  for (const FaultRow* fault : table.faults) {
    file << "<th title=\"" << fault->words << "\">" << fault->name;
  }
  file << "\n";
  for (const std::string& step : table.steps) {
    const Row& row = table.rows.at(step);
    file << "<tr><th>" << Escaped(step);
    for (const FaultRow* fault : table.faults) {
      const auto cell = row.find(std::string(fault->name));
      if (cell != row.end()) {
        file << "<td class=" << ClassOf(cell->second) << " title=\"" << Text(cell->second.worst) << "\">"
             << Words(cell->second);
      } else {
        file << "<td>";
      }
    }
    file << "\n";
  }
  file << "</table></div>\n";
}

}  // namespace

void WritePage(std::ostream& file, const Surveyed& survey, const std::string& fingerprint) {
  file << kPage << "<p>" << survey.scenarios.size() << " scenarios. " << Extent(survey.every)
       << " Made from roads and faults with the fingerprint " << fingerprint << ".</p>\n";
  for (const Table& table : TablesOf(survey)) {
    WriteTableOfPage(file, table);
  }
  file << "</body></html>\n";
}

}  // namespace explore
