// Runs work on what somebody else made (an archive) in a process of its own, which may take so much memory and
// processor time and no more; what becomes of that process is a result like any other.
#ifndef REFHOST_COMMON_LIMITED_PROCESS_H
#define REFHOST_COMMON_LIMITED_PROCESS_H

#include <functional>

#include "refhost/machine.h"

namespace refhost {

// Kinds that are not the work's own; the text is a clause.
inline constexpr char kWorkNotStarted = '?';
inline constexpr char kWorkCutOff = '!';   // it threw, crashed or ran over a limit
inline constexpr char kWorkGivenUp = '-';  // as the caller asked

// Forks, lets the child call `work` and returns what that returned; a text of more than 4 KB is cut. The child is
// killed when this process dies, and when the descriptor `giveUp` (-1 for none) is readable before it ends. Nothing but
// the result and what `work` wrote to files comes back.
[[nodiscard]] WorkResult RunLimited(const std::function<WorkResult()>& work, const WorkLimits& limits = {},
                                    int giveUp = -1);

}  // namespace refhost

#endif  // REFHOST_COMMON_LIMITED_PROCESS_H
