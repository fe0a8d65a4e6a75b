// An operator who reads the tool's JSON and nothing else, and does what it says comes next.
#ifndef EXPLORE_OPERATOR_H
#define EXPLORE_OPERATOR_H

#include <string>

#include "explore/life.h"

namespace explore {

struct NextStep {
  enum class Kind { kRun, kShutDown, kStartAnew, kDone, kLost };
  Kind kind = Kind::kDone;
  std::string words;  // what is run
  bool waitsFirst = false;
  std::string text;  // the sentence that it rests on
};

// What the operator remembers of the runs before the last one.
struct Memory {
  bool wasApplied = false;    // what was written was put into operation already
  bool failedToSend = false;  // the sending before the last run failed or was cut off
};

// What comes after the run `last`. `wanted` is what the operator set out to run.
[[nodiscard]] NextStep AfterRun(const RunEnd& last, const std::string& wanted, const Memory& memory);

// The same by a sentence of the tool.
[[nodiscard]] NextStep BySentence(const std::string& text, const std::string& last, const Memory& memory);

}  // namespace explore

#endif  // EXPLORE_OPERATOR_H
