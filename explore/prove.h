// Breaks something on purpose for each oracle: an oracle that does not see its own is worth nothing.
#ifndef EXPLORE_PROVE_H
#define EXPLORE_PROVE_H

#include "explore/disk.h"

namespace explore {

// Prints what each oracle sees; false when one does not see its defect, or sees one where there is none.
[[nodiscard]] bool Prove(Disk& disk);

}  // namespace explore

#endif  // EXPLORE_PROVE_H
