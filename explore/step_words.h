// What an event is a step of, in a few words: the rows of the matrix.
#ifndef EXPLORE_STEP_WORDS_H
#define EXPLORE_STEP_WORDS_H

#include <string>

#include "explore/stage.h"

namespace explore {

[[nodiscard]] std::string StepOf(const Event& event);

}  // namespace explore

#endif  // EXPLORE_STEP_WORDS_H
