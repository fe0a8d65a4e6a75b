// The findings that stay, each with the reason.
#ifndef EXPLORE_KNOWN_FINDINGS_H
#define EXPLORE_KNOWN_FINDINGS_H

#include <string>

#include "explore/scenario.h"

namespace explore {

// Why a finding is known and stays; "" for one that is not.
[[nodiscard]] std::string WhyKnown(const Scenario& scenario, const std::string& finding);

}  // namespace explore

#endif  // EXPLORE_KNOWN_FINDINGS_H
