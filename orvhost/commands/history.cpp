// orvhost history: the runs that left a journal, one line each. Reads the host's own files only.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>

#include "orvhost/commands/commands.h"
#include "orvhost/commands/look_back.h"
#include "orvhost/interface/printable.h"
#include "orvhost/journal/journal_folder.h"
#include "orvhost/journal/recorded_run.h"
#include "orvhost/journal/story.h"
#include "orvhost/journal/unreadable.h"
#include "orvhost/run/failure.h"
#include "orvhost/run/run_lock.h"

namespace orvhost {

namespace {

struct Row {
  std::string id;
  std::string seconds;
  std::string command;
  std::string package;
  std::string versions;
  std::string verdict;
  std::string exitCode;
  std::string started;
};

std::string Seconds(double seconds) {
  std::array<char, 32> text{};
  snprintf(text.data(), text.size(), "%.1f", seconds);
  return text.data();
}

// The package's version and the one that ran before, as far as the run came to know them.
std::string Versions(const RecordedRun& run) {
  const std::string before = run.OutcomeText("before");
  const std::string after = run.OutcomeText("after");
  return before == after || after.empty() ? before : before + " -> " + after;
}

std::string FileName(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

// What a run says of its end; of one without an end, what is known.
std::string VerdictOf(const RecordedRun& run, const RunningRun& running) {
  if (run.error != 0) {
    return "unreadable";
  }
  if (run.Outcome() != nullptr) {
    return run.OutcomeText("verdict");
  }
  if (run.id == running.runId) {
    return "at work";
  }
  if (run.entries.empty()) {
    return "damaged";
  }
  return (running.unseen.empty() ? "" : "at work or ") + ("cut off in step " + run.LastPhase());
}

Row RowOf(const RecordedRun& run, const RunningRun& running) {
  const nlohmann::json* outcome = run.Outcome();
  const nlohmann::json exitCode = outcome != nullptr ? outcome->value("exit_code", nlohmann::json()) : nlohmann::json();
  const std::string command = run.Begin("command");
  const std::string package = command == "update" || command == "check" ? FileName(run.Option("package")) : "";
  return {run.id,
          Seconds(run.Seconds()),
          command,
          package,
          Versions(run),
          VerdictOf(run, running),
          exitCode.is_number_unsigned() ? exitCode.dump() : "",
          run.Begin("t")};
}

using Cells = std::vector<std::string>;

// Columns as wide as their widest cell, two blanks apart.
std::vector<std::string> Table(const std::vector<Cells>& rows) {
  std::vector<std::size_t> widths(rows.front().size());
  for (const Cells& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], CharactersIn(row[i]));
    }
  }
  std::vector<std::string> lines;
  for (const Cells& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      line += row[i] + std::string(widths[i] + 2 - CharactersIn(row[i]), ' ');
    }
    lines.push_back(line.substr(0, line.find_last_not_of(' ') + 1));
  }
  return lines;
}

// What is left out of a table that is to be narrow: the packages' names, then the seconds, then all of an id but its
// number, with which "orvhost show" finds the run too.
enum class Narrow { kNot, kVersionsOnly, kNoSeconds, kNumberOnly };

Cells CellsOf(const Row& row, Narrow narrow) {
  constexpr std::size_t kWidest = 80;
  const std::string name = narrow == Narrow::kNot ? row.package : "";
  Cells cells = {narrow == Narrow::kNumberOnly ? row.id.substr(0, row.id.find('-')) : row.id};
  if (narrow < Narrow::kNoSeconds) {
    cells.push_back(row.seconds);
  }
  for (const std::string& text : {row.command, name + (name.empty() || row.versions.empty() ? "" : " ") + row.versions,
                                  row.verdict, row.exitCode}) {
    cells.push_back(Printable(text, kWidest));
  }
  return cells;
}

std::vector<std::string> Table(const std::vector<Row>& rows, std::size_t columns) {
  std::vector<std::string> lines;
  for (const Narrow narrow : {Narrow::kNot, Narrow::kVersionsOnly, Narrow::kNoSeconds, Narrow::kNumberOnly}) {
    std::vector<Cells> cells;
    cells.reserve(rows.size());
    for (const Row& row : rows) {
      cells.push_back(CellsOf(row, narrow));
    }
    lines = Table(cells);
    if (std::ranges::all_of(lines, [columns](const std::string& line) { return CharactersIn(line) <= columns; })) {
      break;
    }
  }
  return lines;
}

// Gathers the runs and how the subcommand ends.
class HistoryRoad {
 public:
  explicit HistoryRoad(const Run& run)
      : run_(run),
        folder_(JournalFolder(run.options.installPath)),
        journals_(ListJournals(folder_)),
        running_(RunAtWork(run.options.installPath)) {}

  Outcome Go();

 private:
  void Add(const RecordedRun& recorded);
  void Conclude();

  const Run& run_;
  const std::string folder_;
  const JournalList journals_;
  const RunningRun running_;
  std::vector<Row> rows_ = {{"RUN", "SECONDS", "COMMAND", "PACKAGE,", "VERSION", "VERDICT", "EXIT", ""}};
  std::vector<std::string> unreadable_;  // why, one sentence each, without a full stop
  Outcome outcome_;
};

Outcome HistoryRoad::Go() {
  outcome_.phase = "history";
  outcome_.listing.name = "runs";
  if (journals_.error != 0) {
    unreadable_.push_back("The journals in " + WhyUnreadable(folder_, journals_.error));
  }
  if (!running_.unseen.empty()) {
    unreadable_.push_back("Whether a run is at work cannot be seen: " + running_.unseen);
  }
  Note(run_, &outcome_, AboutMisnamed(journals_, folder_));
  for (const std::string& id : journals_.runs) {
    const RecordedRun recorded = ReadRun(folder_, id);
    if (recorded.error != ENOENT) {  // dropped meanwhile
      Add(recorded);
    }
  }
  Conclude();
  return outcome_;
}

void HistoryRoad::Add(const RecordedRun& recorded) {
  const Row row = RowOf(recorded, running_);
  rows_.push_back(row);
  outcome_.listing.entries.push_back({{"run_id", row.id},
                                      {"started", row.started},
                                      {"seconds", row.seconds},
                                      {"command", row.command},
                                      {"package", recorded.Option("package")},
                                      {"before", recorded.OutcomeText("before")},
                                      {"after", recorded.OutcomeText("after")},
                                      {"verdict", row.verdict},
                                      {"exit_code", row.exitCode}});
  if (recorded.error != 0) {
    unreadable_.push_back("The journal " + WhyUnreadable(JournalPath(folder_, recorded.id), recorded.error));
    return;
  }
  for (const std::string& sentence : Damage(recorded)) {
    Note(run_, &outcome_, sentence);
  }
}

void HistoryRoad::Conclude() {
  const bool hasRuns = rows_.size() > 1;
  outcome_.verdict = hasRuns ? "listed" : "no-runs";
  if (!unreadable_.empty()) {
    if (hasRuns) {
      run_.console.Show(Table(rows_, run_.console.Columns()));
    }
    const std::size_t others = unreadable_.size() - 1;
    Fail(run_, &outcome_,
         JournalUnreadable(unreadable_.front() + "." +
                           (others == 0 ? "" : " So it is with " + std::to_string(others) + " more.")));
    return;
  }
  if (hasRuns) {
    outcome_.lines = Table(rows_, run_.console.Columns());
  } else {
    outcome_.summary = "No run has left a journal in " + folder_ + ".";
  }
}

constexpr const char* kHistoryHelp = R"(Lists the runs of which a journal is kept, oldest first: the run's id, with the
UTC time of its start; how many seconds it took; the subcommand; its package and
the versions before and after; the verdict and the exit code. A run that was
killed or lost its machine is "cut off", with the step that it was in.

Kept are the newest 50 runs, and of the older ones the newest 10 that could have
changed the device. Asks neither the BMC nor the plug-in, and may run beside
another run.

A journal that is damaged is listed as far as it can be read. One that this user
cannot read is listed as "unreadable", and the exit code is 7; so it is when
this user cannot see whether a run is at work.

Examples:
  orvhost history
  orvhost history --json | jq -r '.runs[-1].run_id'

Exit codes: 0 listed, also when there are none; 7 a journal or the lock cannot
be read.)";

}  // namespace

const Command kHistoryCommand = {
    "history", "List the runs that were made, one line each", kHistoryHelp, {}, [](const Run& run) {
      return HistoryRoad(run).Go();
    }};

}  // namespace orvhost
