// The matrix as documents: what becomes of every fault at every step.
#ifndef EXPLORE_MATRIX_H
#define EXPLORE_MATRIX_H

#include <string>
#include <vector>

#include "explore/survey.h"

namespace explore {

// Writes fault-matrix.md and fault-matrix.html into `folder`, each whole or not at all; `every` as in Singles(). False,
// with the reason in `*error`, when one cannot be written.
[[nodiscard]] bool WriteMatrix(const std::string& folder, int every, const std::vector<Course>& courses,
                               const std::vector<Scenario>& scenarios, const std::vector<Result>& results,
                               std::string* error);

}  // namespace explore

#endif  // EXPLORE_MATRIX_H
