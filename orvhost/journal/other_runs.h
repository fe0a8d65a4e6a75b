// What the runs before and after one tell about what it left.
#ifndef ORVHOST_JOURNAL_OTHER_RUNS_H
#define ORVHOST_JOURNAL_OTHER_RUNS_H

#include <string>
#include <vector>

#include "orvhost/journal/diagnosis.h"

namespace orvhost {

// Completes `*situation`, whose run is one of `runs` (oldest first) in `folder`. Returns sentences about journals that
// cannot be read, beyond which is not looked.
[[nodiscard]] std::vector<std::string> LookAtOtherRuns(const std::string& folder, const std::vector<std::string>& runs,
                                                       Situation* situation);

}  // namespace orvhost

#endif  // ORVHOST_JOURNAL_OTHER_RUNS_H
