#include "explore/matrix.h"

#include <fstream>
#include <iterator>

#include "explore/matrix_documents.h"
#include "explore/outside.h"

namespace explore {

bool WriteMatrix(const std::string& folder, int every, const std::vector<Course>& courses,
                 const std::vector<Scenario>& scenarios, const std::vector<Result>& results) {
  const Surveyed survey{every, courses, scenarios, results};
  std::ofstream text(folder + "/fault-matrix.md");
  WriteMarkdown(text, survey, Fingerprint(courses));
  std::ofstream page(folder + "/fault-matrix.html");
  WritePage(page, survey, Fingerprint(courses));
  text.close();
  page.close();
  return text.good() && page.good();
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
