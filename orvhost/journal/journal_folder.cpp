#include "orvhost/journal/journal_folder.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string_view>

#include "orvhost/journal/journal_line.h"
#include "posix/regular_file.h"

namespace orvhost {

namespace {

namespace fs = std::filesystem;

constexpr const char* kSuffix = ".jsonl";
constexpr std::size_t kNumberWidth = 8;

bool IsRunId(const std::string& text) {
  constexpr std::string_view kForm = "dddddddd-ddddddddTddddddZ";
  const bool isOne = std::ranges::equal(text, kForm, [](char character, char wanted) {
    return wanted == 'd' ? character >= '0' && character <= '9' : character == wanted;
  });
  return isOne && std::stoul(text.substr(0, kNumberWidth)) <= kLastNumber;
}

bool CouldHaveChanged(const std::string& path) {
  const std::string start = posix::ReadStartOfRegularFile(path, kLongestLine).value_or("");
  const nlohmann::json begin = ParseLine(std::string_view(start).substr(0, start.find('\n')));
  const nlohmann::json options = begin.is_object() ? begin.value("options", nlohmann::json()) : nlohmann::json();
  return options.is_object() &&
         MayChangeDevice(TextIn(begin, "command"), options.value("dry_run", nlohmann::json()) == true);
}

}  // namespace

std::string JournalFolder(const std::string& installPath) {
  return installPath + "/journal";
}

std::string JournalPath(const std::string& folder, const std::string& runId) {
  return folder + "/" + runId + kSuffix;
}

JournalList ListJournals(const std::string& folder) {
  JournalList journals;
  std::error_code failure;
  fs::directory_iterator entry(folder, failure);
  for (; !failure && entry != fs::directory_iterator(); entry.increment(failure)) {
    const std::string name = entry->path().filename();
    if (!name.ends_with(kSuffix)) {
      continue;
    }
    const std::string id = name.substr(0, name.size() - std::string_view(kSuffix).size());
    (IsRunId(id) ? journals.runs : journals.misnamed).push_back(IsRunId(id) ? id : name);
  }
  journals.error = failure == std::errc::no_such_file_or_directory ? 0 : failure.value();
  std::ranges::sort(journals.runs);
  std::ranges::sort(journals.misnamed);
  return journals;
}

std::string AboutMisnamed(const JournalList& journals, const std::string& folder) {
  const std::size_t count = journals.misnamed.size();
  if (count == 0) {
    return "";
  }
  const std::string first = journals.misnamed.front() + " in " + folder;
  return count == 1 ? first + " has not the name of a run's journal and was skipped."
                    : first + " and " + std::to_string(count - 1) +
                          " more there have not the name of a run's journal and were skipped.";
}

std::string NextRunId(const std::vector<std::string>& runs, const std::string& now) {
  const unsigned long last = runs.empty() ? 0 : std::stoul(runs.back().substr(0, kNumberWidth));
  const std::string digits = std::to_string(std::min(last + 1, kLastNumber));
  std::string time = now.substr(0, now.find('.')) + "Z";
  std::erase_if(time, [](char c) { return c == '-' || c == ':'; });
  return std::string(kNumberWidth - std::min(kNumberWidth, digits.size()), '0') + digits + "-" + time;
}

bool MayChangeDevice(const std::string& command, bool dryRun) {
  return !dryRun && (command == "update" || command == "apply" || command == "methods");
}

bool DropOldRuns(const std::string& folder) {
  const JournalList journals = ListJournals(folder);
  if (journals.error != 0) {
    errno = journals.error;
    return false;
  }
  const std::vector<std::string>& runs = journals.runs;
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
  return true;
}

}  // namespace orvhost
