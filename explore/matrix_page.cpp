// The matrix as a page.
#include "explore/matrix_documents.h"
#include "explore/matrix_sections.h"

namespace explore {

namespace {

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    escaped += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '"' ? "&quot;" : std::string(1, c);
  }
  return escaped;
}

// With what stands between backticks as code.
std::string Marked(const std::string& text) {
  std::string marked;
  bool isCode = false;
  for (const char c : Escaped(text)) {
    if (c != '`') {
      marked += c;
      continue;
    }
    marked += isCode ? "</code>" : "<code>";
    isCode = !isCode;
  }
  return marked;
}

// A place that the contents lead to.
std::string PlaceOf(const std::string& title) {
  std::string place;
  for (const char c : title) {
    const bool isPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    place += isPlain ? c : '-';
  }
  return place;
}

constexpr const char* kPage = R"(<!doctype html>
<html lang="en"><head><meta charset="utf-8"><meta name="viewport" content="width=device-width, initial-scale=1">
<title>Every fault at every step</title><style>
body{font:15px/1.5 sans-serif;margin:1rem;color:#111;background:#fff}
p,ul{max-width:50rem}nav a{display:inline-block;margin-right:1rem}
.t{overflow:auto;max-height:90vh;border:1px solid #ccc;width:fit-content;max-width:100%}
table{border-collapse:separate;border-spacing:0;font-size:12px}
th,td{border:0 solid #ddd;border-width:0 1px 1px 0;padding:2px 5px;vertical-align:top;text-align:left}
th{background:#eee}tr:first-child th{position:sticky;top:0;z-index:1}
.m th:first-child{position:sticky;left:0;min-width:9rem}.m tr:first-child th:first-child{z-index:2}
.g{background:#d9f2d9}.s{background:#fff3c4}.l{background:#ffd9b0}.d{background:#f5b5b5}
</style></head><body><h1>Every fault at every step</h1>
<p>What becomes of an update when one thing goes wrong, for every thing at every step. The same without colour:
<a href="fault-matrix.md">fault-matrix.md</a>. How it comes about: <a href="../explore/README.md">explore/README.md</a>.
How a booted virtual server compares: <a href="fault-fidelity.md">fault-fidelity.md</a>.</p>
)";

constexpr const char* kLegendOfPage = R"(<h2 id="steps">Every step</h2>
<p><span class=g>no step more than without a fault</span> <span class=s>more, and at most three in all</span>
<span class=l>more than three in all</span> <span class=d>a dead end</span></p>
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

void WriteSectionOfPage(std::ostream& file, const Section& section) {
  file << "<h2 id=\"" << PlaceOf(section.title) << "\">" << Escaped(section.title) << "</h2>\n";
  for (const std::string& paragraph : section.paragraphs) {
    file << "<p>" << Marked(paragraph) << "</p>\n";
  }
  file << (section.points.empty() ? "" : "<ul>\n");
  for (const std::string& point : section.points) {
    file << "<li>" << Marked(point) << "</li>\n";
  }
  file << (section.points.empty() ? "" : "</ul>\n");
  if (section.head.empty()) {
    return;
  }
  file << "<div class=\"t\"><table><tr>";
  for (const std::string& cell : section.head) {
    file << "<th>" << Marked(cell);
  }
  for (const auto& row : section.rows) {
    file << "\n<tr>";
    for (const std::string& cell : row) {
      file << "<td>" << Marked(cell);
    }
  }
  file << "\n</table></div>\n";
}

void WriteTableOfPage(std::ostream& file, const Table& table) {
  file << "<h3 id=\"" << PlaceOf(table.title) << "\">" << table.title
       << "</h3>\n<div class=\"t\"><table class=m><tr><th>step</th>";
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

void WriteLink(std::ostream& file, const std::string& title) {
  file << "<a href=\"#" << PlaceOf(title) << "\">" << Escaped(title) << "</a>\n";
}

}  // namespace

void WritePage(std::ostream& file, const Surveyed& survey, const std::string& fingerprint) {
  const auto sections = SectionsOf(survey);
  const auto tables = TablesOf(survey);
  file << kPage << "<nav>\n";
  for (const Section& section : sections) {
    WriteLink(file, section.title);
  }
  file << "<a href=\"#steps\">Every step</a>\n</nav>\n";
  for (const Section& section : sections) {
    WriteSectionOfPage(file, section);
  }
  file << kLegendOfPage << "<nav>\n";
  for (const Table& table : tables) {
    WriteLink(file, table.title);
  }
  file << "</nav>\n";
  for (const Table& table : tables) {
    WriteTableOfPage(file, table);
  }
  file << "<p>Made from roads and faults with the fingerprint " << fingerprint << ".</p>\n</body></html>\n";
}

}  // namespace explore
