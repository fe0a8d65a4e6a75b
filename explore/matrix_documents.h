// The two forms of the matrix.
#ifndef EXPLORE_MATRIX_DOCUMENTS_H
#define EXPLORE_MATRIX_DOCUMENTS_H

#include <ostream>
#include <string>

#include "explore/matrix_tables.h"

namespace explore {

// Totals, findings and every cell, as text that is also read by people without a browser.
void WriteMarkdown(std::ostream& file, const Surveyed& survey, const std::string& fingerprint);

// Every cell with its colour and the text that replays it.
void WritePage(std::ostream& file, const Surveyed& survey, const std::string& fingerprint);

}  // namespace explore

#endif  // EXPLORE_MATRIX_DOCUMENTS_H
