// The validation of a plug-in as one page for a browser, which can be attached to a contract. Pure.
#ifndef ORVHOST_COMMANDS_VALIDATION_PAGE_H
#define ORVHOST_COMMANDS_VALIDATION_PAGE_H

#include <string>

#include "orvhost/interface/outcome.h"

namespace orvhost {

// Of the outcome of a validation, with its facts, its listed checks, and its failure if there is one.
[[nodiscard]] std::string ToValidationPage(const Outcome& outcome);

}  // namespace orvhost

#endif  // ORVHOST_COMMANDS_VALIDATION_PAGE_H
