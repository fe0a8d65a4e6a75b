#include "orvhost/journal/journal_folder.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

namespace orvhost {

namespace {

namespace fs = std::filesystem;

constexpr const char* kSuffix = ".jsonl";
constexpr std::size_t kNumberWidth = 8;

bool IsRunId(const std::string& text) {
  const auto digit = [&text](std::size_t at) { return text[at] >= '0' && text[at] <= '9'; };
  if (text.size() <= kNumberWidth || text[kNumberWidth] != '-') {
    return false;
  }
  for (std::size_t at = 0; at < kNumberWidth; ++at) {
    if (!digit(at)) {
      return false;
    }
  }
  return true;
}

bool CouldHaveChanged(const std::string& path) {
  std::string line;
  std::getline(std::ifstream(path), line);
  const auto begin = nlohmann::json::parse(line, nullptr, false);
  if (!begin.is_object() || !begin.contains("options") || !begin["options"].is_object()) {
    return false;
  }
  return MayChangeDevice(begin.value("command", std::string()), begin["options"].value("dry_run", false));
}

}  // namespace

std::string JournalFolder(const std::string& installPath) {
  return installPath + "/journal";
}

std::string JournalPath(const std::string& folder, const std::string& runId) {
  return folder + "/" + runId + kSuffix;
}

std::vector<std::string> ListRuns(const std::string& folder) {
  std::vector<std::string> runs;
  std::error_code ignored;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored)) {
    if (entry.path().extension() == kSuffix && IsRunId(entry.path().stem())) {
      runs.push_back(entry.path().stem());
    }
  }
  std::ranges::sort(runs);
  return runs;
}

std::string NextRunId(const std::vector<std::string>& runs, const std::string& now) {
  const unsigned long last = runs.empty() ? 0 : std::stoul(runs.back().substr(0, kNumberWidth));
  const std::string digits = std::to_string(last + 1);
  std::string time = now.substr(0, now.find('.')) + "Z";
  std::erase_if(time, [](char c) { return c == '-' || c == ':'; });
  return std::string(kNumberWidth - std::min(kNumberWidth, digits.size()), '0') + digits + "-" + time;
}

bool MayChangeDevice(const std::string& command, bool dryRun) {
  return !dryRun && (command == "update" || command == "apply" || command == "methods");
}

void DropOldRuns(const std::string& folder) {
  const std::vector<std::string> runs = ListRuns(folder);
  const std::size_t surplus = runs.size() + 1 - std::min(runs.size() + 1, kKeptRuns);
  std::size_t changing = 0;
  // From the newest of the surplus to the oldest.
  for (std::size_t at = surplus; at-- > 0;) {
    const std::string path = JournalPath(folder, runs[at]);
    if (CouldHaveChanged(path) && ++changing <= kKeptChangingRuns) {
      continue;
    }
    std::error_code ignored;
    fs::remove(path, ignored);
  }
}

}  // namespace orvhost
