#include "orvhost/journal/time_line.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <map>

namespace orvhost {

namespace {

constexpr double kShortestPause = 0.2;
constexpr double kSmallestPart = 0.01;  // of the run
constexpr double kMostTicks = 5;        // beside the one at 0

using Ends = std::map<std::string, const JournalEntry*>;

Ends EndsOf(const RecordedRun& run) {
  Ends ends;
  for (const JournalEntry& entry : run.entries) {
    if (entry.kind == "command_end") {
      ends.emplace(entry.CommandKey(), &entry);
    }
  }
  return ends;
}

TimedCommand TimedCommandOf(const JournalEntry& entry, const Ends& ends, double end) {
  const auto found = ends.find(entry.CommandKey());
  TimedCommand command{{entry.seconds, end}, entry.Text("line"), true};
  if (found != ends.end()) {
    const nlohmann::json& fields = found->second->fields;
    command.span.to = std::max(entry.seconds, found->second->seconds);
    command.failed = found->second->Text("result") != "exited" || fields.value("exit_code", nlohmann::json()) != 0;
  }
  return command;
}

// The parts of the step in which none of its commands runs.
void FindPauses(double shortest, TimedStep* step) {
  double quietSince = step->span.from;
  const auto add = [&](double until) {
    if (until - quietSince >= shortest) {
      step->pauses.push_back({quietSince, until});
    }
  };
  for (const TimedCommand& command : step->commands) {  // in the order of their starts
    add(command.span.from);
    quietSince = std::max(quietSince, command.span.to);
  }
  add(step->span.to);
}

}  // namespace

TimeLine TimeLineOf(const RecordedRun& run) {
  TimeLine line;
  const Ends ends = EndsOf(run);
  for (const JournalEntry& entry : run.entries) {
    line.seconds = std::max(line.seconds, entry.seconds);
  }
  line.steps.push_back({});
  for (const JournalEntry& entry : run.entries) {
    if (entry.kind == "phase") {
      line.steps.back().span.to = entry.seconds;
      line.steps.push_back({.span = {entry.seconds, 0}, .name = entry.Text("name"), .commands = {}, .pauses = {}});
    } else if (entry.kind == "command") {
      line.steps.back().commands.push_back(TimedCommandOf(entry, ends, line.seconds));
    }
  }
  line.steps.back().span.to = line.seconds;
  if (line.steps.size() > 1 && line.steps.front().commands.empty()) {
    line.steps.erase(line.steps.begin());
  }
  for (TimedStep& step : line.steps) {
    FindPauses(std::max(kShortestPause, line.seconds * kSmallestPart), &step);
  }
  return line;
}

std::vector<double> TicksFor(double seconds) {
  std::vector<double> ticks{0};
  if (!(seconds > 0)) {
    return ticks;
  }
  const double unit = std::pow(10.0, std::floor(std::log10(seconds / kMostTicks)));
  double distance = 0;
  for (const double factor : {1.0, 2.0, 5.0, 10.0}) {
    distance = unit * factor;
    if (seconds / distance <= kMostTicks) {
      break;
    }
  }
  for (int i = 1; i * distance <= seconds; ++i) {
    ticks.push_back(i * distance);
  }
  return ticks;
}

std::string DurationInWords(double seconds) {
  constexpr double kMinute = 60;
  constexpr double kLongInSeconds = 120;
  std::array<char, 64> text{};
  if (seconds < 1) {
    snprintf(text.data(), text.size(), "%.3f\u00a0s", seconds);
  } else if (seconds < kLongInSeconds) {
    snprintf(text.data(), text.size(), "%.1f\u00a0s", seconds);
  } else {
    const double whole = std::floor(seconds + 0.5);
    const double minutes = std::floor(whole / kMinute);
    snprintf(text.data(), text.size(), "%.0f\u00a0min %02.0f\u00a0s", minutes, whole - minutes * kMinute);
  }
  return text.data();
}

}  // namespace orvhost
