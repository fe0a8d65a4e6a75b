// When each step, shell command and pause of a recorded run was, for whoever draws it to scale. Pure.
#ifndef ORVHOST_JOURNAL_TIME_LINE_H
#define ORVHOST_JOURNAL_TIME_LINE_H

#include <string>
#include <vector>

#include "orvhost/journal/recorded_run.h"

namespace orvhost {

// Seconds since the start of the run.
struct Span {
  double from = 0;
  double to = 0;
  [[nodiscard]] double Length() const { return to - from; }
};

struct TimedCommand {
  Span span;
  std::string line;
  bool failed = false;  // it did not end with 0, or its end is not in the journal
};

struct TimedStep {
  Span span;
  std::string name;  // "" before the first step
  std::vector<TimedCommand> commands;
  std::vector<Span> pauses;  // while nothing ran through the host, as far as that is worth drawing
};

struct TimeLine {
  double seconds = 0;
  std::vector<TimedStep> steps;
};

[[nodiscard]] TimeLine TimeLineOf(const RecordedRun& run);

// Round times for an axis of `seconds`, from 0 on, not more than six.
[[nodiscard]] std::vector<double> TicksFor(double seconds);

// "0.012 s", "12.3 s", "2 min 05 s", with a blank before each unit at which no line breaks.
[[nodiscard]] std::string DurationInWords(double seconds);

}  // namespace orvhost

#endif  // ORVHOST_JOURNAL_TIME_LINE_H
