// What the simulated machine's programs have in common: how they end with a fault, and what their command lines hold.
#ifndef EXPLORE_PROGRAM_ENDS_H
#define EXPLORE_PROGRAM_ENDS_H

#include <optional>
#include <string>

#include "explore/faults.h"
#include "explore/world.h"

namespace explore {

inline constexpr Microseconds kSecond = 1'000'000;
inline constexpr int kNotFoundStatus = 127;

// What every command ends with that does not get as far as its work; nothing when it does.
[[nodiscard]] std::optional<int> StatusWithoutWork(FaultKind fault);

// What one that has done its work ends with.
[[nodiscard]] int StatusWith(FaultKind fault, int status);

// The clock steps, where that is the fault; the command is not hit then.
[[nodiscard]] bool StepsClock(World& world, FaultKind fault);

// The last text in quotes; "" for none.
[[nodiscard]] std::string LastQuoted(const std::string& line);

}  // namespace explore

#endif  // EXPLORE_PROGRAM_ENDS_H
