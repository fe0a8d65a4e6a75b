// The matrix as documents: what becomes of every fault at every step.
#ifndef EXPLORE_MATRIX_H
#define EXPLORE_MATRIX_H

#include <string>
#include <vector>

#include "explore/survey.h"

namespace explore {

// Writes fault-matrix.md and fault-matrix.html into `folder`; `every` as in Singles(). False when they cannot be
// written.
[[nodiscard]] bool WriteMatrix(const std::string& folder, int every, const std::vector<Course>& courses,
                               const std::vector<Scenario>& scenarios, const std::vector<Result>& results);

// Whether the matrix in `folder` was made from these roads, events and faults; says what differs.
[[nodiscard]] bool IsCurrent(const std::string& folder, const std::vector<Course>& courses);

}  // namespace explore

#endif  // EXPLORE_MATRIX_H
