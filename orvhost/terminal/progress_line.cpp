#include "orvhost/terminal/progress_line.h"

#include <algorithm>

#include "orvhost/interface/printable.h"

namespace orvhost {

namespace {

constexpr std::size_t kLongestProgram = 40;

// "0:12", "75:00".
std::string MinutesAndSeconds(std::chrono::milliseconds time) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time).count();
  const std::string rest = std::to_string(seconds % 60);
  return std::to_string(seconds / 60) + (rest.size() == 1 ? ":0" : ":") + rest;
}

// "[10 of 11, 1:05] "
std::string Beginning(const ProgressPlace& place) {
  const std::string phase =
      place.phase == 0 ? "" : std::to_string(place.phase) + " of " + std::to_string(place.phases) + ", ";
  return "[" + phase + MinutesAndSeconds(place.elapsed) + "] ";
}

// How long it may still take; "" when that is not known.
std::string TimeLeft(const ProgressWait& wait) {
  if (wait.kind == ProgressWait::Kind::kNothing || wait.limit.count() == 0) {
    return "";
  }
  const std::string left = MinutesAndSeconds(wait.limit - std::min(wait.limit, wait.alreadyFor));
  return wait.kind == ProgressWait::Kind::kPause ? "a pause, " + left + " more" : "at most " + left + " more";
}

}  // namespace

std::string ProgramOf(std::string_view commandLine) {
  for (const std::string_view known : {"Yafuflash", "ipmitool", "ipmicmd", "bmcup.sh", "dmidecode", "modprobe"}) {
    if (commandLine.find(known) != std::string_view::npos) {
      return std::string(known);
    }
  }
  std::string word(commandLine.substr(0, commandLine.find(' ')));
  return Printable(word.substr(word.rfind('/') + 1), kLongestProgram);
}

std::string ProgressLine(const ProgressPlace& place, const ProgressStep& step, const ProgressWait& wait,
                         std::size_t width) {
  const std::string line = Beginning(place) + std::string(step.words);
  const std::string attempt =
      step.attempt > 1 ? "try " + std::to_string(step.attempt) + " of " + std::to_string(step.attempts) : "";
  const std::string left = TimeLeft(wait);
  const std::string both = attempt + (attempt.empty() || left.empty() ? "" : ", ") + left;
  const auto bracketed = [&line](const std::string& text) { return line + (text.empty() ? "" : " (" + text + ")"); };
  const std::string program = wait.program.empty() ? "" : ": " + wait.program;
  for (const std::string& fitting : {bracketed(both) + program, bracketed(both), bracketed(attempt)}) {
    if (fitting.size() <= width) {
      return fitting;
    }
  }
  return line.substr(0, width);
}

}  // namespace orvhost
