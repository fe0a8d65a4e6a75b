// What the matrix says in front of its cells, in sections that both of its forms write.
#ifndef EXPLORE_MATRIX_SECTIONS_H
#define EXPLORE_MATRIX_SECTIONS_H

#include <string>
#include <vector>

#include "explore/matrix_tables.h"

namespace explore {

// Texts hold code between backticks and no other mark.
struct Section {
  std::string title;
  std::vector<std::string> paragraphs;
  std::vector<std::string> points;  // a list
  std::vector<std::string> head;    // of a table; empty for none
  std::vector<std::vector<std::string>> rows;
};

// The answer to what people open the matrix for, how to read it, totals, findings and limits.
[[nodiscard]] std::vector<Section> SectionsOf(const Surveyed& survey);

}  // namespace explore

#endif  // EXPLORE_MATRIX_SECTIONS_H
