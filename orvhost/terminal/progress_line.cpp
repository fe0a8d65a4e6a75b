#include "orvhost/terminal/progress_line.h"

#include <algorithm>
#include <vector>

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

// Appends what is waited for, part by part.
void AppendWait(const ProgressWait& wait, std::vector<std::string>* parts) {
  if (wait.kind == ProgressWait::Kind::kPause) {
    parts->push_back(": a pause of " + MinutesAndSeconds(wait.limit));
    parts->push_back(", " + MinutesAndSeconds(wait.limit - std::min(wait.limit, wait.alreadyFor)) + " left");
  } else if (wait.kind == ProgressWait::Kind::kCommand) {
    parts->push_back(": " + wait.program + " for " + MinutesAndSeconds(wait.alreadyFor));
    if (wait.limit.count() > 0) {
      parts->push_back(", " + MinutesAndSeconds(wait.limit) + " at most");
    }
  }
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

std::string ProgressLine(const ProgressStep& step, const ProgressWait& wait, std::chrono::milliseconds elapsed,
                         std::size_t width) {
  std::string line = "[" + MinutesAndSeconds(elapsed) + "] " + std::string(step.words);
  std::vector<std::string> parts;
  if (step.attempt > 1) {
    parts.push_back(" (" + std::to_string(step.attempt) + " of " + std::to_string(step.attempts) + ")");
  }
  AppendWait(wait, &parts);
  for (const std::string& part : parts) {
    if (line.size() + part.size() > width) {
      break;
    }
    line += part;
  }
  return line.substr(0, width);
}

}  // namespace orvhost
