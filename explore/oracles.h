// What must hold in every life.
#ifndef EXPLORE_ORACLES_H
#define EXPLORE_ORACLES_H

#include <string>
#include <vector>

#include "explore/disk.h"
#include "explore/life.h"
#include "explore/scenario.h"

namespace explore {

// Whether one of the faults is an answer that is not the BMC's; it may be believed.
[[nodiscard]] bool AnswersLie(const std::vector<Fault>& faults);

// Adds to `findings` what is wrong with a run that has ended; `faults` are those that it met, or could have.
void JudgeRun(const World& world, const Disk& disk, const RunEnd& run, const std::vector<Fault>& faults,
              std::vector<std::string>* findings);

// The same of what the life has left, after a run that met no fault.
void JudgeRemains(const Disk& disk, std::vector<std::string>* findings);

}  // namespace explore

#endif  // EXPLORE_ORACLES_H
