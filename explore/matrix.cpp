#include "explore/matrix.h"

#include <sstream>

#include "explore/matrix_documents.h"
#include "posix/replace_file.h"

namespace explore {

bool WriteMatrix(const std::string& folder, int every, const std::vector<Course>& courses,
                 const std::vector<Scenario>& scenarios, const std::vector<Result>& results, std::string* error) {
  const Surveyed survey{every, courses, scenarios, results};
  std::ostringstream text;
  WriteMarkdown(text, survey, Fingerprint(courses));
  std::ostringstream page;
  WritePage(page, survey, Fingerprint(courses));
  return posix::ReplaceFile(folder + "/fault-matrix.md", text.str(), 0644, error) &&
         posix::ReplaceFile(folder + "/fault-matrix.html", page.str(), 0644, error);
}

}  // namespace explore
