// What a road that only reads tells and makes when nothing goes wrong. A run of it that says that it ended well must
// tell and make the same, whatever it met on its way.
#ifndef EXPLORE_TOLD_H
#define EXPLORE_TOLD_H

#include <string>
#include <string_view>

#include "explore/life.h"

namespace explore {

// The verdict, the versions and the facts that the run printed, the report on the disk, and the records that the
// service processor has, in lines of text.
[[nodiscard]] std::string Told(Life& life, const RunEnd& run);

// Kept for the process, by the road's name. "" for a road that was not kept.
void KeepTold(std::string_view road, const std::string& told);
[[nodiscard]] const std::string& KeptTold(std::string_view road);

// The first line that `told` has otherwise than `kept`: "facts.fit: ..., and without faults ...". "" when none has.
[[nodiscard]] std::string Difference(const std::string& told, const std::string& kept);

}  // namespace explore

#endif  // EXPLORE_TOLD_H
